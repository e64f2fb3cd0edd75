#pragma once

#include "interpolationNodePool/InterpolatorProc.h"
#include "tests/LogCapture.h"
#include "tests/Scene.h"
#include "tests/interpolationNodePool/Museum.h"

#include <algorithm>
#include <random>

namespace Zelvan::test {

/// An answer of the key search; 77 stands for what is not written.
struct Found {
    InterpolatorProc::FractionType type;
    unsigned index, valuesPerKey;
    float alpha;
};

/// The search written down plainly: one key at a time, resuming where the last one ended.
inline Found plainSearch(std::vector<float> const& keys, std::size_t values, bool multiValue, float fraction, bool binary,
                         unsigned& lastIndex)
{
    unsigned const n = static_cast<unsigned>(std::min(keys.size(), values));
    unsigned const perKey = !multiValue ? 1 : n == 0 ? 0 : static_cast<unsigned>(values) / n;
    if (n == 0)
        return {InterpolatorProc::FractionNone, 77, perKey, 77};
    if (n == 1 || fraction <= keys[0])
        return {InterpolatorProc::FractionKey, 0, perKey, 77};
    if (fraction >= keys[n - 1])
        return {InterpolatorProc::FractionKey, (n - 1) * perKey, perKey, 77};
    unsigned i = 0;
    if (binary) {
        for (unsigned high = n - 1; high - i > 1;) {
            unsigned const middle = i + (high - i) / 2;
            (fraction > keys[middle] ? i : high) = middle;
        }
    } else {
        i = lastIndex != 0 && lastIndex < n - 1 && keys[lastIndex] <= fraction ? lastIndex : 0;
        while (i < n - 1 && !(keys[i] <= fraction && fraction < keys[i + 1]))
            ++i;
    }
    lastIndex = i;
    float const width = i == n - 1 ? 0 : keys[i + 1] - keys[i];
    if (width == 0)
        return {InterpolatorProc::FractionNone, i * perKey, perKey, 0};
    return {InterpolatorProc::FractionInterval, i * perKey, perKey, (fraction - keys[i]) / width};
}

/// The list of values that belongs to the keys, and the field that is sent.
template <class NodeClass>
auto& listOf(NodeClass& node)
{
    if constexpr (requires { node._keyValue; })
        return node._keyValue;
    else
        return node._easeInEaseOut;
}
template <class NodeClass>
auto& outputOf(NodeClass& node)
{
    if constexpr (requires { node._value_changed; })
        return node._value_changed;
    else
        return node._modifiedFraction_changed;
}
template <class NodeClass>
using ElementOf = typename std::remove_reference_t<decltype(listOf(std::declval<NodeClass&>()))>::ElementType;
template <class NodeClass>
using OutputOf = std::remove_reference_t<decltype(outputOf(std::declval<NodeClass&>()))>;

/// Any value of a list: plain numbers, and, if `odd`, now and then one that is very large, very small or none.
template <class Element>
Element anyValue(std::mt19937& random, bool odd = true)
{
    constexpr float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float oddities[] = {0, -0.f, 1e-30f, -1e-45f, 3e38f, -3e38f, inf, nan};
    auto const number = [&] {
        return odd && random() % 40 == 0 ? oddities[random() % std::size(oddities)]
                                         : static_cast<float>(random() % 8000) / 1000.f - 4;
    };
    if constexpr (std::is_same_v<Element, Rotation>) {
        Rotation rotation({number(), number(), number()}, number());
        if (random() % 4 == 0)
            rotation.setQuaternion(rotation.quaternion()); // the axis is stale
        return random() % 8 == 0 ? Rotation({0, 0, 0}, 3) : rotation;
    } else {
        Element value;
        for (std::size_t word = 0; word < sizeof value / sizeof(float); ++word) {
            float const next = number();
            std::memcpy(reinterpret_cast<char*>(&value) + word * sizeof next, &next, sizeof next);
        }
        return value;
    }
}

/// The numbers that a value, or a list of values, is made of.
template <class Value>
std::vector<float> numbersOf(Value const& value)
{
    std::vector<float> numbers(sizeof value / sizeof(float));
    std::memcpy(numbers.data(), static_cast<void const*>(&value), sizeof value);
    return numbers;
}
template <class Element>
std::vector<float> numbersOf(std::vector<Element> const& list)
{
    std::vector<float> numbers;
    for (Element const& element : list)
        for (float const number : numbersOf(element))
            numbers.push_back(number);
    return numbers;
}

/// How a node type computes, written down plainly. To be specialised beside the tests of each type:
///     /// Writes the output value, or leaves it alone and returns false when nothing is to be sent.
///     static bool calculate(std::vector<float> const& keys, std::vector<Element> const& values, Found const&,
///                           Output& out);
/// and, where they differ from the defaults,
///     static Element value(std::mt19937&);     // default: anyValue
///     static constexpr float tolerance;        // of each number; default: the same bits (any NaN for a NaN)
template <class NodeClass>
struct Plain;

/// Shows key lists to one node, with fewer, as many and more values than keys, in both search modes, and compares
/// whatever arrives at the end of a route with the plain computation.
template <class NodeClass>
void showKeys(std::vector<OddKeys> const& lists, std::vector<float> (*fractionsOf)(std::vector<float> const& keys))
{
    using Element = ElementOf<NodeClass>;
    using Output = typename OutputOf<NodeClass>::ValueType;
    using Model = Plain<NodeClass>;
    constexpr bool multiValue = requires(Output output)
    {
        output.size();
    };
    std::mt19937 random(5);
    auto const value = [&random] {
        if constexpr (requires { Model::value(random); })
            return Model::value(random);
        else
            return anyValue<Element>(random);
    };
    auto const same = [](float got, float expected) {
        if (std::isnan(expected))
            return std::isnan(got);
        if constexpr (requires { Model::tolerance; })
            return got == expected || std::abs(got - expected) <= Model::tolerance;
        else
            return bits(got) == bits(expected);
    };

    LogCapture quiet(osg::LOG_LOG);
    Scene scene;
    NodeClass& node = scene.add<NodeClass>();
    Sink<OutputOf<NodeClass>> sink(scene._nodes);
    Scene::route(outputOf(node), sink._in);
    unsigned lastIndex = 0; // one node meets all the lists, so every search resumes from a stale place
    Output expected = outputOf(node)._value;
    for (bool const binary : {false, true}) {
        scene._context.setBValue(InterpolatorProc::_binSearchKeyIndexID, binary);
        for (OddKeys const& odd : lists) {
            std::size_t const n = odd.keys.size();
            for (std::size_t const count : {n / 2, n, 2 * n + 1, 7 * n}) {
                node._key._value = odd.keys;
                std::vector<Element> values(count);
                std::generate(values.begin(), values.end(), value);
                listOf(node)._value = values;
                node.fieldChanged(listOf(node), 0, nullptr);
                std::vector<float> fractions = fractionsOf(odd.keys);
                std::shuffle(fractions.begin(), fractions.end(), random);
                for (float const fraction : fractions) {
                    auto const where = testing::Message() << NodeClass::_type._name << ", keys " << odd.name << ", " << count
                                                          << " values, fraction " << fraction << (binary ? ", binary" : "");
                    Found const found = plainSearch(odd.keys, count, multiValue, fraction, binary, lastIndex);
                    bool const sends = Model::calculate(odd.keys, values, found, expected);
                    sink._received.clear();
                    node._set_fraction._value = fraction;
                    node.fieldChanged(node._set_fraction, 2.5, nullptr);
                    ASSERT_EQ(sink._received.size(), sends ? 1u : 0u) << where;
                    // What is not sent must not have been touched either.
                    std::vector<float> const got = numbersOf(sends ? sink._received[0].second : outputOf(node)._value),
                                             wanted = numbersOf(expected);
                    ASSERT_EQ(got.size(), wanted.size()) << where;
                    for (std::size_t i = 0; i < got.size(); ++i)
                        ASSERT_TRUE(same(got[i], wanted[i]))
                            << where << ", number " << i << ": " << got[i] << " instead of " << wanted[i];
                }
            }
        }
    }
}

/// The lists that have caused trouble somewhere, and all small ones.
template <class NodeClass>
void visitMuseum()
{
    showKeys<NodeClass>(oddKeys(), oddFractions);
    if (!testing::Test::HasFatalFailure())
        showKeys<NodeClass>(smallWorld(), smallFractions);
}

} // namespace Zelvan::test
