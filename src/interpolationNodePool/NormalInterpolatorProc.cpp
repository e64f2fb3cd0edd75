#include "interpolationNodePool/NormalInterpolatorProc.h"

#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/NormalInterpolator.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(NormalInterpolator, LinearInterpolator)

bool NormalInterpolatorProc::calculateValue(float const& fraction, std::vector<osg::Vec3f>& value)
{
    Kernels const& kernels = Kernels::active();
    return interpolateBlock(*this, fraction, node()._keyValue._value, value, kernels.lerpNormals, kernels.normalise);
}

} // namespace Zelvan
