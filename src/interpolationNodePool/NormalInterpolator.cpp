#include "interpolationNodePool/NormalInterpolator.h"

#include "interpolationNodePool/NormalInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> NormalInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> NormalInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc NormalInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec3f, 1, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::MFVec3f, 1, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair.",
     0},
};

NodeType NormalInterpolator::_type = creatableType<NormalInterpolator>({
    .name = "NormalInterpolator",
    .parent = "LinearInterpolator",
    .standard = "X3D2.0",
    .description = "NormalInterpolator generates a series of normal (perpendicular) vector sets along the "
                   "surface of a unit sphere. ROUTE values to \"vector\" attribute of a Normal node or "
                   "another MFVec3f attribute Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction Typical output: ROUTE someInterpolator.value_changed TO "
                   "destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(NormalInterpolator, LinearInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
