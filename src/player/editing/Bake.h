#pragma once

#include "player/editing/Reduce.h"

#include <functional>

namespace Zelvan::play {

struct BakeOptions {
    Tolerance tolerance;
    bool free = false;
    bool atKeys = false;        ///< keys where the curve had some, and nowhere else
    std::optional<double> rate; ///< keys per second of the sensor's cycle, evenly
    bool prune = false;         ///< take out what nothing depends on any more
};

struct BakeResult {
    std::vector<TrackChange> changes; ///< splines, squad, and what hangs behind an EaseInEaseOut
    std::vector<std::string> idle;    ///< nodes that nothing depends on any more
};

/// Makes linear interpolators of the splines of a scene, and takes the easing of a fraction into the keys behind it. A
/// curve is sampled so densely that the samples miss it by a fraction of the tolerance at most: by closed form for
/// cubics, whose chords are off by h^2 / 8 times the second derivative, else until measuring says so. The samples are
/// then reduced, and the result is played against the curve itself.
BakeResult bakeScene(Scene const& scene, SceneEdits& edits, BakeOptions const& options);

} // namespace Zelvan::play
