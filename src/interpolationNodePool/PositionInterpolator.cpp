#include "interpolationNodePool/PositionInterpolator.h"

#include "interpolationNodePool/PositionInterpolatorProc.h"

namespace Zelvan {

NodeType PositionInterpolator::_type = fieldlessType<PositionInterpolator>({
    .name = "PositionInterpolator",
    .parent = "LinearInterpolator",
    .standard = "X3D2.0",
    .description = "A PositionInterpolator generates a range of position values that can be ROUTEd to a "
                   "compatible node field.",
});

ZELVAN_FIELDLESS_NODE_BODY(PositionInterpolator, LinearInterpolator)

} // namespace Zelvan
