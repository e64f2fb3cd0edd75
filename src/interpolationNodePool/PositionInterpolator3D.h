#pragma once

#include "interpolationNodePool/PositionInterpolator.h"

namespace Zelvan {

class PositionInterpolator3DProc;

/// Piecewise-linear interpolation of one 3D vector. keyValue: one vector per key.
class ZELVAN_INTERPOLATION_API PositionInterpolator3D : public PositionInterpolator {
    ZELVAN_CREATABLE_NODE(PositionInterpolator3D)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec3f _keyValue{*this};
    SFVec3f _value_changed{*this};
};

} // namespace Zelvan
