#pragma once

#include "interpolationNodePool/PositionInterpolator.h"

namespace Zelvan {

class PositionInterpolator2DProc;

/// Piecewise-linear interpolation of one 2D vector. keyValue: one vector per key.
class ZELVAN_INTERPOLATION_API PositionInterpolator2D : public PositionInterpolator {
    ZELVAN_CREATABLE_NODE(PositionInterpolator2D)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec2f _keyValue{*this};
    SFVec2f _value_changed{*this};
};

} // namespace Zelvan
