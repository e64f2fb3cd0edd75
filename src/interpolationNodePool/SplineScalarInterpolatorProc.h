#pragma once

#include "interpolationNodePool/SplineInterpolatorProc.h"

namespace Zelvan {

class SplineScalarInterpolator;
/// Computes the values that a SplineScalarInterpolator sends.
class ZELVAN_INTERPOLATION_API SplineScalarInterpolatorProc : public SplineInterpolatorProc {
    ZELVAN_PROC(SplineScalarInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, float& value);
};

} // namespace Zelvan
