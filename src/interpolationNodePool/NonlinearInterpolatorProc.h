#pragma once

#include "interpolationNodePool/InterpolatorProc.h"

namespace Zelvan {

class NonlinearInterpolator;
/// Base of the processors of all NonlinearInterpolators: nothing of its own, fields go on to the parent.
class ZELVAN_INTERPOLATION_API NonlinearInterpolatorProc : public InterpolatorProc {
    ZELVAN_PROC(NonlinearInterpolator)
public:
    using NodeClass = NonlinearInterpolator;
};

} // namespace Zelvan
