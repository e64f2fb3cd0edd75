#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/KeptAngle.h"
#include "interpolationNodePool/NonlinearInterpolatorProc.h"

namespace Zelvan {

/// Slerp along the shorter arc that turns into a linear blend when the cosine of the angle is above 0.99.
ZELVAN_INTERPOLATION_API osg::Quaternion my_slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t);
/// Spherical quadrangle of the keys q1, q2 and their inner points s1, s2: a slerp, by 2t(1 - t), of two slerps.
/// Shoemake, "Quaternion Calculus and Fast Animation", SIGGRAPH course notes 1987.
ZELVAN_INTERPOLATION_API osg::Quaternion squadQuaternions(osg::Quaternion const& q1, osg::Quaternion const& q2,
                                                          osg::Quaternion const& s1, osg::Quaternion const& s2, float t);
/// The inner point belonging to q: q exp(-(log(q^-1 next) + log(q^-1 prev)) / 4).
ZELVAN_INTERPOLATION_API osg::Quaternion compute_innerQuadranglePoints(osg::Quaternion const& q, osg::Quaternion const& prev,
                                                                       osg::Quaternion const& next);

class SquadOrientationInterpolator;

class ZELVAN_INTERPOLATION_API SquadOrientationInterpolatorProc : public NonlinearInterpolatorProc {
    ZELVAN_PROC(SquadOrientationInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, Rotation& value);

private:
    /// The inner point of a key, with the quaternions it was computed from: the key, the one before, the next.
    struct InnerPoint {
        osg::Quaternion _from[3];
        osg::Quaternion _point;
        bool _valid = false;
    };
    ZELVAN_INTERPOLATION_LOCAL static osg::Quaternion const& innerPoint(InnerPoint& kept, Rotation const* key);

    /// Those of the keys around the fraction, even keys in the first, odd ones in the second: going on to the
    /// next interval changes one of them.
    InnerPoint _inner[2];
    /// Between the keys, and between their inner points.
    KeptAngle _angle[2];
};

} // namespace Zelvan
