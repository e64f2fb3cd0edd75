#pragma once

#include "player/playing/Clock.h"
#include "player/playing/Recording.h"

#include <iosfwd>
#include <string>

namespace Zelvan::play {

/// Rows of a table that a person reads; the data formats have all.
inline constexpr unsigned shownRows = 200;
/// Steps of a small curve.
inline constexpr unsigned curveSteps = 24;

/// The summary of a run or a sweep, for people: each interpolator with its name, type, driver, number of keys,
/// value range and a small curve; what events reached nodes without a class; which sensors wait for what, and what is
/// not run. Lines are no longer than `width`. `shown` is what part of a cycle was played.
void writeReport(std::ostream& out, Scene const& scene, Recorder const& recorder, Clock const* clock, bool styled,
                 std::size_t width, std::string const& shown);

/// Where nothing was recorded, why: which sensors wait for what, and what is not run.
void writeWhyStill(std::ostream& out, Scene const& scene, Recorder const& recorder, Clock const& clock);

/// What leads into an interpolator: "Clock.fraction_changed", "Ease (EaseInEaseOut)", "nothing".
std::string driverOf(Scene const& scene, SceneNode const& node);
/// The component that tells most as a small curve.
std::string curveOf(Track const& track);
/// The first of these lines, and how many of `what` there are more.
std::string firstOf(std::vector<std::string> const& lines, std::size_t most, char const* what);
/// "0 .. 1" and what suits the other types.
std::string rangeText(Track const& track);

} // namespace Zelvan::play
