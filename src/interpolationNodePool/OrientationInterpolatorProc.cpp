#include "interpolationNodePool/OrientationInterpolatorProc.h"

#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/OrientationInterpolator.h"
#include "interpolationNodePool/Slerp.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(OrientationInterpolator, LinearInterpolator)

bool OrientationInterpolatorProc::calculateValue(float const& fraction, Rotation& value)
{
    return interpolateOne(*this, fraction, node()._keyValue._value, value,
                          [this](Rotation& out, Rotation const& a, Rotation const& b, float t) {
                              setQuaternion(out, slerp(a.quaternion(), b.quaternion(), t, _angle));
                          });
}

} // namespace Zelvan
