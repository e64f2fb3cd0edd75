#include "interpolationNodePool/CoordinateInterpolator3DProc.h"

#include "interpolationNodePool/CoordinateInterpolator3D.h"
#include "interpolationNodePool/LinearInterpolation.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(CoordinateInterpolator3D, CoordinateInterpolator)

bool CoordinateInterpolator3DProc::calculateValue(float fraction, std::vector<osg::Vector<float, 3u>>& value)
{
    return interpolateBlock(*this, fraction, node()._keyValue._value, value);
}

} // namespace Zelvan
