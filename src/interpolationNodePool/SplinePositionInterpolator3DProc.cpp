#include "interpolationNodePool/SplinePositionInterpolator3DProc.h"

#include "interpolationNodePool/Spline.h"
#include "interpolationNodePool/SplinePositionInterpolator3D.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(SplinePositionInterpolator3D, SplinePositionInterpolator)

bool SplinePositionInterpolator3DProc::calculateValue(float const& fraction, osg::Vector<float, 3u>& value)
{
    return interpolateSpline(*this, fraction, node()._key._value, node()._keyValue._value, value);
}

} // namespace Zelvan
