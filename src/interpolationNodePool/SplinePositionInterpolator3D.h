#pragma once

#include "interpolationNodePool/SplinePositionInterpolator.h"

namespace Zelvan {

class SplinePositionInterpolator3DProc;

/// Cubic Hermite interpolation of one 3D vector, tangents from the neighbouring values. keyValue: one per key.
class ZELVAN_INTERPOLATION_API SplinePositionInterpolator3D : public SplinePositionInterpolator {
    ZELVAN_CREATABLE_NODE(SplinePositionInterpolator3D)
public:
    enum FieldIndex : unsigned { keyValueIndex = 7, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec3f _keyValue{*this};
    SFVec3f _value_changed{*this};
};

} // namespace Zelvan
