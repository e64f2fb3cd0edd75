#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace Zelvan::test {

/// Key lists that have caused trouble somewhere, shared by the tests of all node types.
struct OddKeys {
    std::string name;
    std::vector<float> keys;
};

inline std::vector<OddKeys> const& oddKeys()
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float inf = std::numeric_limits<float>::infinity();
    constexpr float max = std::numeric_limits<float>::max();
    static std::vector<OddKeys> const museum = {
        {"empty", {}},
        {"one key", {0.5f}},
        {"plain", {0, 0.25f, 0.5f, 0.75f, 1}},
        {"starts late, ends early", {0.2f, 0.4f, 0.9f}},
        {"beyond 0 and 1", {-3, -1, 2, 7}},
        {"a step", {0, 0.5f, 0.5f, 1}},
        {"a long step", {0, 0.5f, 0.5f, 0.5f, 0.5f, 1}},
        {"all equal", {0.5f, 0.5f, 0.5f}},
        {"falling", {1, 0.5f, 0}},
        {"zigzag", {0, 0.8f, 0.2f, 0.6f, 0.4f, 1}},
        {"peak outside", {0, 2, -1, 1}},
        {"NaN first", {nan, 0.5f, 1}},
        {"NaN inside", {0, nan, 0.5f, nan, 1}},
        {"NaN last", {0, 0.5f, nan}},
        {"all NaN", {nan, nan, nan}},
        {"infinite ends", {-inf, 0, inf}},
        {"both infinite", {inf, inf, inf}},
        {"out of order at infinity", {0, inf, 0.5f, inf, 2}},
        {"huge", {-max, 0, max}},
        {"denormal", {0, 1e-45f, 3e-45f, 1e-40f}},
        {"long",
         [] {
             std::vector<float> keys;
             for (int i = 0; i < 300; ++i)
                 keys.push_back(static_cast<float>(i) / 299.f);
             return keys;
         }()},
    };
    return museum;
}

/// Fractions worth asking of a key list: every key, both neighbours, the middles, and the far ends.
inline std::vector<float> oddFractions(std::vector<float> const& keys)
{
    constexpr float inf = std::numeric_limits<float>::infinity();
    std::vector<float> fractions = {0, -0.f, 1, 0.3f, 0.65f, -5, 9, -inf, inf, std::numeric_limits<float>::quiet_NaN()};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        fractions.push_back(keys[i]);
        fractions.push_back(std::nextafter(keys[i], -inf));
        fractions.push_back(std::nextafter(keys[i], inf));
        if (i > 0)
            fractions.push_back((keys[i - 1] + keys[i]) / 2);
    }
    return fractions;
}

/// Every list of up to four keys from five values.
inline std::vector<OddKeys> const& smallWorld()
{
    static std::vector<OddKeys> const world = [] {
        constexpr float values[] = {0, 0.5f, 1, std::numeric_limits<float>::quiet_NaN(),
                                    std::numeric_limits<float>::infinity()};
        constexpr char const* names[] = {"0 ", "0.5 ", "1 ", "NaN ", "inf "};
        std::vector<OddKeys> lists = {{"", {}}};
        for (std::size_t from = 0; lists[from].keys.size() < 4; ++from)
            for (std::size_t i = 0; i < std::size(values); ++i) {
                lists.push_back(lists[from]);
                lists.back().name += names[i];
                lists.back().keys.push_back(values[i]);
            }
        return lists;
    }();
    return world;
}

inline std::vector<float> smallFractions(std::vector<float> const&)
{
    return {-1, 0, 0.25f, 0.5f, 0.75f, 1, 2, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
}

} // namespace Zelvan::test
