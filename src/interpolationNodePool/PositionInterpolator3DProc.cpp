#include "interpolationNodePool/PositionInterpolator3DProc.h"

#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/PositionInterpolator3D.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(PositionInterpolator3D, PositionInterpolator)

bool PositionInterpolator3DProc::calculateValue(float const& fraction, osg::Vector<float, 3u>& value)
{
    return interpolateOne(*this, fraction, node()._keyValue._value, value);
}

} // namespace Zelvan
