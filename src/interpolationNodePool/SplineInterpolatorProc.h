#pragma once

#include "interpolationNodePool/NonlinearInterpolatorProc.h"

namespace Zelvan {

class SplineInterpolator;

class ZELVAN_INTERPOLATION_API SplineInterpolatorProc : public NonlinearInterpolatorProc {
    ZELVAN_PROC(SplineInterpolator)
public:
    using NodeClass = SplineInterpolator;
};

} // namespace Zelvan
