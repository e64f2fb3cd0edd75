#pragma once

#include "base/OpenSG.h"
#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class ColorInterpolator;

class ZELVAN_INTERPOLATION_API ColorInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(ColorInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, osg::Color3<float>& value);
};

} // namespace Zelvan
