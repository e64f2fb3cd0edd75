#pragma once

#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class CoordinateInterpolator;
/// Base of the processors of all CoordinateInterpolators: nothing of its own, fields go on to the parent.
class ZELVAN_INTERPOLATION_API CoordinateInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(CoordinateInterpolator)
};

} // namespace Zelvan
