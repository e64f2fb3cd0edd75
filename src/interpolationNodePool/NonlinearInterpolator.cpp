#include "interpolationNodePool/NonlinearInterpolator.h"

#include "interpolationNodePool/NonlinearInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> NonlinearInterpolator::normalizeVelocityMask(1ul << normalizeVelocityIndex);

NodePartDesc NonlinearInterpolator::_desc[1] = {
    {normalizeVelocityIndex, normalizeVelocityMask, Access::inputOutput, Holds::SFBool, 1, "normalizeVelocity", nullptr,
     "FALSE", nullptr,
     "If the normalizeVelocity field has value TRUE, the keyVelocity values are normalized, thus converting "
     "them to tangency vectors. In this case, the vectors are normalized to produce smooth speed "
     "transitions.",
     0},
};

NodeType NonlinearInterpolator::_type =
    abstractType<NonlinearInterpolator>({.name = "NonlinearInterpolator",
                                         .parent = "Interpolator",
                                         .standard = "Zelvan",
                                         .description = "Abstract base type for all linear interpolators"});

ZELVAN_ABSTRACT_NODE_BODY(NonlinearInterpolator, Interpolator, _normalizeVelocity)

} // namespace Zelvan
