#include "interpolationNodePool/SplineInterpolatorProc.h"

#include "interpolationNodePool/SplineInterpolator.h"

namespace Zelvan {

ZELVAN_PROC_BODY(SplineInterpolator, NonlinearInterpolator)

void SplineInterpolatorProc::fieldChanged(NodeClass& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    if (indexOf(field) != NodeClass::closedIndex)
        return NonlinearInterpolatorProc::fieldChanged(node, field, timeStamp, from);
    if (logs(osg::LOG_FATAL))
        writeLog(osg::LOG_FATAL, ZELVAN_HERE, "SplineInterpolatorProc::fieldChanged(closed) not impl.\n");
}

} // namespace Zelvan
