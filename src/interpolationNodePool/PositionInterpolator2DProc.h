#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/PositionInterpolatorProc.h"

namespace Zelvan {

class PositionInterpolator2D;
/// Computes the values that a PositionInterpolator2D sends.
class ZELVAN_INTERPOLATION_API PositionInterpolator2DProc : public PositionInterpolatorProc {
    ZELVAN_PROC(PositionInterpolator2D)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, osg::Vector<float, 2u>& value);
};

} // namespace Zelvan
