#pragma once

#include "interpolationNodePool/LinearInterpolatorProc.h"

#include <vector>

namespace Zelvan {

class VectorInterpolator;
/// Computes the values that a VectorInterpolator sends.
class ZELVAN_INTERPOLATION_API VectorInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(VectorInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, std::vector<float>& value);
};

} // namespace Zelvan
