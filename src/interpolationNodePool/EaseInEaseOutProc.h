#pragma once

#include "interpolationNodePool/InterpolatorProc.h"

namespace Zelvan {

class EaseInEaseOut;
/// Computes the fractions that an EaseInEaseOut sends.
class ZELVAN_INTERPOLATION_API EaseInEaseOutProc : public InterpolatorProc {
    ZELVAN_PROC(EaseInEaseOut)
public:
    void nodeChanged(TimeStamp const& timeStamp, BitVector<unsigned long> const& changed) override;

    /// Writes the reshaped fraction, in the units of the keys, and returns true; or leaves `value` alone and
    /// returns false.
    bool calculateValue(float const& fraction, float& value);
};

} // namespace Zelvan
