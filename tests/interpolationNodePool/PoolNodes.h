#pragma once

// All node types of the pool.

#include "interpolationNodePool/ColorInterpolator.h"
#include "interpolationNodePool/CoordinateInterpolator2D.h"
#include "interpolationNodePool/CoordinateInterpolator3D.h"
#include "interpolationNodePool/EaseInEaseOut.h"
#include "interpolationNodePool/NormalInterpolator.h"
#include "interpolationNodePool/OrientationInterpolator.h"
#include "interpolationNodePool/PositionInterpolator2D.h"
#include "interpolationNodePool/PositionInterpolator3D.h"
#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/SplinePositionInterpolator2D.h"
#include "interpolationNodePool/SplinePositionInterpolator3D.h"
#include "interpolationNodePool/SplineScalarInterpolator.h"
#include "interpolationNodePool/SquadOrientationInterpolator.h"
#include "interpolationNodePool/TransformationInterpolator.h"
#include "interpolationNodePool/VectorInterpolator.h"

#include <gtest/gtest.h>

namespace Zelvan::test {

using AbstractNodes = testing::Types<
    CoordinateInterpolator, Interpolator, LinearInterpolator, NonlinearInterpolator, PositionInterpolator,
    SplineInterpolator, SplinePositionInterpolator>;
using CreatableNodes = testing::Types<
    ColorInterpolator, CoordinateInterpolator2D, CoordinateInterpolator3D, EaseInEaseOut, NormalInterpolator,
    OrientationInterpolator, PositionInterpolator2D, PositionInterpolator3D, ScalarInterpolator,
    SplinePositionInterpolator2D, SplinePositionInterpolator3D, SplineScalarInterpolator,
    SquadOrientationInterpolator, TransformationInterpolator, VectorInterpolator>;

} // namespace Zelvan::test
