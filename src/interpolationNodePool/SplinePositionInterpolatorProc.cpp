#include "interpolationNodePool/SplinePositionInterpolatorProc.h"

#include "interpolationNodePool/SplinePositionInterpolator.h"

namespace Zelvan {

ZELVAN_FORWARDING_PROC_BODY(SplinePositionInterpolator, SplineInterpolator)

} // namespace Zelvan
