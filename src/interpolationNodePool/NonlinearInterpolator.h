#pragma once

#include "interpolationNodePool/Interpolator.h"

namespace Zelvan {

class NonlinearInterpolatorProc;

/// Base of the smooth interpolators. normalizeVelocity is kept but has no effect.
class ZELVAN_INTERPOLATION_API NonlinearInterpolator : public Interpolator {
    ZELVAN_ABSTRACT_NODE(NonlinearInterpolator)
public:
    enum FieldIndex : unsigned { normalizeVelocityIndex = 5 };
    static BitVector<unsigned long> normalizeVelocityMask;
    static NodePartDesc _desc[1];

    SFBool _normalizeVelocity{*this};
};

} // namespace Zelvan
