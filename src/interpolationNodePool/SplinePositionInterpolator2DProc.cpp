#include "interpolationNodePool/SplinePositionInterpolator2DProc.h"

#include "interpolationNodePool/Spline.h"
#include "interpolationNodePool/SplinePositionInterpolator2D.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(SplinePositionInterpolator2D, SplinePositionInterpolator)

bool SplinePositionInterpolator2DProc::calculateValue(float const& fraction, osg::Vector<float, 2u>& value)
{
    return interpolateSpline(*this, fraction, node()._key._value, node()._keyValue._value, value);
}

} // namespace Zelvan
