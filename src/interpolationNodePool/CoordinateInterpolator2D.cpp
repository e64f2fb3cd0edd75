#include "interpolationNodePool/CoordinateInterpolator2D.h"

#include "interpolationNodePool/CoordinateInterpolator2DProc.h"

namespace Zelvan {

BitVector<unsigned long> CoordinateInterpolator2D::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> CoordinateInterpolator2D::value_changedMask(1ul << value_changedIndex);

NodePartDesc CoordinateInterpolator2D::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec2f, 1, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keyValues must be an integer multiple of the number of keys! Hint: keyValue/key integer multiple "
     "defines how many coordinates are sent in value_changed outputOnlys.",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::MFVec2f, 1, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair. Hint: keyValue/key integer multiple defines how many coordinates are sent in value_changed "
     "outputOnlys.",
     0},
};

NodeType CoordinateInterpolator2D::_type = creatableType<CoordinateInterpolator2D>({
    .name = "CoordinateInterpolator2D",
    .parent = "CoordinateInterpolator",
    .standard = "X3D3.0",
    .description = "CoordinateInterpolator2D generates a series of MFVec2f values that can be ROUTEd to a "
                   "MFVec2f attribute. Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction. Typical output: ROUTE someInterpolator.value_changed "
                   "TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(CoordinateInterpolator2D, CoordinateInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
