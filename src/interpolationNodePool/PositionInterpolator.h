#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class PositionInterpolatorProc;

/// Base of the interpolators of one vector.
class ZELVAN_INTERPOLATION_API PositionInterpolator : public LinearInterpolator {
    ZELVAN_ABSTRACT_NODE(PositionInterpolator)
};

} // namespace Zelvan
