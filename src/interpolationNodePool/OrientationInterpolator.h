#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class OrientationInterpolatorProc;

/// Spherical linear interpolation of one rotation along the shorter arc. keyValue: one rotation per key.
class ZELVAN_INTERPOLATION_API OrientationInterpolator : public LinearInterpolator {
    ZELVAN_CREATABLE_NODE(OrientationInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFRotation _keyValue{*this};
    SFRotation _value_changed{*this};
};

} // namespace Zelvan
