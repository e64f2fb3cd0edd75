#include "interpolationNodePool/InterpolatorProc.h"

#include "interpolationNodePool/Interpolator.h"
#include "interpolationNodePool/KeySearch.h"

#include <algorithm>

namespace Zelvan {

unsigned InterpolatorProc::_binSearchKeyIndexID =
    declareAtLoad("binSearchKeyIndex", "use binSearch to find the key value", "Interpolator");

NodeProc::StringDic InterpolatorProc::_typeDic[6] = {{"linear", 2}, {"constant", 1}, {"cosine", 3},
                                                     {"cube", 4},   {"hermite", 5},  {"", 0}};

ZELVAN_PROC_BODY(Interpolator, TransCoder)

InterpolatorProc::InterpolatorProc(InterpolatorProc& other) : TransCoderProc(other) {}

namespace {

inline InterpolatorProc::FractionType blendWithin(float const* keys, unsigned interval, float fraction, float& alpha)
{
    float const lower = keys[interval];
    float const width = keys[interval + 1] - lower;
    if (width == 0.f) [[unlikely]] {
        alpha = 0.f;
        return InterpolatorProc::FractionNone;
    }
    alpha = (fraction - lower) / width;
    return InterpolatorProc::FractionInterval;
}

} // namespace

// What is rare is in functions of its own, called last: playback needs no registers saved.
InterpolatorProc::FractionType InterpolatorProc::calculateIndex(float fraction, unsigned int keyValueCount, bool multiValue,
                                                                unsigned int& index, unsigned int& valuesPerKey, float& alpha)
{
    bool const binary = contextBValue(_binSearchKeyIndexID); // asked on every call, whether or not it is needed
    std::vector<float> const& key = node()._key._value;
    unsigned const n = std::min(static_cast<unsigned>(key.size()), keyValueCount);
    if (n <= 1) [[unlikely]] {
        static constexpr LogPlace here = ZELVAN_HERE;
        return withoutInterval(keyValueCount, multiValue, index, valuesPerKey, here);
    }
    unsigned const perKey = multiValue ? keyValueCount / n : 1;
    valuesPerKey = perKey;
    float const* const keys = key.data();
    if (fraction <= keys[0]) {
        index = 0;
        return FractionKey;
    }
    if (fraction >= keys[n - 1]) {
        index = (n - 1) * perKey;
        return FractionKey;
    }
    unsigned interval = _lastIndex;
    if (binary || interval >= n - 1 || !(keys[interval] <= fraction))
        return searchInterval(fraction, n, binary, index, perKey, alpha);
    if (!(fraction < keys[interval + 1])) {
        // Playback goes on into the next interval.
        if (interval + 2 >= n || !(keys[interval + 1] <= fraction && fraction < keys[interval + 2]))
            return searchInterval(fraction, n, binary, index, perKey, alpha);
        _lastIndex = ++interval;
    }
    index = interval * perKey;
    return blendWithin(keys, interval, fraction, alpha);
}

InterpolatorProc::FractionType InterpolatorProc::searchInterval(float fraction, unsigned n, bool binary, unsigned& index,
                                                                unsigned valuesPerKey, float& alpha)
{
    float const* const keys = node()._key._value.data();
    unsigned const last = _lastIndex;
    unsigned const interval = binary ? binaryInterval(keys, n, fraction)
                                     : linearInterval(keys, n, fraction, last < n - 1 && keys[last] <= fraction ? last + 1 : 0);
    _lastIndex = interval;
    index = interval * valuesPerKey;
    if (interval == n - 1) {
        // Keys out of order, or a NaN: no interval holds the fraction, and no value follows the last.
        alpha = 0.f;
        return FractionNone;
    }
    return blendWithin(keys, interval, fraction, alpha);
}

InterpolatorProc::FractionType InterpolatorProc::withoutInterval(unsigned keyValueCount, bool multiValue, unsigned& index,
                                                                 unsigned& valuesPerKey, LogPlace const& place)
{
    unsigned const n = std::min(static_cast<unsigned>(node()._key._value.size()), keyValueCount);
    if (n == 0) {
        valuesPerKey = multiValue ? 0 : 1;
        if (PoolLog::takes(osg::LOG_FATAL))
            PoolLog::write(osg::LOG_FATAL, place, "%s/%s: Not enough keys/KeyValues %d/%d; cannot calc. alpha\n",
                           typeNameOf(node()).c_str(), nameOf(node()).c_str(), static_cast<int>(n),
                           static_cast<int>(keyValueCount));
        return FractionNone;
    }
    if (PoolLog::takes(osg::LOG_INFO))
        PoolLog::write(osg::LOG_INFO, place, "%s/%s: One key; cannot calc. alpha\n", typeNameOf(node()).c_str(),
                       nameOf(node()).c_str());
    valuesPerKey = multiValue ? keyValueCount : 1;
    index = 0;
    return FractionKey;
}

void InterpolatorProc::fieldChanged(Interpolator& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    switch (fieldIndex(field)) {
    case Interpolator::set_fractionIndex:
        if (PoolLog::takes(osg::LOG_FATAL))
            PoolLog::write(osg::LOG_FATAL, ZELVAN_HERE, "Interpolator::_set_fractionSlot not handled %s\n",
                           typeNameOf(node).c_str());
        return;
    case Interpolator::keyIndex: return; // a new list takes effect at the next set_fraction
    default: TransCoderProc::fieldChanged(node, field, timeStamp, from);
    }
}

} // namespace Zelvan
