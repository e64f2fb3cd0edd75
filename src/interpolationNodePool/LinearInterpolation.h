#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/InterpolatorProc.h"
#include "interpolationNodePool/Kernels.h"

#include <algorithm>
#include <vector>

namespace Zelvan {

/// The one linear blend, (b - a) * t + a in single precision and in that order, component by component.
inline float lerp(float a, float b, float t)
{
    return (b - a) * t + a;
}
template <osg::UInt32 size>
inline osg::Vector<float, size> lerp(osg::Vector<float, size> const& a, osg::Vector<float, size> const& b, float t)
{
    osg::Vector<float, size> blend;
    for (osg::UInt32 c = 0; c < size; ++c)
        blend[c] = lerp(a[c], b[c], t);
    return blend;
}

/// One value per key: blends the two values of the interval with `blend(value, a, b, alpha)`, or takes a key's
/// value unchanged. False when there is no value.
template <class Value, class Blend>
inline bool interpolateOne(InterpolatorProc& proc, float fraction, std::vector<Value> const& keyValue, Value& value,
                           Blend blend)
{
    unsigned index, valuesPerKey;
    float alpha;
    switch (proc.calculateIndex(fraction, static_cast<unsigned>(keyValue.size()), false, index, valuesPerKey, alpha)) {
    case InterpolatorProc::FractionInterval: blend(value, keyValue[index], keyValue[index + 1], alpha); return true;
    case InterpolatorProc::FractionKey: value = keyValue[index]; return true;
    case InterpolatorProc::FractionNone: break;
    }
    return false;
}

template <class Value>
inline bool interpolateOne(InterpolatorProc& proc, float fraction, std::vector<Value> const& keyValue, Value& value)
{
    return interpolateOne(proc, fraction, keyValue, value,
                          [](Value& out, Value const& a, Value const& b, float t) { out = lerp(a, b, t); });
}

/// First float of a list of floats or vectors: to the block functions it is a flat run of floats.
inline float const* flat(std::vector<float> const& list)
{
    return list.data();
}
inline float* flat(std::vector<float>& list)
{
    return list.data();
}
template <osg::UInt32 size>
inline float const* flat(std::vector<osg::Vector<float, size>> const& list)
{
    return list.data()->getValues();
}
template <osg::UInt32 size>
inline float* flat(std::vector<osg::Vector<float, size>>& list)
{
    return list.data()->getValues();
}

/// A block of values per key: `blend(a, b, alpha, out, count)` for an interval, `take(a, out, count)` at a key,
/// with the blocks as flat runs of floats and `count` values in each. `block` is resized in place.
template <class Value, class Blend, class Take>
inline bool interpolateBlock(InterpolatorProc& proc, float fraction, std::vector<Value> const& keyValue,
                             std::vector<Value>& block, Blend blend, Take take)
{
    constexpr std::size_t width = sizeof(Value) / sizeof(float);
    unsigned index, valuesPerKey;
    float alpha;
    auto const type = proc.calculateIndex(fraction, static_cast<unsigned>(keyValue.size()), true, index, valuesPerKey, alpha);
    if (type == InterpolatorProc::FractionNone)
        return false;
    block.resize(valuesPerKey);
    float const* const a = flat(keyValue) + index * width;
    if (type == InterpolatorProc::FractionInterval)
        blend(a, a + valuesPerKey * width, alpha, flat(block), valuesPerKey);
    else
        take(a, flat(block), valuesPerKey);
    return true;
}

/// Blocks that are blended number by number.
template <class Value>
inline bool interpolateBlock(InterpolatorProc& proc, float fraction, std::vector<Value> const& keyValue,
                             std::vector<Value>& block)
{
    constexpr std::size_t width = sizeof(Value) / sizeof(float);
    return interpolateBlock(
        proc, fraction, keyValue, block,
        [](float const* a, float const* b, float t, float* out, std::size_t count) {
            Kernels::active().lerp(a, b, t, out, count * width);
        },
        [](float const* a, float* out, std::size_t count) { std::copy_n(a, count * width, out); });
}

} // namespace Zelvan
