#include "interpolationNodePool/CoordinateInterpolator2DProc.h"

#include "interpolationNodePool/CoordinateInterpolator2D.h"
#include "interpolationNodePool/LinearInterpolation.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(CoordinateInterpolator2D, CoordinateInterpolator)

bool CoordinateInterpolator2DProc::calculateValue(float fraction, std::vector<osg::Vector<float, 2u>>& value)
{
    return interpolateBlock(*this, fraction, node()._keyValue._value, value);
}

} // namespace Zelvan
