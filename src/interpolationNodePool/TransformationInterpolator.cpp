#include "interpolationNodePool/TransformationInterpolator.h"

#include "interpolationNodePool/TransformationInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> TransformationInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> TransformationInterpolator::value_changedMask(1ul << value_changedIndex);
BitVector<unsigned long> TransformationInterpolator::modeMask(1ul << modeIndex);
BitVector<unsigned long> TransformationInterpolator::set_firstKeyValueMask(1ul << set_firstKeyValueIndex);
BitVector<unsigned long> TransformationInterpolator::set_lastKeyValueMask(1ul << set_lastKeyValueIndex);

NodePartDesc TransformationInterpolator::_desc[5] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFMatrix4f, 9, "keyValue", nullptr, nullptr, nullptr,
     "Output values for linear interpolation, each corresponding to a time-fraction key. Hint: number of "
     "keys must match number of keyValues!",
     0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFMatrix4f, 9, "value_changed", nullptr, nullptr,
     nullptr, "Linearly interpolated output value determined by current key time and corresponding keyValue pair.", 0},
    {modeIndex, modeMask, Access::inputOutput, Holds::SFString, 9, "mode", nullptr, "matrix", "matrix, component",
     "Mode for the matrix interpolation. \"'matrix\"' interpolates the whole matrix, \"'component\"' "
     "independently interpolates the translation, scale and rotation component of the matrices.",
     0},
    {set_firstKeyValueIndex, set_firstKeyValueMask, Access::inputOnly, Holds::SFMatrix4f, 9, "set_firstKeyValue", nullptr,
     nullptr, nullptr, "Sets the first matrix value of the keyValue field.", 0},
    {set_lastKeyValueIndex, set_lastKeyValueMask, Access::inputOnly, Holds::SFMatrix4f, 9, "set_lastKeyValue", nullptr, nullptr,
     nullptr, "Sets the last matrix value of the keyValue field.", 0},
};

NodeType TransformationInterpolator::_type = creatableType<TransformationInterpolator>({
    .name = "TransformationInterpolator",
    .parent = "LinearInterpolator",
    .standard = "Zelvan",
    .description = "TransformationInterpolator generates a series of matrix values. Results can be ROUTEd "
                   "to a MatrixTransform node's \"matrix\" attribute or another SFMatrix attribute. "
                   "Typical input: ROUTE someTimeSensor.fraction_changed TO "
                   "someInterpolator.set_fraction. Typical output: ROUTE someInterpolator.value_changed "
                   "TO destinationNode.set_attribute.",
});

ZELVAN_CREATABLE_NODE_BODY(TransformationInterpolator, LinearInterpolator, _keyValue, _value_changed, _mode, _set_firstKeyValue,
                           _set_lastKeyValue)

} // namespace Zelvan
