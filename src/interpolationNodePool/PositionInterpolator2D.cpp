#include "interpolationNodePool/PositionInterpolator2D.h"

#include "interpolationNodePool/PositionInterpolator2DProc.h"

namespace Zelvan {

BitVector<unsigned long> PositionInterpolator2D::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> PositionInterpolator2D::value_changedMask(1ul << value_changedIndex);

NodePartDesc PositionInterpolator2D::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec2f, 1, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keyValues must be an integer multiple of the number of keys! Hint: keyValue/key integer multiple "
     "defines how many coordinates are sent in value_changed outputOnlys.",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFVec2f, 1, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair. Hint: keyValue/key integer multiple defines how many coordinates are sent in value_changed "
     "outputOnlys.",
     0},
};

NodeType PositionInterpolator2D::_type = creatableType<PositionInterpolator2D>({
    .name = "PositionInterpolator2D",
    .parent = "PositionInterpolator",
    .standard = "X3D3.0",
    .description = "PositionInterpolator2D generates a series of SFVec2F values that can be ROUTEd to a "
                   "SFVec2F attribute. Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction. Typical output: ROUTE someInterpolator.value_changed "
                   "TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(PositionInterpolator2D, PositionInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
