#pragma once

#include "interpolationNodePool/LinearInterpolator.h"

namespace Zelvan {

class ColorInterpolatorProc;

/// Interpolation of one colour, linear in hue, saturation and value. keyValue: one RGB colour per key.
class ZELVAN_INTERPOLATION_API ColorInterpolator : public LinearInterpolator {
    ZELVAN_CREATABLE_NODE(ColorInterpolator)
public:
    enum FieldIndex : unsigned { keyValueIndex = 5, value_changedIndex };
    static BitVector<unsigned long> keyValueMask, value_changedMask;
    static NodePartDesc _desc[2];

    MFColor _keyValue{*this};
    SFColor _value_changed{*this};
};

} // namespace Zelvan
