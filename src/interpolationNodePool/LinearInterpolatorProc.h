#pragma once

#include "interpolationNodePool/InterpolatorProc.h"

namespace Zelvan {

class LinearInterpolator;
/// Base of the processors of all LinearInterpolators: nothing of its own, fields go on to the parent.
class ZELVAN_INTERPOLATION_API LinearInterpolatorProc : public InterpolatorProc {
    ZELVAN_PROC(LinearInterpolator)
};

} // namespace Zelvan
