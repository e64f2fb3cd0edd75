#include "player/checking/CheckRules.h"

#include "base/Fields.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Zelvan::play {

namespace {

using Numbers = std::span<double const>;
constexpr double pi = std::numbers::pi;

double dot(Numbers a, Numbers b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double length(Numbers v)
{
    return std::sqrt(dot(v.first(3), v.first(3)));
}

std::string step(KeyedValues const& values, std::size_t i)
{
    return values.valueName(i) + " to [" + std::to_string(i + 1) + ']';
}

// ---- Rotations

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

void checkRotations(KeyedValues const& values, FindingCollector& findings)
{
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const rotation = values.value(i);
        if (length(rotation) > 1e-6)
            continue;
        bool const identity = rotation[3] == 0;
        findings.add("zero-axis", values.node, values.valueField,
                     [&] {
                         return values.valueName(i) + " has a zero axis: "
                             + (identity ? "not a valid rotation, although this one plays as no rotation"
                                         : "its angle of " + degrees(rotation[3]) + " degrees is lost");
                     },
                     identity ? "write 0 0 1 0" : "write the axis", identity ? Severity::note : Severity::warning);
    }
    if (values.count < 2)
        return;
    std::vector<Turn> const turns = turnsOf(values);
    // Programs that write angles between two bounds step over the whole circle where their angle passes a bound:
    // then the shorter arc is what was meant, and goes on as its neighbours do.
    auto const wraps = [&](std::size_t i) {
        auto const like = [&](std::size_t other) {
            Turn const& turn = turns[other];
            return turn.sameAxis && std::abs(turn.written) <= pi && turn.played * turns[i].played > 0
                && std::abs(turns[i].played) <= 3 * std::abs(turn.played);
        };
        return (i > 0 && like(i - 1)) || (i + 1 < turns.size() && like(i + 1));
    };
    for (std::size_t i = 0; i < turns.size(); ++i) {
        Turn const& turn = turns[i];
        double const written = std::abs(turn.written);
        bool const otherWay = turn.played * turn.written < 0;
        if (!values.blends(i))
            continue;
        if (turn.sameAxis && (written > pi + 1e-3 || (written > pi - 1e-3 && otherWay)) && !wraps(i)) {
            findings.add("long-turn", values.node, values.valueField,
                         [&] {
                             std::string const text = step(values, i) + " is written as a turn of "
                                 + degrees(turn.written) + " degrees, but ";
                             if (std::abs(turn.played) < 0.01)
                                 return text + "plays as standing still";
                             if (written < pi + 1e-3)
                                 return text + "is just past half a turn and goes the other way";
                             return text + "plays as " + degrees(turn.played) + " degrees"
                                 + (otherWay ? " the other way" : "");
                         },
                         "add keys in between, so that no step is half a turn or more");
        } else if (std::abs(turn.cosine) < 1e-5) {
            findings.add("half-turn", values.node, values.valueField,
                         [&] { return step(values, i) + " is half a turn: rounding decides which way it goes"; },
                         "add a key in between");
        }
    }
}

// ---- Colours

constexpr double visible = 0.02; // saturation times value, below which a colour looks grey

struct Hsv {
    explicit Hsv(Numbers colour)
    {
        float const rgb[3] = {static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                              static_cast<float>(colour[2])};
        osg::Color3<float>::convertToHSV(rgb, hue, saturation, value);
    }
    double chroma() const { return static_cast<double>(saturation) * value; }
    float hue, saturation, value;
};

char const* hueName(double hue)
{
    constexpr char const* names[] = {"red", "yellow", "green", "cyan", "blue", "magenta"};
    return names[static_cast<std::size_t>(std::lround(hue / 60)) % 6];
}

void checkColors(KeyedValues const& values, FindingCollector& findings)
{
    constexpr double rounding = 1e-4;
    bool inRange = true;
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const colour = values.value(i);
        auto const [low, high] = std::ranges::minmax(colour);
        if (low >= -rounding && high <= 1 + rounding)
            continue;
        inRange = false;
        findings.add("color-range", values.node, values.valueField,
                     [&] { return values.valueName(i) + " is " + listed(colour) + ", outside 0 to 1"; },
                     high > 2 && high <= 255 ? "divide by 255" : "keep colours between 0 and 1");
    }
    for (std::size_t i = 0; inRange && i + 1 < values.count; ++i) {
        Hsv const a(values.value(i)), b(values.value(i + 1));
        double const way = std::abs(b.hue - a.hue);
        if (!values.blends(i))
            continue;
        auto const text = [&] {
            return "the hue runs from " + roundNumber(a.hue, 3) + " to " + roundNumber(b.hue, 3)
                + " degrees, through " + hueName((a.hue + b.hue) / 2);
        };
        if (std::min(a.chroma(), b.chroma()) >= visible) {
            if (way > 180)
                findings.add("hue-long-way", values.node, values.valueField,
                             [&] { return step(values, i) + ": " + text() + ", the long way round"; },
                             std::min(a.hue, b.hue) < 1
                                 ? "write the red with a trace of blue, such as 1 0 0.001: its hue is 360 then, not 0"
                                 : "cross red with two equal keys, of 1 0 0.001 and 1 0 0: their hues are 360 and 0");
        } else if (std::max(a.chroma(), b.chroma()) >= 0.1 && way > 60) {
            std::size_t const grey = a.chroma() < b.chroma() ? i : i + 1;
            findings.add("grey-hue", values.node, values.valueField,
                         [&] {
                             return values.valueName(grey) + ' ' + listed(values.value(grey))
                                 + " is grey or black, of hue "
                                 + roundNumber(grey == i ? a.hue : b.hue, 3) + ": " + text();
                         },
                         "give the grey a trace of its neighbour's colour, such as 0.001: then it has the same hue");
        }
    }
}

// ---- Normals

void checkNormals(KeyedValues const& values, FindingCollector& findings)
{
    constexpr double shortest = 1e-6, opposite = -0.9995; // within 2 degrees
    for (std::size_t i = 0; i < values.count * values.perKey; ++i) {
        Numbers const a = values.value(i);
        if (length(a) < shortest) {
            findings.add("zero-normal", values.node, values.valueField,
                         [&] { return values.valueName(i) + " is zero: a normal needs a direction"; },
                         "write a vector of length 1");
        } else if (i + values.perKey < values.count * values.perKey) {
            std::size_t const next = i + values.perKey;
            Numbers const b = values.value(next);
            if (values.blends(i / values.perKey) && dot(a, b) < opposite * length(a) * length(b))
                findings.add("opposite-normals", values.node, values.valueField,
                             [&] {
                                 return values.valueName(i) + ' ' + listed(a) + " and [" + std::to_string(next) + "] "
                                     + listed(b) + " are opposite: the blend passes through zero";
                             },
                             "add a key in between, with a normal to pass by");
        }
    }
}

void checkEase(KeyedValues const& values, FindingCollector& findings)
{
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const pair = values.value(i);
        if (std::min(pair[0], pair[1]) < 0 || std::max(pair[0], pair[1]) > 1)
            findings.add("ease-range", values.node, values.valueField,
                         [&] { return values.valueName(i) + " is " + listed(pair) + ", outside 0 to 1"; },
                         "the two numbers are shares of an interval");
    }
}

} // namespace

void checkValues(KeyedValues const& values, FindingCollector& findings)
{
    if (values.count == 0)
        return;
    if (!values.finite) {
        for (std::size_t i = 0; i < values.count * values.perKey; ++i)
            if (!std::ranges::all_of(values.value(i), [](double number) { return std::isfinite(number); }))
                findings.add("not-finite", values.node, values.valueField,
                             [&] { return values.valueName(i) + " is " + listed(values.value(i)); }, "write numbers");
        return;
    }
    switch (values.valueField->dataType()) {
    case MFRotationType: return checkRotations(values, findings);
    case MFColorType: return checkColors(values, findings);
    case MFMatrix4fType: return checkMatrices(values, findings);
    default: break;
    }
    if (values.eases())
        checkEase(values, findings);
    else if (values.type() == "NormalInterpolator")
        checkNormals(values, findings);
}

} // namespace Zelvan::play
