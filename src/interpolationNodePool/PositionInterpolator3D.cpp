#include "interpolationNodePool/PositionInterpolator3D.h"

#include "interpolationNodePool/PositionInterpolator3DProc.h"

namespace Zelvan {

BitVector<unsigned long> PositionInterpolator3D::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> PositionInterpolator3D::value_changedMask(1ul << value_changedIndex);

NodePartDesc PositionInterpolator3D::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec3f, 9, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFVec3f, 9, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair.",
     0},
};

NodeType PositionInterpolator3D::_type = creatableType<PositionInterpolator3D>({
    .name = "PositionInterpolator3D",
    .parent = "PositionInterpolator",
    .aliasName = "PositionInterpolator",
    .standard = "Zelvan",
    .description = "PositionInterpolator generates a series of triplet values. Results can be ROUTEd to a "
                   "Transform node's \"translation\" attribute or another SFVec3F attribute. Typical "
                   "input: ROUTE someTimeSensor.fraction_changed TO someInterpolator.set_fraction. "
                   "Typical output: ROUTE someInterpolator.value_changed TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(PositionInterpolator3D, PositionInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
