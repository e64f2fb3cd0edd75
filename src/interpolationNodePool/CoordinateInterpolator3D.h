#pragma once

#include "interpolationNodePool/CoordinateInterpolator.h"

namespace Zelvan {

class CoordinateInterpolator3DProc;

/// Piecewise-linear interpolation of a set of 3D vectors. keyValue: one block of consecutive vectors per key.
class ZELVAN_INTERPOLATION_API CoordinateInterpolator3D : public CoordinateInterpolator {
    ZELVAN_CREATABLE_NODE(CoordinateInterpolator3D)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec3f _keyValue{*this};
    MFVec3f _value_changed{*this};
};

} // namespace Zelvan
