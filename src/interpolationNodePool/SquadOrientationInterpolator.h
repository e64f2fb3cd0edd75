#pragma once

#include "interpolationNodePool/NonlinearInterpolator.h"

namespace Zelvan {

class SquadOrientationInterpolatorProc;

/// Spherical quadrangle interpolation of one rotation. keyValue: one rotation per key.
class ZELVAN_INTERPOLATION_API SquadOrientationInterpolator : public NonlinearInterpolator {
    ZELVAN_CREATABLE_NODE(SquadOrientationInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 6, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFRotation _keyValue{*this};
    SFRotation _value_changed{*this};
};

} // namespace Zelvan
