#include "interpolationNodePool/SplinePositionInterpolator3D.h"

#include "interpolationNodePool/SplinePositionInterpolator3DProc.h"

namespace Zelvan {

BitVector<unsigned long> SplinePositionInterpolator3D::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> SplinePositionInterpolator3D::value_changedMask(1ul << value_changedIndex);

NodePartDesc SplinePositionInterpolator3D::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec3f, 1, "keyValue", nullptr, nullptr, nullptr,
     "keyValue field contains values for the target field, one complete set of values for each key", 0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFVec3f, 1, "value_changed", nullptr, nullptr, nullptr,
     "interpolation results for the given set_fraction value", 0},
};

NodeType SplinePositionInterpolator3D::_type = creatableType<SplinePositionInterpolator3D>({
    .name = "SplinePositionInterpolator3D",
    .parent = "SplinePositionInterpolator",
    .aliasName = "SplinePositionInterpolator",
    .status = "beta",
    .standard = "Zelvan",
    .description = "The SplinePositionInterpolator node non-linearly interpolates among a list of 3D "
                   "vectors to produce an SFVec3f value_changed event. The keyValue, keyVelocity, and key "
                   "fields shall each have the same number of values.",
});

ZELVAN_CREATABLE_NODE_BODY(SplinePositionInterpolator3D, SplinePositionInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
