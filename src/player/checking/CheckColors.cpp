#include "player/checking/CheckRules.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

namespace {

constexpr double visible = 0.02; // saturation times value, below which a colour looks grey

struct Hsv {
    explicit Hsv(Numbers colour)
    {
        float const rgb[3] = {static_cast<float>(colour[0]), static_cast<float>(colour[1]), static_cast<float>(colour[2])};
        osg::Color3<float>::convertToHSV(rgb, hue, saturation, value);
    }
    double chroma() const { return static_cast<double>(saturation) * value; }
    float hue, saturation, value;
};

char const* hueName(double hue)
{
    constexpr char const* names[] = {"red", "yellow", "green", "cyan", "blue", "magenta"};
    return names[static_cast<std::size_t>(std::lround(hue / 60)) % 6];
}

} // namespace

void checkColors(KeyedValues const& values, FindingCollector& findings)
{
    constexpr double rounding = 0.004; // of a byte
    bool inRange = true;
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const colour = values.value(i);
        auto const [low, high] = std::ranges::minmax(colour);
        if (low >= -rounding && high <= 1 + rounding)
            continue;
        inRange = false;
        findings.add(
            "color-range", values.node, values.valueField,
            [&] { return values.valueName(i) + " is " + listed(colour) + ", outside 0 to 1"; },
            high > 2 && high <= 255 ? "divide by 255" : "keep colours between 0 and 1");
    }
    for (std::size_t i = 0; inRange && i + 1 < values.count; ++i) {
        Hsv const a(values.value(i)), b(values.value(i + 1));
        double const way = std::abs(b.hue - a.hue);
        if (!values.blends(i))
            continue;
        auto const text = [&] {
            return "the hue runs from " + roundNumber(a.hue, 3) + " to " + roundNumber(b.hue, 3) + " degrees, through "
                + hueName((a.hue + b.hue) / 2);
        };
        if (std::min(a.chroma(), b.chroma()) >= visible) {
            if (way > 180)
                findings.add(
                    "hue-long-way", values.node, values.valueField,
                    [&] { return step(values, i) + ": " + text() + ", the long way round"; },
                    std::min(a.hue, b.hue) < 1
                        ? "write the red with a trace of blue, such as 1 0 0.001: its hue is 360 then, not 0"
                        : "cross red with two equal keys, of 1 0 0.001 and 1 0 0: their hues are 360 and 0");
        } else if (std::max(a.chroma(), b.chroma()) >= 0.1 && way > 60) {
            std::size_t const grey = a.chroma() < b.chroma() ? i : i + 1;
            findings.add(
                "grey-hue", values.node, values.valueField,
                [&] {
                    return values.valueName(grey) + ' ' + listed(values.value(grey)) + " is grey or black, of hue "
                        + roundNumber(grey == i ? a.hue : b.hue, 3) + ": " + text();
                },
                "give the grey a trace of its neighbour's colour, such as 0.001: then it has the same hue");
        }
    }
}

} // namespace Zelvan::play
