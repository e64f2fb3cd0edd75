#include "interpolationNodePool/VectorInterpolatorProc.h"

#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/VectorInterpolator.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(VectorInterpolator, LinearInterpolator)

bool VectorInterpolatorProc::calculateValue(float const& fraction, std::vector<float>& value)
{
    return interpolateBlock(*this, fraction, node()._keyValue._value, value);
}

} // namespace Zelvan
