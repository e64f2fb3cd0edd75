#pragma once

#include "interpolationNodePool/SplineInterpolatorProc.h"

namespace Zelvan {

class SplinePositionInterpolator;

class ZELVAN_INTERPOLATION_API SplinePositionInterpolatorProc : public SplineInterpolatorProc {
    ZELVAN_PROC(SplinePositionInterpolator)
};

} // namespace Zelvan
