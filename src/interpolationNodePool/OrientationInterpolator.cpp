#include "interpolationNodePool/OrientationInterpolator.h"

#include "interpolationNodePool/OrientationInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> OrientationInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> OrientationInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc OrientationInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFRotation, 1, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFRotation, 1, "value_changed", nullptr, nullptr,
     nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair.",
     0},
};

NodeType OrientationInterpolator::_type = creatableType<OrientationInterpolator>({
    .name = "OrientationInterpolator",
    .parent = "LinearInterpolator",
    .standard = "X3D2.0",
    .description = "OrientationInterpolator generates a series of rotation values Results can be ROUTEd to "
                   "a Transform node's \"rotation\" attribute or another Rotations attribute. Typical "
                   "input: ROUTE someTimeSensor.fraction_changed TO someInterpolator.set_fraction. "
                   "Typical output: ROUTE someInterpolator.value_changed TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(OrientationInterpolator, LinearInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
