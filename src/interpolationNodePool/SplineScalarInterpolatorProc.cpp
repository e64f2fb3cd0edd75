#include "interpolationNodePool/SplineScalarInterpolatorProc.h"

#include "interpolationNodePool/Spline.h"
#include "interpolationNodePool/SplineScalarInterpolator.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(SplineScalarInterpolator, SplineInterpolator)

bool SplineScalarInterpolatorProc::calculateValue(float const& fraction, float& value)
{
    return interpolateSpline(*this, fraction, node()._key._value, node()._keyValue._value, value);
}

} // namespace Zelvan
