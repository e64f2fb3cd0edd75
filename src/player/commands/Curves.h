#pragma once

#include "player/checking/Check.h"
#include "player/drawing/Pictures.h"
#include "player/playing/Clock.h"
#include "player/playing/Recording.h"

#include <string>
#include <vector>

namespace Zelvan::play {

/// What interpolators sent in a run, each with what drives it, what it moves, where it stands and what is wrong with
/// it. Keys are marked at the times they were passed, behind an EaseInEaseOut too.
std::vector<Curve> curvesOf(Scene const& scene, Recorder const& recorder, Clock const& clock,
                            std::vector<Finding> const& findings);
/// "TimeSensor Clock waits for Touch.touchTime (--start Clock)", for each one that does not run.
std::vector<std::string> waitingSensors(Clock const& clock);
/// "0 to 5 s: 2.5 cycles of Clock (2 s)", of the sensor with the longest cycle that ran; "" when none did.
std::string shownCycles(Clock const& clock, double from, double to);

} // namespace Zelvan::play
