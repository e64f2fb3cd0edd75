#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class ColorInterpolator;
/// Computes the values that a ColorInterpolator sends.
class ZELVAN_INTERPOLATION_API ColorInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(ColorInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, osg::Color3<float>& value);

private:
    /// A key's colour and its hue, saturation and value.
    struct Converted {
        osg::Color3<float> _color;
        float _hsv[3] = {};
        bool _valid = false;
    };
    ZELVAN_INTERPOLATION_LOCAL static float const* hsv(Converted& kept, osg::Color3<float> const& color);

    Converted _kept[2]; ///< of the two keys around the fraction
};

} // namespace Zelvan
