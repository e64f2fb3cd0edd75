#include "interpolationNodePool/SplineInterpolator.h"

#include "interpolationNodePool/SplineInterpolatorProc.h"

namespace Zelvan {

BitVector<unsigned long> SplineInterpolator::closedMask(1ul << closedIndex);

NodePartDesc SplineInterpolator::_desc[1] = {
    {closedIndex, closedMask, Access::inputOutput, Holds::SFBool, 1, "closed", nullptr, "FALSE", nullptr,
     "specifies whether the interpolator should provide a closed loop, with continuous velocity vectors as "
     "the interpolator transitions from the last key to the first key. If the velocity vectors at the "
     "first and last keys are specified, the closed field is ignored. If the keyValues at the first and "
     "last key are not identical, the closed field is ignored",
     0},
};

NodeType SplineInterpolator::_type =
    abstractType<SplineInterpolator>({.name = "SplineInterpolator",
                                      .parent = "NonlinearInterpolator",
                                      .standard = "Zelvan",
                                      .description = "Abstract base type for all spline interpolators"});

ZELVAN_ABSTRACT_NODE_BODY(SplineInterpolator, NonlinearInterpolator, _closed)

} // namespace Zelvan
