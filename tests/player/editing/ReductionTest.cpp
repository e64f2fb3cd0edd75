#include "player/editing/Reduction.h"
#include "player/playing/PoolLoader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <random>

namespace Zelvan::play::test {
namespace {

struct Kind {
    char const* type;
    Motion motion;
    unsigned width, components;
};
constexpr Kind kinds[] = {
    {"ScalarInterpolator", Motion::linear, 1, 1},       {"PositionInterpolator2D", Motion::linear, 2, 2},
    {"PositionInterpolator3D", Motion::linear, 3, 3},   {"VectorInterpolator", Motion::linear, 5, 1},
    {"CoordinateInterpolator2D", Motion::linear, 4, 2}, {"CoordinateInterpolator3D", Motion::linear, 6, 3},
    {"NormalInterpolator", Motion::normals, 6, 3},      {"ColorInterpolator", Motion::color, 3, 3},
    {"OrientationInterpolator", Motion::rotation, 4, 4}};

KeyTrack emptyTrack(Kind const& kind)
{
    loadPool("");
    return {NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), kind.type, searchExact),
            kind.motion,
            kind.width,
            kind.components,
            {},
            {}};
}

// Smooth curves, noise, plateaus and steps, of any type.
KeyTrack randomTrack(Kind const& kind, unsigned seed, std::size_t count)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> unit(0, 1);
    KeyTrack track = emptyTrack(kind);
    float key = unit(random) < 0.3f ? 0.2f : 0;
    std::vector<float> phase;
    for (unsigned c = 0; c < kind.width; ++c)
        phase.push_back(6 * unit(random));
    float const noise = unit(random) < 0.5f ? 0.f : 0.2f * unit(random);
    for (std::size_t i = 0; i < count; ++i) {
        track.keys.push_back(key);
        if (unit(random) > 0.05f)
            key += (0.01f + unit(random)) / static_cast<float>(count);
        for (unsigned c = 0; c < kind.width; ++c) {
            float const wave = std::sin(phase[c] + 5 * key) + noise * unit(random);
            bool const turns = kind.motion == Motion::rotation && c == 3;
            track.values.push_back(turns                              ? 2 * wave
                                       : kind.motion == Motion::color ? std::abs(wave) / 1.3f
                                       : unit(random) < 0.2f && i > 0 ? track.values[track.values.size() - kind.width]
                                                                      : wave);
        }
    }
    return track;
}

// Nothing but the definition: a step is allowed when a straight line passes every key between.
std::size_t plainOptimum(KeyTrack const& track, double tolerance)
{
    std::size_t const n = track.size();
    auto const allowed = [&](std::size_t i, std::size_t j) {
        for (std::size_t k = i + 1; k < j; ++k)
            for (unsigned c = 0; c < track.width; ++c) {
                double const t = (double(track.keys[k]) - track.keys[i]) / (double(track.keys[j]) - track.keys[i]);
                double const line = track.at(i)[c] + t * (double(track.at(j)[c]) - track.at(i)[c]);
                if (track.keys[i] == track.keys[j] || std::abs(line - track.at(k)[c]) > tolerance)
                    return false;
            }
        // Keys on both sides of a step stay.
        for (std::size_t k = i; k < j; ++k)
            if (track.jumps(k) && j > i + 1)
                return false;
        return true;
    };
    std::vector<std::size_t> fewest(n, n + 1);
    fewest[0] = 1;
    for (std::size_t j = 1; j < n; ++j)
        for (std::size_t i = 0; i < j; ++i)
            if (fewest[i] + 1 < fewest[j] && allowed(i, j))
                fewest[j] = fewest[i] + 1;
    return fewest.back();
}

TEST(Reduction, KeepsNoMoreKeysThanTheOptimum)
{
    std::size_t all = 0, left = 0;
    for (Kind const& kind : kinds)
        for (unsigned seed = 0; seed < 60 && kind.motion == Motion::linear; ++seed) {
            KeyTrack const track = randomTrack(kind, seed, 3 + seed);
            double const tolerance = std::pow(10.0, -3.0 + seed % 5 * 0.6);
            Reduced const reduced = reduceTrack(track, tolerance, false);
            EXPECT_LE(reduced.track.size(), plainOptimum(track, tolerance)) << kind.type << ' ' << seed;
            all += track.size();
            left += reduced.track.size();
        }
    EXPECT_LT(left, all * 3 / 4);
}

// Every track of up to seven keys from a small grid, steps and steps of several keys among them.
TEST(Reduction, IsTheOptimumInASmallWorld)
{
    std::size_t tracks = 0;
    for (std::size_t n = 1; n <= 7; ++n) {
        KeyTrack track = emptyTrack(kinds[0]);
        track.values.assign(n, 0);
        std::size_t const values = std::size_t(std::pow(3, n)), gaps = std::size_t(1) << (n - 1);
        for (std::size_t gap = 0; gap < gaps; ++gap) {
            track.keys.assign(1, 0);
            for (std::size_t i = 0; i + 1 < n; ++i)
                track.keys.push_back(track.keys.back() + ((gap >> i & 1) != 0 ? 0.f : 0.125f));
            for (std::size_t value = 0; value < values; ++value, ++tracks) {
                for (std::size_t i = 0, rest = value; i < n; ++i, rest /= 3)
                    track.values[i] = static_cast<float>(rest % 3);
                for (double const tolerance : {1e-3, 0.75}) // 0 is no tolerance for rounding
                    ASSERT_EQ(reduceTrack(track, tolerance, false).track.size(), plainOptimum(track, tolerance))
                        << testing::PrintToString(track.keys) << testing::PrintToString(track.values) << tolerance;
            }
        }
    }
    EXPECT_EQ(tracks, 167'961u);
}

TEST(Reduction, KeepsItsPromisesForEveryType)
{
    for (Kind const& kind : kinds)
        for (unsigned seed = 0; seed < 40; ++seed)
            for (bool const free : {false, true}) {
                SCOPED_TRACE(std::string(kind.type) + ' ' + std::to_string(seed) + (free ? " free" : ""));
                KeyTrack const track = randomTrack(kind, seed, 2 + 3 * seed);
                double const tolerance = std::pow(10.0, -4.0 + seed % 7 * 0.7);
                Reduced const reduced = reduceTrack(track, tolerance, free);
                KeyTrack const& result = reduced.track;
                // The bound, measured anew at other fractions.
                EXPECT_LE(reduced.difference.largest, tolerance);
                PlayedTrack original(track), played(result);
                for (float f = -0.01f; f < 1.1f; f += 0.0007f)
                    EXPECT_LE(differenceOf(original.play(f), played.play(f)), tolerance) << f;
                // The ends, and the keys on both sides of a step, bit for bit.
                EXPECT_TRUE(std::ranges::equal(result.at(0), track.at(0)));
                EXPECT_TRUE(std::ranges::equal(result.at(result.size() - 1), track.at(track.size() - 1)));
                auto const jumps = [](KeyTrack const& of) {
                    std::vector<float> all;
                    for (std::size_t i = 0; i + 1 < of.size(); ++i)
                        if (of.jumps(i)) {
                            all.insert(all.end(), of.at(i).begin(), of.at(i).end());
                            all.insert(all.end(), of.at(i + 1).begin(), of.at(i + 1).end());
                        }
                    return all;
                };
                EXPECT_EQ(jumps(result), jumps(track));
                EXPECT_LE(result.size(), track.size());
                if (!free) {
                    EXPECT_EQ(track.only(reduced.kept).values, result.values);
                }
            }
}

TEST(Reduction, TakesNothingMoreWithoutAnErrorAndStaysWithinTwiceOfIt)
{
    for (Kind const& kind : kinds)
        for (unsigned seed = 0; seed < 30; ++seed)
            for (bool const free : {false, true}) {
                SCOPED_TRACE(std::string(kind.type) + ' ' + std::to_string(seed) + (free ? " free" : ""));
                KeyTrack const track = randomTrack(kind, seed, 2 + 3 * seed);
                KeyTrack const equals = reduceTrack(track, 0, free).track;
                EXPECT_EQ(reduceTrack(equals, 0, free).track.keys, equals.keys);
                double const tolerance = std::pow(10.0, -3.0 + seed % 5 * 0.6);
                KeyTrack const once = reduceTrack(track, tolerance, free).track,
                               twice = reduceTrack(once, tolerance, free).track;
                EXPECT_LE(twice.size(), once.size());
                EXPECT_LE(largestDifference(track, twice).largest, 2 * tolerance * (1 + 1e-6));
                EXPECT_TRUE(std::ranges::equal(twice.at(0), track.at(0)));
                EXPECT_TRUE(std::ranges::equal(twice.at(twice.size() - 1), track.at(track.size() - 1)));
            }
}

// Why reducing again may take keys: the fewest keys of this track are one set alone, and that can be reduced.
TEST(Reduction, OfTheFewestKeysSomeMayStillGoAsTheyAreMeasuredAnew)
{
    KeyTrack track = emptyTrack(kinds[0]);
    track.keys = {0, 1, 2, 3, 4};
    track.values = {2, -4, 2, -4, -3};
    Reduced const once = reduceTrack(track, 4, false);
    EXPECT_THAT(once.kept, testing::ElementsAre(0, 3, 4));
    EXPECT_GT(largestDifference(track, track.only({0, 4})).largest, 4);
    EXPECT_THAT(reduceTrack(once.track, 4, false).kept, testing::ElementsAre(0, 2));
}

TEST(Reduction, FreeValuesSaveKeysOfSmoothCurves)
{
    KeyTrack track = emptyTrack(kinds[0]);
    for (int i = 0; i <= 2000; ++i) {
        track.keys.push_back(static_cast<float>(i) / 2000);
        track.values.push_back(std::sin(static_cast<float>(i) / 2000 * 6.2831853f));
    }
    std::size_t const stored = reduceTrack(track, 0.002, false).track.size();
    std::size_t const free = reduceTrack(track, 0.002, true).track.size();
    EXPECT_LE(free, stored * 3 / 4) << stored;
}

TEST(Reduction, TakesTracksOfAnySize)
{
    struct Case {
        char const* name;
        char const* type;
        double (*value)(double);
        double tolerance;
        std::size_t most;
        bool free = false;
    };
    auto const wave = [](double x) { return std::sin(6.28 * x); };
    auto const rough = [](double x) { return std::sin(6.28 * x) + 0.0005 * std::sin(1e6 * x); };
    Case const cases[] = {
        {"one wave", "ScalarInterpolator", wave, 0.002, 60},
        {"one wave, coarse", "ScalarInterpolator", wave, 0.1, 12},
        {"nothing moves", "ScalarInterpolator", [](double) { return 1.; }, 0.001, 2},
        {"a spike", "ScalarInterpolator", [](double x) { return std::abs(x - 0.5) < 6e-6 ? 1. : 0.; }, 0.01, 6},
        {"many waves", "ScalarInterpolator", [](double x) { return std::sin(3000 * x); }, 0.002, 40000},
        {"free values", "PositionInterpolator3D", wave, 0.002, 40, true},
        {"rough free values", "PositionInterpolator3D", rough, 0.002, 60, true},
        {"a turn", "OrientationInterpolator", wave, 0.002, 80},
        {"a rough turn", "OrientationInterpolator", rough, 0.002, 100},
        {"colours", "ColorInterpolator", [](double x) { return 0.5 + 0.4 * std::sin(6.28 * x); }, 0.002, 150},
    };
    for (Case const& c : cases) {
        auto const kind = std::ranges::find(kinds, std::string_view(c.type), &Kind::type);
        KeyTrack track = emptyTrack(*kind);
        for (int i = 0; i < 100'000; ++i) {
            double const x = i / 99'999.0;
            track.keys.push_back(static_cast<float>(x));
            for (unsigned n = 0; n < kind->width; ++n)
                track.values.push_back(static_cast<float>(c.value(x) * (n + 1) / kind->width));
        }
        auto const begin = std::clock();
        Reduced const reduced = reduceTrack(track, c.tolerance, c.free);
        double const seconds = double(std::clock() - begin) / CLOCKS_PER_SEC;
        RecordProperty(c.name, std::to_string(seconds));
        std::printf("%s: %zu keys, %.3f s\n", c.name, reduced.track.size(), seconds);
        EXPECT_LE(reduced.track.size(), c.most) << c.name;
        EXPECT_LE(reduced.difference.largest, c.tolerance) << c.name;
    }
}

} // namespace
} // namespace Zelvan::play::test
