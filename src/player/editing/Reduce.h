#pragma once

#include "player/editing/Reduction.h"
#include "player/editing/SceneEdits.h"
#include "player/editing/Tolerance.h"

namespace Zelvan::play {

/// What became of one interpolator: of all instances of a PROTO together.
struct TrackChange {
    SceneNode const* node = nullptr;
    std::size_t before = 0, after = 0; ///< keys
    double asked = 0;                  ///< how much its value may be off; infinite where nothing was asked
    PlayedDifference measured;         ///< how much it is, both played
    bool angle = false;                ///< these are radians
    bool edited = false;               ///< it is written anew, perhaps with as many keys as before
    std::string left;                  ///< why it stays as it is; "" where nothing stood in the way
};

/// Takes as many keys as it can out of the linear interpolators of a scene and writes them into its edits.
std::vector<TrackChange> reduceScene(Scene const& scene, SceneEdits& edits, Tolerance const& tolerance, bool free);

/// Why an interpolator's keys are neither taken out nor replaced; "" when they may be.
std::string hindrance(SceneNode const& node, SceneEdits const& edits);

} // namespace Zelvan::play
