#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/KeptAngle.h"

#include <cmath>

namespace Zelvan {

/// Makes `rotation` that of the quaternion; the framework derives axis and angle when they are read.
inline void setQuaternion(Rotation& rotation, osg::Quaternion const& quaternion)
{
    constexpr unsigned quaternionOnly = 2;
    rotation._quaternion = quaternion;
    rotation._state = quaternionOnly;
}

/// The two weights of a blend of unit quaternions, in double precision. Shoemake, "Animating Rotation with
/// Quaternion Curves", SIGGRAPH 1985.
struct SlerpWeights {
    double w0, w1;
};

/// `cosine`: of the angle between the two, not negative.
inline SlerpWeights sphericalWeights(double cosine, float t, KeptAngle& kept)
{
    if (cosine != kept._cosine) {
        kept._cosine = cosine;
        kept._omega = std::acos(cosine);
        kept._sine = std::sin(kept._omega);
    }
    return {std::sin((1.0 - t) * kept._omega) / kept._sine, std::sin(t * kept._omega) / kept._sine};
}

inline SlerpWeights linearWeights(float t)
{
    return {1.0 - t, t};
}

/// Spherical linear interpolation along the shorter arc. `nearlyEqual(cosine)` tells when the two are so close
/// that a plain linear blend serves. The result is not renormalised.
template <class NearlyEqual>
inline osg::Quaternion slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t, KeptAngle& kept,
                             NearlyEqual nearlyEqual)
{
    float const dot = a.x() * b.x() + a.y() * b.y() + a.z() * b.z() + a.w() * b.w();
    double const cosine = dot < 0.f ? -static_cast<double>(dot) : dot;
    SlerpWeights weights = nearlyEqual(cosine) ? linearWeights(t) : sphericalWeights(cosine, t, kept);
    if (dot < 0.f)
        weights.w1 = -weights.w1; // b and -b are the same rotation; -b is the nearer one
    auto const blend = [&weights](float from, float to) { return static_cast<float>(weights.w0 * from + weights.w1 * to); };
    osg::Quaternion result;
    result.setValueAsQuat(blend(a.x(), b.x()), blend(a.y(), b.y()), blend(a.z(), b.z()), blend(a.w(), b.w()));
    return result;
}

inline osg::Quaternion slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t, KeptAngle& kept)
{
    return slerp(a, b, t, kept, [](double cosine) { return !(1.0 - cosine > 1e-5); });
}

} // namespace Zelvan
