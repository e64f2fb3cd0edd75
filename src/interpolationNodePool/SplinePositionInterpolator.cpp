#include "interpolationNodePool/SplinePositionInterpolator.h"

#include "interpolationNodePool/SplinePositionInterpolatorProc.h"

namespace Zelvan {

NodeType SplinePositionInterpolator::_type =
    fieldlessType<SplinePositionInterpolator>({.name = "SplinePositionInterpolator",
                                               .parent = "SplineInterpolator",
                                               .status = "beta",
                                               .standard = "X3D3.2",
                                               .description = "Abstract base class for all SplinePostionInterpolator"});

ZELVAN_FIELDLESS_NODE_BODY(SplinePositionInterpolator, SplineInterpolator)

} // namespace Zelvan
