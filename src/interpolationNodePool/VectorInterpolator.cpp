#include "interpolationNodePool/VectorInterpolator.h"

#include "interpolationNodePool/VectorInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> VectorInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> VectorInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc VectorInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFFloat, 9, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interopolation, each corresponding to time-fraction keys. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::MFFloat, 9, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding keyValue pair.", 0},
};

NodeType VectorInterpolator::_type = creatableType<VectorInterpolator>({
    .name = "VectorInterpolator",
    .parent = "LinearInterpolator",
    .standard = "Zelvan",
    .description = "VectorInterpolator generates a series of float value sets. Results can be ROUTEd to a "
                   "node's MFFloat attribute. Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction. Typical output: ROUTE someInterpolator.value_changed "
                   "TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(VectorInterpolator, LinearInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
