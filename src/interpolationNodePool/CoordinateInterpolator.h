#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class CoordinateInterpolatorProc;

/// Base of the interpolators of sets of vectors.
class ZELVAN_INTERPOLATION_API CoordinateInterpolator : public LinearInterpolator {
    ZELVAN_ABSTRACT_NODE(CoordinateInterpolator)
};

} // namespace Zelvan
