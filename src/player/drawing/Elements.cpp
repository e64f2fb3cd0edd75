#include "player/drawing/Page.h"

#include <algorithm>

namespace Zelvan::play {

Elements elementsOf(Samples const& samples, std::size_t most)
{
    Elements elements;
    if (!samples.block() || samples.width() > 3 || samples.largestBlock() == 0)
        return elements;
    constexpr std::size_t mostElements = 400; // more cannot be told apart
    auto const apart = [](std::size_t count, std::size_t wanted) {
        return (count + std::max<std::size_t>(wanted, 1) - 1) / std::max<std::size_t>(wanted, 1);
    };
    elements.width = samples.width();
    elements.stride = apart(samples.largestBlock(), std::min(mostElements, most / elements.width));
    elements.count = apart(samples.largestBlock(), elements.stride);
    std::size_t const step = apart(samples.size(), most / (elements.count * elements.width));
    for (std::size_t s = 0; s < samples.size(); s += step) {
        elements.times.push_back(samples.times()[s]);
        for (std::size_t i = 0; i < elements.count; ++i)
            for (unsigned c = 0; c < elements.width; ++c)
                elements.numbers.push_back(
                    i * elements.stride < samples.elements(s) ? float(samples.element(s, i * elements.stride)[c]) : float(gap));
    }
    return elements;
}

Shape shapeOf(NodePartDataType type, Drawing const& drawing, Elements const& elements)
{
    switch (type) {
    case SFVec3fType:
    case SFMatrix4fType: return drawing.path.kind == PlanePath::position ? Shape::path : Shape::none;
    case SFRotationType: return drawing.panels.empty() ? Shape::none : Shape::turned;
    case MFVec3fType: return elements.count != 0 ? Shape::cloud : Shape::none;
    case MFVec2fType: return elements.count != 0 ? Shape::outline : Shape::none;
    default: return Shape::none;
    }
}

} // namespace Zelvan::play
