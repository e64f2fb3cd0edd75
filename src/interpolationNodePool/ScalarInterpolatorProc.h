#pragma once

#include "interpolationNodePool/LinearInterpolatorProc.h"

namespace Zelvan {

class ScalarInterpolator;
/// Computes the values that a ScalarInterpolator sends.
class ZELVAN_INTERPOLATION_API ScalarInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(ScalarInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, float& value);
};

} // namespace Zelvan
