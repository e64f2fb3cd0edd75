#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/SplinePositionInterpolatorProc.h"

namespace Zelvan {

class SplinePositionInterpolator3D;
/// Computes the values that a SplinePositionInterpolator3D sends.
class ZELVAN_INTERPOLATION_API SplinePositionInterpolator3DProc : public SplinePositionInterpolatorProc {
    ZELVAN_PROC(SplinePositionInterpolator3D)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, osg::Vector<float, 3u>& value);
};

} // namespace Zelvan
