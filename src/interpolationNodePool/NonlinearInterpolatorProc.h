#pragma once

#include "interpolationNodePool/InterpolatorProc.h"

namespace Zelvan {

class NonlinearInterpolator;

class ZELVAN_INTERPOLATION_API NonlinearInterpolatorProc : public InterpolatorProc {
    ZELVAN_PROC(NonlinearInterpolator)
public:
    using NodeClass = NonlinearInterpolator;
};

} // namespace Zelvan
