#pragma once

#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class PositionInterpolator;
/// Base of the processors of all PositionInterpolators: nothing of its own, fields go on to the parent.
class ZELVAN_INTERPOLATION_API PositionInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(PositionInterpolator)
};

} // namespace Zelvan
