#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class NormalInterpolatorProc;

/// Linear interpolation of a set of 3D vectors, each scaled back to unit length. keyValue: one block of
/// consecutive vectors per key.
class ZELVAN_INTERPOLATION_API NormalInterpolator : public LinearInterpolator {
    ZELVAN_CREATABLE_NODE(NormalInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFVec3f _keyValue{*this};
    MFVec3f _value_changed{*this};
};

} // namespace Zelvan
