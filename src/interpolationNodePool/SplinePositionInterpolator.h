#pragma once

#include "interpolationNodePool/SplineInterpolator.h"

namespace Zelvan {

class SplinePositionInterpolatorProc;

/// Base of the spline interpolators of one vector.
class ZELVAN_INTERPOLATION_API SplinePositionInterpolator : public SplineInterpolator {
    ZELVAN_ABSTRACT_NODE(SplinePositionInterpolator)
};

} // namespace Zelvan
