#include "interpolationNodePool/SplinePositionInterpolator2D.h"

#include "interpolationNodePool/SplinePositionInterpolator2DProc.h"

namespace Zelvan {

BitVector<unsigned long> SplinePositionInterpolator2D::keyValueMask(1ul << keyValueIndex);
BitVector<unsigned long> SplinePositionInterpolator2D::value_changedMask(1ul << value_changedIndex);

NodePartDesc SplinePositionInterpolator2D::_desc[2] = {
    {keyValueIndex, keyValueMask, Access::inputOutput, Holds::MFVec2f, 1, "keyValue", nullptr, nullptr, nullptr,
     "keyValue field contains values for the target field, one complete set of values for each key", 0},
    {value_changedIndex, value_changedMask, Access::outputOnly, Holds::SFVec2f, 1, "value_changed", nullptr, nullptr, nullptr,
     "interpolation results for the given set_fraction value", 0},
};

NodeType SplinePositionInterpolator2D::_type = creatableType<SplinePositionInterpolator2D>({
    .name = "SplinePositionInterpolator2D",
    .parent = "SplinePositionInterpolator",
    .status = "beta",
    .standard = "X3D3.2",
    .description = "The SplinePositionInterpolator2D node non-linearly interpolates among a list of 2D "
                   "vectors to produce an SFVec2f value_changed event. The keyValue, keyVelocity, and key "
                   "fields shall each have the same number of values.",
});

ZELVAN_CREATABLE_NODE_BODY(SplinePositionInterpolator2D, SplinePositionInterpolator, _keyValue, _value_changed)

} // namespace Zelvan
