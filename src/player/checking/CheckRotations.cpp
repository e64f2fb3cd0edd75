#include "player/checking/CheckRules.h"

#include "base/Fields.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Zelvan::play {

namespace {

constexpr double pi = std::numbers::pi;

/// From one key to the next.
struct Turn {
    bool sameAxis = false; ///< as written: then it is clear which way is meant
    double written = 0;    ///< angle about that axis
    double played = 0;     ///< the same, by the shorter arc
    double cosine = 1;     ///< of half the angle between the two
};

std::vector<Turn> turnsOf(KeyedValues const& values)
{
    auto const& rotations = static_cast<MFRotation const*>(values.valueField)->_value;
    constexpr double parallel = 1 - 1e-5, shortest = 1e-6;
    std::vector<Turn> turns(values.count - 1);
    for (std::size_t i = 0; i < turns.size(); ++i) {
        Turn& turn = turns[i];
        Numbers const a = values.value(i), b = values.value(i + 1);
        double const lengths = length(a) * length(b);
        turn.sameAxis = length(a) > shortest && length(b) > shortest && dot(a, b) > parallel * lengths;
        // In the nodes' own precision and order: its sign is what decides the way.
        float const* const p = rotations[i].quaternion().getValues();
        float const* const q = rotations[i + 1].quaternion().getValues();
        turn.cosine = p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3];
        turn.written = b[3] - a[3];
        turn.played = std::remainder(turn.written, 2 * pi);
        // Close to half a turn rounding decides.
        double const size = std::abs(turn.written);
        if (std::abs(size - pi) < 1e-3)
            turn.played = std::copysign(turn.cosine >= 0 ? std::min(size, pi) : std::min(2 * pi - size, pi),
                                        turn.cosine >= 0 ? turn.written : -turn.written);
    }
    return turns;
}

// Whether two angles lie a little on both sides of where programs let the circle end: at 0 and 360 degrees, or at 180
// and -180. By hand one writes the end itself, to a few digits.
bool crossesEnd(double a, double b)
{
    constexpr double near = 0.8, least = 1e-4, rounded[] = {3.14, 3.141, 6.28, 6.283};
    auto const [low, high] = std::minmax(a, b);
    auto const beyond = [](double distance) { return distance > least && distance < near; };
    auto const byHand = [&](double angle) {
        return std::ranges::any_of(rounded, [&](double end) { return std::abs(std::abs(angle) - end) < 1e-6; });
    };
    return ((beyond(low) && beyond(2 * pi - high)) || (beyond(pi + low) && beyond(pi - high))) && !byHand(low) && !byHand(high);
}

} // namespace

void checkRotations(KeyedValues const& values, FindingCollector& findings)
{
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const rotation = values.value(i);
        if (length(rotation) > 1e-6)
            continue;
        bool const identity = std::abs(std::remainder(rotation[3], 2 * pi)) < 1e-3;
        findings.add(
            "zero-axis", values.node, values.valueField,
            [&] {
                return values.valueName(i) + " has a zero axis: "
                    + (identity ? "not a valid rotation, although this one plays as no rotation"
                                : "its angle of " + degrees(rotation[3]) + " degrees is lost");
            },
            identity ? "write 0 0 1 0" : "write the axis", identity ? Severity::hint : Severity::warning, identity);
    }
    if (values.count < 2)
        return;
    std::vector<Turn> const turns = turnsOf(values);
    // Over so short a time nobody sees which way it goes: a jump, as some programs write it.
    constexpr float briefest = 0.002f;
    // Angles have few digits: as near to half a turn as this, one may have been meant.
    constexpr double nearHalf = 1e-3;
    // Programs that write angles between two bounds step over the whole circle where their angle passes a bound:
    // then the shorter arc is what was meant, and goes on as its neighbours do.
    // A quick way back from a full turn to where its steps began stands still.
    auto const time = [&](std::size_t i) { return values.keys[i + 1] - values.keys[i]; };
    auto const isLong = [&](std::size_t i) { return turns[i].sameAxis && std::abs(turns[i].written) > pi - nearHalf; };
    auto const crosses = [&](std::size_t i) {
        auto const like = [&](std::size_t other) {
            Turn const& turn = turns[other];
            if (!turn.sameAxis || std::abs(turn.written) > pi)
                return false;
            if (std::abs(turns[i].played) < 0.01)
                return turn.written * turns[i].written < 0 && time(i) < time(other) / 2;
            return turn.played * turns[i].played > 0 && std::abs(turns[i].played) <= 3 * std::abs(turn.played);
        };
        return (i > 0 && like(i - 1)) || (i + 1 < turns.size() && like(i + 1))
            || crossesEnd(values.value(i)[3], values.value(i + 1)[3]);
    };
    // Once it does, so do others of its turns that are as short as the rest by the shorter arc.
    bool anyCrosses = false;
    double longest = 0; // of what is no long turn
    for (std::size_t i = 0; i < turns.size(); ++i) {
        anyCrosses = anyCrosses || (isLong(i) && crosses(i));
        longest = isLong(i) ? longest : std::max(longest, std::abs(turns[i].played));
    }
    auto const wraps = [&](std::size_t i) {
        double const played = std::abs(turns[i].played);
        return crosses(i) || (anyCrosses && played >= 0.01 && played <= 3 * longest);
    };
    for (std::size_t i = 0; i < turns.size(); ++i) {
        Turn const& turn = turns[i];
        double const written = std::abs(turn.written);
        bool const otherWay = turn.played * turn.written < 0;
        if (!values.blends(i) || time(i) < briefest)
            continue;
        bool const exactlyHalf = std::abs(written - pi) < 1e-6; // a float's rounding is not the author's
        if (turn.sameAxis && (written > pi + nearHalf || (written > pi - nearHalf && otherWay && !exactlyHalf)) && !wraps(i)) {
            findings.add(
                "long-turn", values.node, values.valueField,
                [&] {
                    std::string const text =
                        step(values, i) + " is written as a turn of " + degrees(turn.written) + " degrees, but ";
                    if (std::abs(turn.played) < 0.01)
                        return text + "plays as standing still";
                    if (written < pi + nearHalf)
                        return text + "is just past half a turn and goes the other way";
                    return text + "plays as " + degrees(turn.played) + " degrees" + (otherWay ? " the other way" : "");
                },
                written > 6 * pi
                    ? "angles are in radians: 180 degrees are 3.1416; add keys in between, so that no step is half a "
                      "turn or more"
                    : "add keys in between, so that no step is half a turn or more");
        } else if (std::abs(turn.cosine) < 1e-5) {
            findings.add(
                "half-turn", values.node, values.valueField,
                [&] { return step(values, i) + " is half a turn: rounding decides which way it goes"; },
                "add a key in between");
        }
    }
}

} // namespace Zelvan::play
