#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/SplinePositionInterpolatorProc.h"

namespace Zelvan {

class SplinePositionInterpolator2D;
/// Computes the values that a SplinePositionInterpolator2D sends.
class ZELVAN_INTERPOLATION_API SplinePositionInterpolator2DProc : public SplinePositionInterpolatorProc {
    ZELVAN_PROC(SplinePositionInterpolator2D)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, osg::Vector<float, 2u>& value);
};

} // namespace Zelvan
