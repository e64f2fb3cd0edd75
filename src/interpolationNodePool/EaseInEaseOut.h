#pragma once

#include "interpolationNodePool/Interpolator.h"

namespace Zelvan {

class EaseInEaseOutProc;

/// Reshapes a fraction so that motion starts and stops gradually. easeInEaseOut: one pair per key, the share
/// used when the key ends an interval and the share used when it starts one.
class ZELVAN_INTERPOLATION_API EaseInEaseOut : public Interpolator {
    ZELVAN_CREATABLE_NODE(EaseInEaseOut)
public:
    enum FieldIndex : unsigned { easeInEaseOutIndex = 5, modifiedFraction_changedIndex };
    static BitVector<unsigned long> easeInEaseOutMask, modifiedFraction_changedMask;
    static NodePartDesc _desc[2];

    MFVec2f _easeInEaseOut{*this};
    SFFloat _modifiedFraction_changed{*this};
};

} // namespace Zelvan
