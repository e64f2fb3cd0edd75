#include "interpolationNodePool/LinearInterpolatorProc.h"

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

ZELVAN_FORWARDING_PROC_BODY(LinearInterpolator, Interpolator)

} // namespace Zelvan
