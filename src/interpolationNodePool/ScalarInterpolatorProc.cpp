#include "interpolationNodePool/ScalarInterpolatorProc.h"

#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/ScalarInterpolator.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(ScalarInterpolator, LinearInterpolator)

bool ScalarInterpolatorProc::calculateValue(float const& fraction, float& value)
{
    return interpolateOne(*this, fraction, node()._keyValue._value, value);
}

} // namespace Zelvan
