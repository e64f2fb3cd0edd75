#pragma once

#include "interpolationNodePool/NonlinearInterpolator.h"

namespace Zelvan {

class SplineInterpolatorProc;

/// Base of the spline interpolators. closed is kept but has no effect.
class ZELVAN_INTERPOLATION_API SplineInterpolator : public NonlinearInterpolator {
    ZELVAN_ABSTRACT_NODE(SplineInterpolator)
public:
    enum FieldIndex : unsigned { closedIndex = 6 };
    static BitVector<unsigned long> closedMask;
    static NodePartDesc _desc[1];

    SFBool _closed{*this};
};

} // namespace Zelvan
