#include "interpolationNodePool/EaseInEaseOutProc.h"

#include "interpolationNodePool/EaseInEaseOut.h"
#include "interpolationNodePool/LinearInterpolation.h"

namespace Zelvan {

ZELVAN_PROC_BODY(EaseInEaseOut, Interpolator)

void EaseInEaseOutProc::nodeChanged(TimeStamp const& timeStamp, BitVector<unsigned long> const& changed)
{
    SceneBaseNodeProc::nodeChanged(timeStamp, changed);
}

void EaseInEaseOutProc::fieldChanged(EaseInEaseOut& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    if (fieldIndex(field) == EaseInEaseOut::set_fractionIndex)
        evaluate(*this, node, node._modifiedFraction_changed, timeStamp);
    else
        InterpolatorProc::fieldChanged(node, field, timeStamp, from);
}

namespace {

// Quadratic up to easeOut, linear in the middle, quadratic again from 1 - easeIn. A negative sum of the two
// leaves u as it is; a sum above 1 is scaled to 1.
float eased(float u, float easeOut, float easeIn)
{
    float const sum = easeOut + easeIn;
    if (sum < 0.f)
        return u;
    if (sum > 1.f) {
        easeOut /= sum;
        easeIn /= sum;
    }
    float const t = 1.f / ((2.f - easeOut) - easeIn);
    if (easeOut > u)
        return (t / easeOut) * (u * u);
    if ((1.f - easeIn) > u)
        return ((u + u) - easeOut) * t;
    return 1.f - ((1.f - u) * (1.f - u) * t) / easeIn;
}

} // namespace

bool EaseInEaseOutProc::calculateValue(float const& fraction, float& value)
{
    std::vector<float> const& key = node()._key._value;
    auto const& shares = node()._easeInEaseOut._value;
    // A key without its pair of shares takes no part.
    unsigned const n = static_cast<unsigned>(std::min(key.size(), shares.size()));
    unsigned j, valuesPerKey;
    float alpha;
    switch (calculateIndex(fraction, n, false, j, valuesPerKey, alpha)) {
    case FractionInterval: value = eased(lerp(key[j], key[j + 1], alpha), shares[j][1], shares[j + 1][0]); return true;
    case FractionKey: value = key[j]; return true;
    case FractionNone: break;
    }
    return false;
}

} // namespace Zelvan
