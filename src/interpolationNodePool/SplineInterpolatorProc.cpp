#include "interpolationNodePool/SplineInterpolatorProc.h"

#include "interpolationNodePool/SplineInterpolator.h"

namespace Zelvan {

ZELVAN_PROC_BODY(SplineInterpolator, NonlinearInterpolator)

void SplineInterpolatorProc::fieldChanged(NodeClass& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    if (fieldIndex(field) != NodeClass::closedIndex)
        return NonlinearInterpolatorProc::fieldChanged(node, field, timeStamp, from);
    if (PoolLog::takes(osg::LOG_FATAL))
        PoolLog::write(osg::LOG_FATAL, ZELVAN_HERE, "SplineInterpolatorProc::fieldChanged(closed) not impl.\n");
}

} // namespace Zelvan
