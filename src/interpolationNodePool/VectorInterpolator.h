#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class VectorInterpolatorProc;

/// Piecewise-linear interpolation of a set of floats. keyValue: one block of consecutive floats per key.
class ZELVAN_INTERPOLATION_API VectorInterpolator : public LinearInterpolator {
    ZELVAN_CREATABLE_NODE(VectorInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFFloat _keyValue{*this};
    MFFloat _value_changed{*this};
};

} // namespace Zelvan
