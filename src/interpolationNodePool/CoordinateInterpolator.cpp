#include "interpolationNodePool/CoordinateInterpolator.h"

#include "interpolationNodePool/CoordinateInterpolatorProc.h"

namespace Zelvan {

NodeType CoordinateInterpolator::_type = fieldlessType<CoordinateInterpolator>({
    .name = "CoordinateInterpolator",
    .parent = "LinearInterpolator",
    .standard = "X3D2.0",
    .description = "CoordinateInterpolator generates a series of coordinate values that can be ROUTEd to a "
                   "compatible node attribute.",
});

ZELVAN_FIELDLESS_NODE_BODY(CoordinateInterpolator, LinearInterpolator)

} // namespace Zelvan
