#include "interpolationNodePool/InterpolationNodePool.h"

#include "interpolationNodePool/ColorInterpolator.h"
#include "interpolationNodePool/CoordinateInterpolator.h"
#include "interpolationNodePool/CoordinateInterpolator2D.h"
#include "interpolationNodePool/CoordinateInterpolator3D.h"
#include "interpolationNodePool/EaseInEaseOut.h"
#include "interpolationNodePool/Interpolator.h"
#include "interpolationNodePool/LinearInterpolator.h"
#include "interpolationNodePool/NodePattern.h"
#include "interpolationNodePool/NonlinearInterpolator.h"
#include "interpolationNodePool/NormalInterpolator.h"
#include "interpolationNodePool/OrientationInterpolator.h"
#include "interpolationNodePool/PositionInterpolator.h"
#include "interpolationNodePool/PositionInterpolator2D.h"
#include "interpolationNodePool/PositionInterpolator3D.h"
#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/SplineInterpolator.h"
#include "interpolationNodePool/SplinePositionInterpolator.h"
#include "interpolationNodePool/SplinePositionInterpolator2D.h"
#include "interpolationNodePool/SplinePositionInterpolator3D.h"
#include "interpolationNodePool/SplineScalarInterpolator.h"
#include "interpolationNodePool/SquadOrientationInterpolator.h"
#include "interpolationNodePool/TransformationInterpolator.h"
#include "interpolationNodePool/VectorInterpolator.h"

namespace Zelvan {

bool initInterpolationNodePool()
{
    // Every class is asked, whatever the one before it answered; the last answer counts.
    bool found = false;
    for (auto const init : {&ColorInterpolator::init, &CoordinateInterpolator2D::init,
                            &CoordinateInterpolator3D::init, &CoordinateInterpolator::init,
                            &EaseInEaseOut::init, &Interpolator::init, &LinearInterpolator::init,
                            &NonlinearInterpolator::init, &NormalInterpolator::init,
                            &OrientationInterpolator::init, &PositionInterpolator2D::init,
                            &PositionInterpolator3D::init, &PositionInterpolator::init,
                            &ScalarInterpolator::init, &SplineInterpolator::init,
                            &SplinePositionInterpolator2D::init, &SplinePositionInterpolator3D::init,
                            &SplinePositionInterpolator::init, &SplineScalarInterpolator::init,
                            &SquadOrientationInterpolator::init, &TransformationInterpolator::init,
                            &VectorInterpolator::init})
        found = init();
    return loadedWhole(ZELVAN_HERE) && found;
}

} // namespace Zelvan
