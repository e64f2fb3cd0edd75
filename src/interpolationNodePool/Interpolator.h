#pragma once

#include "interpolationNodePool/NodePattern.h"

namespace Zelvan {

class InterpolatorProc;

/// Base of all interpolators. set_fraction: where on the curve, in the units of the keys. key: one per value,
/// in increasing order.
class ZELVAN_INTERPOLATION_API Interpolator : public TransCoder {
    ZELVAN_ABSTRACT_NODE(Interpolator)
public:
    enum FieldIndex : unsigned { set_fractionIndex = 3, keyIndex };
    static BitVector<unsigned long> set_fractionMask, keyMask;
    static NodePartDesc _desc[2];

    SFFloat _set_fraction{*this};
    MFFloat _key{*this};
};

} // namespace Zelvan
