#pragma once

#include "interpolationNodePool/NodePattern.h"

namespace Zelvan {

class Interpolator;

/// Base of all interpolator processors: maps a fraction onto the key list.
class ZELVAN_INTERPOLATION_API InterpolatorProc : public TransCoderProc {
    ZELVAN_PROC(Interpolator)
public:
    enum FractionType {
        FractionNone = 0,     ///< no value: leave the output as it is
        FractionInterval = 1, ///< blend the block at `index` with the next one by `alpha`
        FractionKey = 2       ///< take the block at `index` unchanged
    };

    /// The search of a copy starts anew.
    InterpolatorProc(InterpolatorProc& other);

    /// Finds the key interval that holds `fraction`. `keyValueCount`: how many values there are to draw on;
    /// the first n keys are used, n being the smaller of that and the number of keys. `multiValue`: each key
    /// owns a block of `valuesPerKey` = keyValueCount / n values, else one. `index`: first value of the block
    /// found. `alpha`: weight of the next block, written with FractionInterval only (and 0 with FractionNone).
    FractionType calculateIndex(float fraction, unsigned int keyValueCount, bool multiValue, unsigned int& index,
                                unsigned int& valuesPerKey, float& alpha);

    /// Id of the context parameter "binSearchKeyIndex".
    static unsigned _binSearchKeyIndexID;
    static StringDic _typeDic[6];

    /// Interval found by the previous search: a steadily growing fraction is found there or close behind.
    unsigned _lastIndex = 0;

private:
    /// `calculateIndex` for a fraction between the first and the last of n usable keys that is not in the interval
    /// found before.
    ZELVAN_INTERPOLATION_LOCAL FractionType searchInterval(float fraction, unsigned n, bool binary, unsigned& index,
                                                           unsigned valuesPerKey, float& alpha);
    /// `calculateIndex` for one usable key or none: says so and takes the whole list as one block.
    ZELVAN_INTERPOLATION_LOCAL FractionType withoutInterval(unsigned keyValueCount, bool multiValue, unsigned& index,
                                                            unsigned& valuesPerKey, LogPlace const& place);
};

} // namespace Zelvan
