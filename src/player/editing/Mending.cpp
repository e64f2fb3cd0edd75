#include "player/editing/Mending.h"

#include "player/scene/Scene.h"
#include "player/scene/Values.h"

#include "base/OpenSG.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace Zelvan::play {

namespace {

std::shared_ptr<Field> copyOf(Field const& field)
{
    std::shared_ptr<Field> copy = makeField(field.dataType());
    copy->assignValue(field);
    return copy;
}

std::vector<NumberList::Number> numbersOf(NumberList const& list)
{
    std::vector<NumberList::Number> numbers;
    for (std::size_t i = 0; i < list.numbers().size(); ++i)
        numbers.push_back({list.numbers()[i], i});
    return numbers;
}

std::vector<float> floatsOf(std::vector<NumberList::Number> const& numbers)
{
    std::vector<float> floats;
    for (auto const& number : numbers)
        floats.push_back(number.value);
    return floats;
}

// A number that is not where it was written is written anew.
void divide(NumberList::Number& number, float by)
{
    number = {number.value / by, {}};
}

} // namespace

Mending::Mending(SceneNode const& node, NumberList const& keys, NumberList const& values)
    : _oldKeys(copyOf(*fieldOf(node, "key"))),
      _oldValues(copyOf(valuesOf(node))),
      _keys(numbersOf(keys)),
      _values(numbersOf(values)),
      _components(componentsOf(valuesOf(node).dataType()).count),
      _blocks(isList(outputOf(node)->dataType())),
      _eases(fieldOf(node, "easeInEaseOut") != nullptr)
{}

void Mending::give(SceneNode const& node) const
{
    assignNumbers(*fieldOf(node, "key"), floatsOf(_keys));
    assignNumbers(valuesOf(node), floatsOf(_values));
}

void Mending::restore(SceneNode const& node) const
{
    fieldOf(node, "key")->assignValue(*_oldKeys);
    valuesOf(node).assignValue(*_oldValues);
}

std::size_t Mending::width() const
{
    return _blocks && !_keys.empty() ? _values.size() / _components / _keys.size() * _components : _components;
}

void Mending::insert(std::size_t at, float key, std::vector<float> const& value)
{
    Numbers numbers;
    for (float const number : value)
        numbers.push_back({number, {}});
    _keys.insert(_keys.begin() + static_cast<std::ptrdiff_t>(at), NumberList::Number{key, {}});
    _values.insert(_values.begin() + static_cast<std::ptrdiff_t>(at * _components), numbers.begin(), numbers.end());
}

bool Mending::apply(std::string const& code, std::set<std::size_t> const& keys, bool unsafe)
{
    bool const done = width() == 0  ? false // not even one value for each key
        : code == "too-many-values" ? dropValues()
        : code == "too-few-values"  ? addPair()
        : code == "zero-axis"       ? writeAxes(keys, unsafe)
        : code == "key-order"       ? sortKeys()
        : code == "key-range"       ? divideKeys()
        : code == "color-range"     ? divideColors()
        : code == "long-turn"       ? divideTurns(keys)
        : code == "hue-long-way"    ? crossRed(keys)
        : code == "loop-jump"       ? closeLoop()
                                    : false;
    _changed |= done;
    return done;
}

bool Mending::dropValues()
{
    if (_blocks || _values.size() <= _keys.size() * _components)
        return false;
    _values.resize(_keys.size() * _components);
    return true;
}

bool Mending::addPair()
{
    if (!_eases || _values.size() + 2 != _keys.size() * 2)
        return false;
    _values.insert(_values.end(), 2, NumberList::Number{0, {}});
    return true;
}

bool Mending::writeAxes(std::set<std::size_t> const& keys, bool unsafe)
{
    bool any = false;
    for (std::size_t const i : keys) {
        // The first and the last value are sent as they are written.
        bool const end = i == 0 || i + 1 >= _keys.size();
        if ((i + 1) * 4 > _values.size() || number(i, 3) != 0 || (end && !unsafe))
            continue;
        _values[i * 4 + 2] = {1, {}};
        any = true;
    }
    return any;
}

bool Mending::sortKeys()
{
    std::size_t const count = std::min(_keys.size(), _values.size() / width()), wide = width();
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t(0));
    if (std::ranges::any_of(_keys, [](auto const& key) { return std::isnan(key.value); }))
        return false;
    std::ranges::stable_sort(order, {}, [&](std::size_t i) { return _keys[i].value; });
    if (std::ranges::is_sorted(order))
        return false;
    Numbers keys = _keys, values = _values;
    for (std::size_t i = 0; i < count; ++i) {
        keys[i] = _keys[order[i]];
        std::copy_n(_values.begin() + static_cast<std::ptrdiff_t>(order[i] * wide), wide,
                    values.begin() + static_cast<std::ptrdiff_t>(i * wide));
    }
    _keys = std::move(keys);
    _values = std::move(values);
    return true;
}

bool Mending::divideKeys()
{
    auto const [low, high] = std::ranges::minmax_element(_keys, {}, &NumberList::Number::value);
    if (_keys.empty() || !(low->value >= 0) || !(high->value > 1) || !std::isfinite(high->value) || _eases)
        return false;
    float const by = high->value;
    for (auto& key : _keys)
        divide(key, by);
    return true;
}

bool Mending::divideColors()
{
    auto const [low, high] = std::ranges::minmax_element(_values, {}, &NumberList::Number::value);
    if (_values.empty() || !(low->value >= 0) || !(high->value > 1) || !std::isfinite(high->value))
        return false;
    float const by = high->value > 2 && high->value <= 255 ? 255 : high->value;
    for (auto& value : _values)
        divide(value, by);
    return true;
}

bool Mending::divideTurns(std::set<std::size_t> const& keys)
{
    constexpr double step = std::numbers::pi * 0.9;
    bool any = false;
    for (auto at = keys.rbegin(); at != keys.rend(); ++at) {
        std::size_t const i = *at;
        if (i + 1 >= _keys.size() || (i + 2) * 4 > _values.size())
            continue;
        double const from = number(i, 3), turn = number(i + 1, 3) - from, begin = _keys[i].value,
                     time = _keys[i + 1].value - begin;
        if (!(std::abs(turn) < 1000 * step)) // in degrees, or no angle at all
            continue;
        auto const parts = static_cast<int>(std::ceil(std::abs(turn) / step));
        std::vector<float> const axis = {number(i, 0), number(i, 1), number(i, 2)};
        for (int part = parts - 1; part > 0; --part)
            insert(i + 1, static_cast<float>(begin + time * part / parts),
                   {axis[0], axis[1], axis[2], static_cast<float>(from + turn * part / parts)});
        any = true;
    }
    return any;
}

bool Mending::crossRed(std::set<std::size_t> const& keys)
{
    bool any = false;
    for (auto at = keys.rbegin(); at != keys.rend(); ++at) {
        std::size_t const i = *at;
        if (i + 1 >= _keys.size() || (i + 2) * 3 > _values.size())
            continue;
        float h[2], s[2], v[2];
        for (std::size_t end = 0; end < 2; ++end)
            osg::Color3f(number(i + end, 0), number(i + end, 1), number(i + end, 2)).getValuesHSV(h[end], s[end], v[end]);
        bool const rises = h[0] > h[1]; // through 360 and on from 0
        float const before = rises ? 360 - h[0] : h[0], after = rises ? h[1] : 360 - h[1];
        float const t = before + after > 0 ? before / (before + after) : 0;
        float const key = _keys[i].value + t * (_keys[i + 1].value - _keys[i].value);
        float const saturation = s[0] + t * (s[1] - s[0]), value = v[0] + t * (v[1] - v[0]), grey = value * (1 - saturation);
        std::vector<float> const red = {value, grey, grey},
                                 trace = {value, grey, grey + 0.001f * (value - grey)}; // hues 0 and 360
        // Where an end is red itself, it is one of the two.
        bool const atEnd = after == 0, atBegin = before == 0;
        if (!atEnd)
            insert(i + 1, key, rises ? red : trace);
        if (!atBegin)
            insert(i + 1, key, rises ? trace : red);
        any |= !(atBegin && atEnd);
    }
    return any;
}

bool Mending::closeLoop()
{
    std::size_t const wide = width();
    if (_keys.size() < 2 || _values.size() < _keys.size() * wide)
        return false;
    std::size_t const last = (_keys.size() - 1) * wide;
    bool moves = false;
    for (std::size_t i = wide; i < last; ++i)
        moves = moves || _values[i].value != _values[i % wide].value;
    if (!moves) // any more, then
        return false;
    for (std::size_t c = 0; c < wide; ++c)
        _values[last + c] = {_values[c].value, {}};
    return true;
}

bool samePlayed(KeyTrack const& a, KeyTrack const& b)
{
    PlayedTrack first(a), second(b);
    bool same = true;
    auto const compare = [&](float fraction) {
        same = same && first.play(fraction).getValueAsStr() == second.play(fraction).getValueAsStr();
    };
    for (float const outside : {-INFINITY, -1.f, 0.f, 1.f, 2.f, INFINITY, NAN})
        compare(outside);
    eachFraction(merged(a.keys, b.keys), 12, compare);
    return same;
}

} // namespace Zelvan::play
