#include "interpolationNodePool/SquadOrientationInterpolatorProc.h"

#include "interpolationNodePool/Slerp.h"
#include "interpolationNodePool/SquadOrientationInterpolator.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Zelvan {

osg::Quaternion my_slerp(osg::Quaternion const& a, osg::Quaternion const& b, float t)
{
    return slerp(a, b, t, [](double cosine) { return 1.0 - cosine < 0.01; });
}

osg::Quaternion squadQuaternions(osg::Quaternion const& q1, osg::Quaternion const& q2, osg::Quaternion const& s1,
                                 osg::Quaternion const& s2, float t)
{
    float const h = (t + t) * (1.f - t);
    return my_slerp(my_slerp(q1, q2, t), my_slerp(s1, s2, t), h);
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

// Inner points change from key to key only: playback inside an interval reuses them. They are kept together
// with the very bits they were computed from, so they cannot be stale.
SquadOrientationInterpolatorProc::InnerPoints const&
SquadOrientationInterpolatorProc::innerPoints(Rotation const* keyValue, unsigned n, unsigned i)
{
    osg::Quaternion const& q1 = keyValue[i].quaternion();
    osg::Quaternion const& q2 = keyValue[i + 1].quaternion();
    // The ends of the list have no neighbour; their inner point is the key itself.
    bool const first = i == 0, last = i + 2 >= n;
    osg::Quaternion const& before = first ? q1 : keyValue[i - 1].quaternion();
    osg::Quaternion const& after = last ? q2 : keyValue[i + 2].quaternion();

    float from[16];
    osg::Quaternion const* const quaternions[4] = {&before, &q1, &q2, &after};
    for (unsigned k = 0; k < 4; ++k)
        std::memcpy(from + 4 * k, quaternions[k]->getValues(), 4 * sizeof(float));
    if (_inner._valid && _inner._first == first && _inner._last == last
        && std::memcmp(_inner._from, from, sizeof from) == 0)
        return _inner;

    _inner._s1 = first ? q1 : compute_innerQuadranglePoints(q1, before, q2);
    _inner._s2 = last ? q2 : compute_innerQuadranglePoints(q2, q1, after);
    std::memcpy(_inner._from, from, sizeof from);
    _inner._first = first;
    _inner._last = last;
    _inner._valid = true;
    return _inner;
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
        InnerPoints const& inner = innerPoints(keyValue.data(), n, i);
        value.setQuaternion(squadQuaternions(keyValue[i].quaternion(), keyValue[i + 1].quaternion(), inner._s1,
                                             inner._s2, alpha));
        return true;
    }
    case FractionKey:
        value = keyValue[i];
        return true;
    case FractionNone:
        break;
    }
    return false;
}

} // namespace Zelvan
