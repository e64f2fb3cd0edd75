#include "interpolationNodePool/ColorInterpolatorProc.h"

#include "interpolationNodePool/ColorInterpolator.h"
#include "interpolationNodePool/LinearInterpolation.h"

#include <cstring>

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(ColorInterpolator, LinearInterpolator)

// Playback inside an interval meets the same two colours again; compared bit for bit, they cannot be stale.
float const* ColorInterpolatorProc::hsv(Converted& kept, osg::Color3<float> const& color)
{
    static_assert(sizeof color == 3 * sizeof(float), "bits that are no value must not be compared");
    if (!kept._valid || std::memcmp(&kept._color, &color, sizeof color) != 0) {
        color.getValuesHSV(kept._hsv[0], kept._hsv[1], kept._hsv[2]);
        kept._color = color;
        kept._valid = true;
    }
    return kept._hsv;
}

bool ColorInterpolatorProc::calculateValue(float const& fraction, osg::Color3<float>& value)
{
    // Hue is blended straight between the two hues, not along the shorter way round the circle.
    return interpolateOne(*this, fraction, node()._keyValue._value, value,
                          [this](osg::Color3<float>& out, osg::Color3<float> const& a, osg::Color3<float> const& b, float t) {
                              float const* const from = hsv(_kept[0], a);
                              float const* const to = hsv(_kept[1], b);
                              out.setValuesHSV(lerp(from[0], to[0], t), lerp(from[1], to[1], t), lerp(from[2], to[2], t));
                          });
}

} // namespace Zelvan
