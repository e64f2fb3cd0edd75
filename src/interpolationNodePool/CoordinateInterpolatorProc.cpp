#include "interpolationNodePool/CoordinateInterpolatorProc.h"

#include "interpolationNodePool/CoordinateInterpolator.h"

namespace Zelvan {

ZELVAN_FORWARDING_PROC_BODY(CoordinateInterpolator, LinearInterpolator)

} // namespace Zelvan
