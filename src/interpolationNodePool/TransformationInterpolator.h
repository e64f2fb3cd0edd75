#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class TransformationInterpolatorProc;

/// Interpolation of one 4x4 transformation. keyValue: one matrix per key, four columns of four numbers.
/// mode: "matrix" blends matrix logarithms, "component" translation, rotation, scale and scale orientation.
class ZELVAN_INTERPOLATION_API TransformationInterpolator : public LinearInterpolator {
    ZELVAN_CREATABLE_NODE(TransformationInterpolator)
public:
    enum FieldIndex : unsigned {
        keyValueIndex = 5,
        value_changedIndex,
        modeIndex,
        set_firstKeyValueIndex,
        set_lastKeyValueIndex
    };
    static BitVector<unsigned long> keyValueMask, value_changedMask, modeMask, set_firstKeyValueMask, set_lastKeyValueMask;
    static NodePartDesc _desc[5];

    MFMatrix4f _keyValue{*this};
    SFMatrix4f _value_changed{*this};
    SFString _mode{*this};
    SFMatrix4f _set_firstKeyValue{*this};
    SFMatrix4f _set_lastKeyValue{*this};
};

} // namespace Zelvan
