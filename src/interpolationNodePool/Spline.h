#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/LinearInterpolation.h"

#include <vector>

namespace Zelvan {

/// Powers of the weight within the interval, shared by all components.
struct HermiteWeight {
    float s, s2, s3;
};

/// The cubic with values p0, p1 and tangents m0, m1 at the ends of the unit interval (Hermite form).
/// The order of operations fixes the bits of the result.
inline float hermite(float p0, float p1, float m0, float m1, HermiteWeight const& w)
{
    float const c3 = (((p0 + p0) - (p1 + p1)) + m0) + m1;
    float const c2 = (((-3.f * p0) + 3.f * p1) - (m0 + m0)) - m1;
    return ((c3 * w.s3 + c2 * w.s2) + m0 * w.s) + p0;
}

/// Twice the share that the interval from key a to key b has of the span around the inner key.
inline float tangentFactor(float a, float b, float span)
{
    float const share = (b - a) / span;
    return share + share;
}

/// Catmull-Rom tangents scaled for the spacing of the keys; the first and the last key have none. Evaluated
/// for one component of the interval j to j + 1 of n keys: `v(i)` is that component of value i. Needs the two
/// tangents of this interval only, so it costs the same whatever n is.
struct SplineInterval {
    SplineInterval(float const* t, unsigned n, unsigned j, float s)
        : _first(j == 0), _last(j + 2 == n), _weight{s, s * s, (s * s) * s}
    {
        if (!_first)
            _leaving = tangentFactor(t[j - 1], t[j], t[j + 1] - t[j - 1]);
        if (!_last)
            _arriving = tangentFactor(t[j + 1], t[j + 2], t[j + 2] - t[j]);
    }

    float evaluate(float before, float p0, float p1, float after) const
    {
        float const m0 = _first ? 0.f : _leaving * ((p1 - before) * 0.5f);
        float const m1 = _last ? 0.f : _arriving * ((after - p0) * 0.5f);
        return hermite(p0, p1, m0, m1, _weight);
    }
    template <osg::UInt32 size>
    osg::Vector<float, size> evaluate(osg::Vector<float, size> const& before, osg::Vector<float, size> const& p0,
                                      osg::Vector<float, size> const& p1, osg::Vector<float, size> const& after) const
    {
        osg::Vector<float, size> value;
        for (osg::UInt32 c = 0; c < size; ++c)
            value[c] = evaluate(before[c], p0[c], p1[c], after[c]);
        return value;
    }

    bool const _first, _last;
    HermiteWeight const _weight;
    float _leaving = 0.f, _arriving = 0.f;
};

/// One value per key, blended along a cubic spline. False when there is no value.
template <class Value>
inline bool interpolateSpline(InterpolatorProc& proc, float fraction, std::vector<float> const& key,
                              std::vector<Value> const& keyValue, Value& value)
{
    // A key without a value takes no part: not in the search, not as a neighbour, not as the last key.
    unsigned const n = static_cast<unsigned>(std::min(key.size(), keyValue.size()));
    unsigned j, valuesPerKey;
    float alpha;
    switch (proc.calculateIndex(fraction, n, false, j, valuesPerKey, alpha)) {
    case InterpolatorProc::FractionInterval: {
        SplineInterval const interval(key.data(), n, j, alpha);
        Value const* const v = keyValue.data();
        value = interval.evaluate(v[interval._first ? j : j - 1], v[j], v[j + 1], v[interval._last ? j + 1 : j + 2]);
        return true;
    }
    case InterpolatorProc::FractionKey: value = keyValue[j]; return true;
    case InterpolatorProc::FractionNone: break;
    }
    return false;
}

} // namespace Zelvan
