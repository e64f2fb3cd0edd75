#include "interpolationNodePool/ScalarInterpolator.h"

#include "interpolationNodePool/ScalarInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> ScalarInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> ScalarInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc ScalarInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFFloat, 1, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFFloat, 1, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair.",
     0},
};

NodeType ScalarInterpolator::_type = creatableType<ScalarInterpolator>({
    .name = "ScalarInterpolator",
    .parent = "LinearInterpolator",
    .standard = "X3D2.0",
    .description = "ScalarInterpolator generates piecewise-linear values that can be ROUTEd to other Float "
                   "attributes. Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction Typical output: ROUTE someInterpolator.value_changed TO "
                   "destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(ScalarInterpolator, LinearInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
