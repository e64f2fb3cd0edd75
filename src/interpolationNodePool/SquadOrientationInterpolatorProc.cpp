#include "interpolationNodePool/SquadOrientationInterpolatorProc.h"

#include "interpolationNodePool/Slerp.h"
#include "interpolationNodePool/SquadOrientationInterpolator.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Zelvan {

namespace {

inline osg::Quaternion slerpOrBlend(osg::Quaternion const& a, osg::Quaternion const& b, float t, KeptAngle& kept)
{
    return slerp(a, b, t, kept, [](double cosine) { return 1.0 - cosine < 0.01; });
}

osg::Quaternion squad(osg::Quaternion const& q1, osg::Quaternion const& q2, osg::Quaternion const& s1,
                      osg::Quaternion const& s2, float t, KeptAngle (&kept)[2])
{
    float const h = (t + t) * (1.f - t);
    KeptAngle none;
    return slerpOrBlend(slerpOrBlend(q1, q2, t, kept[0]), slerpOrBlend(s1, s2, t, kept[1]), h, none);
}

} // namespace

osg::Quaternion my_slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t)
{
    KeptAngle none;
    return slerpOrBlend(a, b, t, none);
}

osg::Quaternion squadQuaternions(osg::Quaternion const& q1, osg::Quaternion const& q2, osg::Quaternion const& s1,
                                 osg::Quaternion const& s2, float t)
{
    KeptAngle none[2];
    return squad(q1, q2, s1, s2, t, none);
}

namespace {

osg::Vec3f log(osg::Quaternion const& unit)
{
    float const x = unit.x(), y = unit.y(), z = unit.z();
    double const r = std::sqrt(static_cast<double>(x * x + y * y + z * z));
    if (r < 1e-6)
        return {x, y, z};
    double const k = std::acos(static_cast<double>(unit.w())) / r;
    return {static_cast<float>(x * k), static_cast<float>(y * k), static_cast<float>(z * k)};
}

osg::Quaternion exp(osg::Vec3f const& v)
{
    double const r = std::sqrt(static_cast<double>(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]));
    osg::Quaternion result;
    if (r < 1e-6) {
        result.setValueAsQuat(v[0], v[1], v[2], static_cast<float>(std::cos(r)));
        return result;
    }
    double const sine = std::sin(r);
    result.setValueAsQuat(static_cast<float>(v[0] * sine / r), static_cast<float>(v[1] * sine / r),
                          static_cast<float>(v[2] * sine / r), static_cast<float>(std::cos(r)));
    return result;
}

// log(q^-1 to), for a unit quaternion q whose conjugate is its inverse.
osg::Vec3f logOfStep(osg::Quaternion const& q, osg::Quaternion const& to)
{
    osg::Quaternion step;
    step.setValueAsQuat(-q.x(), -q.y(), -q.z(), q.w());
    step.mult(to);
    step.normalize(); // mult has normalised once; the second time rounds once more
    return log(step);
}

} // namespace

osg::Quaternion compute_innerQuadranglePoints(osg::Quaternion const& q, osg::Quaternion const& prev,
                                              osg::Quaternion const& next)
{
    osg::Vec3f const toNext = logOfStep(q, next), toPrev = logOfStep(q, prev);
    osg::Vec3f mean;
    for (osg::UInt32 c = 0; c < 3; ++c)
        mean[c] = (toNext[c] + toPrev[c]) * -0.25f;
    osg::Quaternion inner = q;
    inner.mult(exp(mean));
    return inner;
}

ZELVAN_VALUE_PROC_BODY(SquadOrientationInterpolator, NonlinearInterpolator)

// Playback inside an interval meets the same keys again. Their inner points are kept with the very bits they
// were computed from, so they cannot be stale.
osg::Quaternion const& SquadOrientationInterpolatorProc::innerPoint(InnerPoint& kept, Rotation const* key)
{
    osg::Quaternion const from[3] = {key[0].quaternion(), key[-1].quaternion(), key[1].quaternion()};
    static_assert(sizeof from == 12 * sizeof(float), "bits that are no value must not be compared");
    if (!kept._valid || std::memcmp(kept._from, from, sizeof from) != 0) {
        kept._point = compute_innerQuadranglePoints(from[0], from[1], from[2]);
        std::copy_n(from, 3, kept._from);
        kept._valid = true;
    }
    return kept._point;
}

bool SquadOrientationInterpolatorProc::calculateValue(float const& fraction, Rotation& value)
{
    std::vector<Rotation> const& keyValue = node()._keyValue._value;
    // A key without a value takes no part: not in the search, not as a neighbour.
    unsigned const n = static_cast<unsigned>(std::min(node()._key._value.size(), keyValue.size()));
    unsigned i, valuesPerKey;
    float alpha;
    switch (calculateIndex(fraction, n, false, i, valuesPerKey, alpha)) {
    case FractionInterval: {
        Rotation const* const key = keyValue.data() + i;
        osg::Quaternion const& q1 = key[0].quaternion();
        osg::Quaternion const& q2 = key[1].quaternion();
        // The ends of the list lack a neighbour; their inner point is the key itself.
        osg::Quaternion const& s1 = i > 0 ? innerPoint(_inner[i % 2], key) : q1;
        osg::Quaternion const& s2 = i + 2 < n ? innerPoint(_inner[(i + 1) % 2], key + 1) : q2;
        setQuaternion(value, squad(q1, q2, s1, s2, alpha, _angle));
        return true;
    }
    case FractionKey: value = keyValue[i]; return true;
    case FractionNone: break;
    }
    return false;
}

} // namespace Zelvan
