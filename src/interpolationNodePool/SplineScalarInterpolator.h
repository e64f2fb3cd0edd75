#pragma once

#include "interpolationNodePool/SplineInterpolator.h"

namespace Zelvan {

class SplineScalarInterpolatorProc;

/// Cubic Hermite interpolation of one float, tangents from the neighbouring values. keyValue: one per key.
class ZELVAN_INTERPOLATION_API SplineScalarInterpolator : public SplineInterpolator {
    ZELVAN_CREATABLE_NODE(SplineScalarInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 7, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFFloat _keyValue{*this};
    SFFloat _value_changed{*this};
};

} // namespace Zelvan
