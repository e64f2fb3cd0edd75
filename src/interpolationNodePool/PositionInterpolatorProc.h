#pragma once

#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class PositionInterpolator;

class ZELVAN_INTERPOLATION_API PositionInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(PositionInterpolator)
};

} // namespace Zelvan
