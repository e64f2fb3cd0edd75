#pragma once

#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class CoordinateInterpolator;

class ZELVAN_INTERPOLATION_API CoordinateInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(CoordinateInterpolator)
};

} // namespace Zelvan
