#include "interpolationNodePool/PositionInterpolatorProc.h"

#include "interpolationNodePool/PositionInterpolator.h"

namespace Zelvan {

ZELVAN_FORWARDING_PROC_BODY(PositionInterpolator, LinearInterpolator)

} // namespace Zelvan
