#pragma once

#include "interpolationNodePool/CoordinateInterpolator.h"

namespace Zelvan {

class CoordinateInterpolator2DProc;

/// Piecewise-linear interpolation of a set of 2D vectors. keyValue: one block of consecutive vectors per key.
class ZELVAN_INTERPOLATION_API CoordinateInterpolator2D : public CoordinateInterpolator {
    ZELVAN_CREATABLE_NODE(CoordinateInterpolator2D)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec2f _keyValue{*this};
    MFVec2f _value_changed{*this};
};

} // namespace Zelvan
