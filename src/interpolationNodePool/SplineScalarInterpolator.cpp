#include "interpolationNodePool/SplineScalarInterpolator.h"

#include "interpolationNodePool/SplineScalarInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> SplineScalarInterpolator::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> SplineScalarInterpolator::value_changedMask(1ul << value_changedIndex);

NodePartDesc SplineScalarInterpolator::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFFloat, 1, "keyValue", nullptr, nullptr, nullptr,
     "keyValue field contains values for the target field, one complete set of values for each key", 0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFFloat, 1, "value_changed", nullptr, nullptr, nullptr,
     "interpolation results for the given set_fraction value", 0},
};

NodeType SplineScalarInterpolator::_type = creatableType<SplineScalarInterpolator>({
    .name = "SplineScalarInterpolator",
    .parent = "SplineInterpolator",
    .status = "beta",
    .standard = "X3D3.2",
    .description = "The SplineScalarInterpolator node non-linearly interpolates among a list of floats to "
                   "produce an SFFloat value_changed event. The keyValue, keyVelocity, and key fields "
                   "shall each have the same number of values.",
});

ZELVAN_CREATABLE_NODE_BODY(SplineScalarInterpolator, SplineInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
