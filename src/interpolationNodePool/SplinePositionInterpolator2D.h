#pragma once

#include "interpolationNodePool/SplinePositionInterpolator.h"

namespace Zelvan {

class SplinePositionInterpolator2DProc;

/// Cubic Hermite interpolation of one 2D vector, tangents from the neighbouring values. keyValue: one per key.
class ZELVAN_INTERPOLATION_API SplinePositionInterpolator2D : public SplinePositionInterpolator {
    ZELVAN_CREATABLE_NODE(SplinePositionInterpolator2D)
public:
    enum FieldIndex : unsigned { keyValueIndex = 7, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec2f _keyValue{*this};
    SFVec2f _value_changed{*this};
};

} // namespace Zelvan
