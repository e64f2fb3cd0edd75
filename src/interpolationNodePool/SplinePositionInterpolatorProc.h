#pragma once

#include "interpolationNodePool/SplineInterpolatorProc.h"

namespace Zelvan {

class SplinePositionInterpolator;
/// Base of the processors of all SplinePositionInterpolators: nothing of its own, fields go on to the parent.
class ZELVAN_INTERPOLATION_API SplinePositionInterpolatorProc : public SplineInterpolatorProc {
    ZELVAN_PROC(SplinePositionInterpolator)
};

} // namespace Zelvan
