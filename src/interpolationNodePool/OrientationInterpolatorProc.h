#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/KeptAngle.h"
#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class OrientationInterpolator;
/// Computes the values that a OrientationInterpolator sends.
class ZELVAN_INTERPOLATION_API OrientationInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(OrientationInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, Rotation& value);

private:
    KeptAngle _angle;
};

} // namespace Zelvan
