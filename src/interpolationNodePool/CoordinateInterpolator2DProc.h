#pragma once

#include "interpolationNodePool/CoordinateInterpolatorProc.h"
#include "interpolationNodePool/Framework.h"

#include <vector>

namespace Zelvan {

class CoordinateInterpolator2D;
/// Computes the values that a CoordinateInterpolator2D sends.
class ZELVAN_INTERPOLATION_API CoordinateInterpolator2DProc : public CoordinateInterpolatorProc {
    ZELVAN_PROC(CoordinateInterpolator2D)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float fraction, std::vector<osg::Vector<float, 2u>>& value);
};

} // namespace Zelvan
