#include "interpolationNodePool/NonlinearInterpolatorProc.h"

#include "interpolationNodePool/NonlinearInterpolator.h"

namespace Zelvan {

ZELVAN_PROC_BODY(NonlinearInterpolator, Interpolator)

void NonlinearInterpolatorProc::fieldChanged(NodeClass& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    if (fieldIndex(field) != NodeClass::normalizeVelocityIndex)
        return InterpolatorProc::fieldChanged(node, field, timeStamp, from);
    if (PoolLog::takes(osg::LOG_FATAL))
        PoolLog::write(osg::LOG_FATAL, ZELVAN_HERE, "NonlinearInterpolatorProc::fieldChanged(normalizeVelocity) not impl.\n");
}

} // namespace Zelvan
