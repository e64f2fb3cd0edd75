#pragma once

#include "interpolationNodePool/InterpolatorProc.h"

namespace Zelvan {

class LinearInterpolator;

class ZELVAN_INTERPOLATION_API LinearInterpolatorProc : public InterpolatorProc {
    ZELVAN_PROC(LinearInterpolator)
};

} // namespace Zelvan
