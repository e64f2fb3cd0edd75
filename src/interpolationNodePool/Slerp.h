#pragma once

#include "base/OpenSG.h"

#include <cmath>

namespace Zelvan {

/// The two weights of a blend of unit quaternions, in double precision. Shoemake, "Animating Rotation with
/// Quaternion Curves", SIGGRAPH 1985.
struct SlerpWeights {
    double w0, w1;
};

/// `cosine`: of the angle between the two, not negative.
inline SlerpWeights sphericalWeights(double cosine, float t)
{
    double const omega = std::acos(cosine);
    double const sine = std::sin(omega);
    return {std::sin((1.0 - t) * omega) / sine, std::sin(t * omega) / sine};
}

inline SlerpWeights linearWeights(float t)
{
    return {1.0 - t, t};
}

/// Spherical linear interpolation along the shorter arc. `nearlyEqual(cosine)` tells when the two are so close
/// that a plain linear blend serves. The result is not renormalised.
template <class NearlyEqual>
inline osg::Quaternion slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t, NearlyEqual nearlyEqual)
{
    float const dot = a.x() * b.x() + a.y() * b.y() + a.z() * b.z() + a.w() * b.w();
    double const cosine = dot < 0.f ? -static_cast<double>(dot) : dot;
    SlerpWeights weights = nearlyEqual(cosine) ? linearWeights(t) : sphericalWeights(cosine, t);
    if (dot < 0.f)
        weights.w1 = -weights.w1; // b and -b are the same rotation; -b is the nearer one
    auto const blend = [&weights](float from, float to) {
        return static_cast<float>(weights.w0 * from + weights.w1 * to);
    };
    osg::Quaternion result;
    result.setValueAsQuat(blend(a.x(), b.x()), blend(a.y(), b.y()), blend(a.z(), b.z()), blend(a.w(), b.w()));
    return result;
}

inline osg::Quaternion slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t)
{
    return slerp(a, b, t, [](double cosine) { return !(1.0 - cosine > 1e-5); });
}

} // namespace Zelvan
