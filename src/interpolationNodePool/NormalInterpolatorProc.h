#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/LinearInterpolatorProc.h"

#include <vector>

namespace Zelvan {

class NormalInterpolator;
/// Computes the values that a NormalInterpolator sends.
class ZELVAN_INTERPOLATION_API NormalInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(NormalInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, std::vector<osg::Vec3f>& value);
};

} // namespace Zelvan
