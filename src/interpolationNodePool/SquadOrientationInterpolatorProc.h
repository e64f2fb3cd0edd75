#pragma once

#include "base/OpenSG.h"
#include "base/Rotation.h"
#include "interpolationNodePool/NonlinearInterpolatorProc.h"

namespace Zelvan {

/// Slerp along the shorter arc that turns into a linear blend when the cosine of the angle is above 0.99.
ZELVAN_INTERPOLATION_API osg::Quaternion my_slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t);
/// Spherical quadrangle of the keys q1, q2 and their inner points s1, s2: a slerp, by 2t(1 - t), of two slerps.
/// Shoemake, "Quaternion Calculus and Fast Animation", SIGGRAPH course notes 1987.
ZELVAN_INTERPOLATION_API osg::Quaternion squadQuaternions(osg::Quaternion const& q1, osg::Quaternion const& q2,
                                                          osg::Quaternion const& s1, osg::Quaternion const& s2,
                                                          float t);
/// The inner point belonging to q: q exp(-(log(q^-1 next) + log(q^-1 prev)) / 4).
ZELVAN_INTERPOLATION_API osg::Quaternion compute_innerQuadranglePoints(osg::Quaternion const& q,
                                                                       osg::Quaternion const& prev,
                                                                       osg::Quaternion const& next);

class SquadOrientationInterpolator;

class ZELVAN_INTERPOLATION_API SquadOrientationInterpolatorProc : public NonlinearInterpolatorProc {
    ZELVAN_PROC(SquadOrientationInterpolator)
public:
    /// Writes the value for `fraction` and returns true, or leaves `value` alone and returns false.
    bool calculateValue(float const& fraction, Rotation& value);

private:
    /// Inner points of an interval, with the quaternions they were computed from: before, start, end, after.
    struct InnerPoints {
        float _from[16];
        osg::Quaternion _s1, _s2;
        bool _first = false, _last = false; ///< no key before, no key after
        bool _valid = false;
    };
    InnerPoints const& innerPoints(Rotation const* keyValue, unsigned n, unsigned i);

    InnerPoints _inner;
};

} // namespace Zelvan
