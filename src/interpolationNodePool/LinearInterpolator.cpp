#include "interpolationNodePool/LinearInterpolator.h"

#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

NodeType LinearInterpolator::_type =
    fieldlessType<LinearInterpolator>({.name = "LinearInterpolator",
                                       .parent = "Interpolator",
                                       .standard = "Zelvan",
                                       .description = "Abstract base type for all linear interpolators"});

ZELVAN_FIELDLESS_NODE_BODY(LinearInterpolator, Interpolator)

} // namespace Zelvan
