#include "interpolationNodePool/EaseInEaseOut.h"

#include "interpolationNodePool/EaseInEaseOutProc.h"

namespace Zelvan {

BitVector<unsigned long> EaseInEaseOut::easeInEaseOutMask(1ul << easeInEaseOutIndex);
BitVector<unsigned long> EaseInEaseOut::modifiedFraction_changedMask(1ul << modifiedFraction_changedIndex);

NodePartDesc EaseInEaseOut::_desc[2] = {
    {easeInEaseOutIndex, easeInEaseOutMask, Access::inputOutput, Holds::MFVec2f, 1, "easeInEaseOut", nullptr, nullptr, nullptr,
     "value range corresponds to the key values", 0},
    {modifiedFraction_changedIndex, modifiedFraction_changedMask, Access::outputOnly, Holds::SFFloat, 1,
     "modifiedFraction_changed", nullptr, nullptr, nullptr, "resulting values", 0},
};

NodeType EaseInEaseOut::_type = creatableType<EaseInEaseOut>({
    .name = "EaseInEaseOut",
    .parent = "Interpolator",
    .standard = "X3D3.2",
    .description = "The EaseInEaseOut node supports controlled gradual transitions by specifying "
                   "modifications for TimeSensor node fractions. The EaseInEaseOut node receives "
                   "set_fraction field event. It uses the values of the key field and the easeIneaseOut "
                   "field to modify that fraction which is then issued as a modifiedFraction_changed event",
});

ZELVAN_CREATABLE_NODE_BODY(EaseInEaseOut, Interpolator, _easeInEaseOut, _modifiedFraction_changed)

} // namespace Zelvan
