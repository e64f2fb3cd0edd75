#include "interpolationNodePool/Interpolator.h"

#include "interpolationNodePool/InterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> Interpolator::set_fractionMask(1ul << set_fractionIndex);
BitVector<unsigned long> Interpolator::keyMask(1ul << keyIndex);

NodePartDesc Interpolator::_desc[2] = {
    {set_fractionIndex, set_fractionMask, Access::inputOnly, Holds::SFFloat, 1, "set_fraction", nullptr, nullptr, nullptr,
     "set_fraction selects input key for corresponding keyValue output.", 0},
    {keyIndex, keyMask, Access::inputOutput, Holds::MFFloat, 1, "key", nullptr, nullptr, nullptr,
     "Definition parameters for linear-interpolation function time intervals, in increasing order and "
     "corresponding to keyValues. Hint: number of keys must match number of keyValues!",
     0},
};

NodeType Interpolator::_type = abstractType<Interpolator>({
    .name = "Interpolator",
    .parent = "TransCoder",
    .standard = "Zelvan",
    .description = "Interpolator nodes generate a range of SF/MF values that can be ROUTEd to a compatible node "
                   "field. The interpolator nodes differ in the generated value type.",
});

ZELVAN_ABSTRACT_NODE_BODY(Interpolator, TransCoder, _set_fraction, _key)

} // namespace Zelvan
