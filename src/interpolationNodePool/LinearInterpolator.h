#pragma once

#include "interpolationNodePool/Interpolator.h"

namespace Zelvan {

class LinearInterpolatorProc;

/// Base of the piecewise-linear interpolators.
class ZELVAN_INTERPOLATION_API LinearInterpolator : public Interpolator {
    ZELVAN_ABSTRACT_NODE(LinearInterpolator)
};

} // namespace Zelvan
