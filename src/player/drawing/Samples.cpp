#include "player/drawing/Samples.h"

#include "player/drawing/Drawing.h"

#include <algorithm>

namespace Zelvan::play {

Kind kindOf(NodePartDataType type)
{
    switch (type) {
    case SFColorType:
    case MFColorType: return Kind::colour;
    case SFRotationType:
    case MFRotationType: return Kind::rotation;
    case SFMatrix4fType:
    case MFMatrix4fType: return Kind::matrix;
    default: return Kind::numbers;
    }
}

bool isPosition(NodePartDataType type)
{
    return type == SFVec2fType || type == SFVec3fType || type == SFMatrix4fType;
}

Samples::Samples(Track const& track)
    : _track(track), _width(componentsOf(track.type).count), _block(isList(track.type) && track.largestBlock != 1)
{
    auto const& times = track.times;
    for (std::size_t e = 0; e < times.size(); ++e)
        if (drawable(times[e]))
            _events.push_back(e);
    std::stable_sort(_events.begin(), _events.end(), [&](auto a, auto b) { return times[a] < times[b]; });
    for (std::size_t const e : _events)
        _times.push_back(times[e]);
}

bool seamWithin(std::vector<double> const& seams, double from, double to)
{
    auto const seam = std::lower_bound(seams.begin(), seams.end(), from);
    return seam != seams.end() && *seam <= to;
}

} // namespace Zelvan::play
