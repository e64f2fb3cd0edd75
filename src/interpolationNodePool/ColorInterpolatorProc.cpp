#include "interpolationNodePool/ColorInterpolatorProc.h"

#include "interpolationNodePool/ColorInterpolator.h"
#include "interpolationNodePool/LinearInterpolation.h"

namespace Zelvan {

namespace {

// Hue is blended straight between the two hues, not along the shorter way round the circle.
void blendHSV(osg::Color3<float>& out, osg::Color3<float> const& a, osg::Color3<float> const& b, float t)
{
    float hue[2], saturation[2], value[2];
    a.getValuesHSV(hue[0], saturation[0], value[0]);
    b.getValuesHSV(hue[1], saturation[1], value[1]);
    out.setValuesHSV(lerp(hue[0], hue[1], t), lerp(saturation[0], saturation[1], t), lerp(value[0], value[1], t));
}

} // namespace

ZELVAN_VALUE_PROC_BODY(ColorInterpolator, LinearInterpolator)

bool ColorInterpolatorProc::calculateValue(float const& fraction, osg::Color3<float>& value)
{
    return interpolateOne(*this, fraction, node()._keyValue._value, value, blendHSV);
}

} // namespace Zelvan
