#include "interpolationNodePool/SquadOrientationInterpolator.h"

#include "interpolationNodePool/SquadOrientationInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> SquadOrientationInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> SquadOrientationInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc SquadOrientationInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFRotation, 1, "keyValue", nullptr, nullptr, nullptr,
     "keyValue field contains values for the target field, one complete set of values for each key", 0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFRotation, 1, "value_changed", nullptr, nullptr,
     nullptr, "interpolation results for the given set_fraction value", 0},
};

NodeType SquadOrientationInterpolator::_type = creatableType<SquadOrientationInterpolator>({
    .name = "SquadOrientationInterpolator",
    .parent = "NonlinearInterpolator",
    .status = "alpha",
    .standard = "X3D3.2",
    .description = "The SquadOrientationInterpolator node non-linearly interpolates among a list of "
                   "rotations to produce an SFRotation value_changed event. The keyValue field shall have "
                   "the same number of values and the key field.",
});

ZELVAN_CREATABLE_NODE_BODY(SquadOrientationInterpolator, NonlinearInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
