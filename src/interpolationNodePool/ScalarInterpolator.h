#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class ScalarInterpolatorProc;

/// Piecewise-linear interpolation of one float. keyValue: one value per key, any unit.
class ZELVAN_INTERPOLATION_API ScalarInterpolator : public LinearInterpolator {
    ZELVAN_CREATABLE_NODE(ScalarInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFFloat _keyValue{*this};
    SFFloat _value_changed{*this};
};

} // namespace Zelvan
