#include "interpolationNodePool/CoordinateInterpolator3D.h"

#include "interpolationNodePool/CoordinateInterpolator3DProc.h"

namespace Zelvan {

BitVector<unsigned long> CoordinateInterpolator3D::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> CoordinateInterpolator3D::value_changedMask(1ul << value_changedIndex);

NodePartDesc CoordinateInterpolator3D::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec3f, 9, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to time-fraction keys. Hint: number of "
     "keyValues must be an integer multiple of the number of keys! Hint: keyValue/key integer multiple "
     "defines how many coordinates are sent in value_changed outputOnlys.",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::MFVec3f, 9, "value_changed", nullptr, nullptr, nullptr,
     "Linearly interpolated output value determined by current key time and corresponding \"'keyValue\"' "
     "pair. Hint: keyValue/key integer multiple defines how many coordinates are sent in value_changed "
     "outputOnlys.",
     0},
};

NodeType CoordinateInterpolator3D::_type = creatableType<CoordinateInterpolator3D>({
    .name = "CoordinateInterpolator3D",
    .parent = "CoordinateInterpolator",
    .aliasName = "CoordinateInterpolator",
    .standard = "Zelvan",
    .description = "CoordinateInterpolator generates a series of Coordinate values that can be ROUTEd to a "
                   "Coordinate node's \"point\" attribute or another MFVec3f attribute. Typical input: "
                   "ROUTE someTimeSensor.fraction_changed TO someInterpolator.set_fraction. Typical "
                   "output: ROUTE someInterpolator.value_changed TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(CoordinateInterpolator3D, CoordinateInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
