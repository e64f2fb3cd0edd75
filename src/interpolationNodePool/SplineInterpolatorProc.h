#pragma once

#include "interpolationNodePool/NonlinearInterpolatorProc.h"

namespace Zelvan {

class SplineInterpolator;
/// Base of the processors of all SplineInterpolators, with what they do about `closed`.
class ZELVAN_INTERPOLATION_API SplineInterpolatorProc : public NonlinearInterpolatorProc {
    ZELVAN_PROC(SplineInterpolator)
public:
    using NodeClass = SplineInterpolator;
};

} // namespace Zelvan
