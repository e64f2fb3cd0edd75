#pragma once

#include "interpolationNodePool/CoordinateInterpolatorProc.h"
#include "interpolationNodePool/Framework.h"

#include <vector>

namespace Zelvan {

class CoordinateInterpolator3D;
/// Computes the values that a CoordinateInterpolator3D sends.
class ZELVAN_INTERPOLATION_API CoordinateInterpolator3DProc : public CoordinateInterpolatorProc {
    ZELVAN_PROC(CoordinateInterpolator3D)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float fraction, std::vector<osg::Vector<float, 3u>>& value);
};

} // namespace Zelvan
