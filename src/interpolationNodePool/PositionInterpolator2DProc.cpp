#include "interpolationNodePool/PositionInterpolator2DProc.h"

#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/PositionInterpolator2D.h"

namespace Zelvan {

ZELVAN_VALUE_PROC_BODY(PositionInterpolator2D, PositionInterpolator)

bool PositionInterpolator2DProc::calculateValue(float const& fraction, osg::Vector<float, 2u>& value)
{
    return interpolateOne(*this, fraction, node()._keyValue._value, value);
}

} // namespace Zelvan
