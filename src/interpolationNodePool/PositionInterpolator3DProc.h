#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/PositionInterpolatorProc.h"

namespace Zelvan {

class PositionInterpolator3D;
/// Computes the values that a PositionInterpolator3D sends.
class ZELVAN_INTERPOLATION_API PositionInterpolator3DProc : public PositionInterpolatorProc {
    ZELVAN_PROC(PositionInterpolator3D)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, osg::Vector<float, 3u>& value);
};

} // namespace Zelvan
