#include "interpolationNodePool/ColorInterpolator.h"

#include "interpolationNodePool/ColorInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> ColorInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> ColorInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc ColorInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFColor, 1, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interopolation, each corresponding to time-fraction keys. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFColor, 1, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding keyValue pair.", 0},
};

NodeType ColorInterpolator::_type = creatableType<ColorInterpolator>({
    .name = "ColorInterpolator",
    .parent = "LinearInterpolator",
    .standard = "X3D2.0",
    .description = "ColorInterpolator generates a range of Color values that can be ROUTEd to a Color "
                   "node's \"color\" attribute. Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction. Typical output: ROUTE someInterpolator.value_changed "
                   "TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(ColorInterpolator, LinearInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
