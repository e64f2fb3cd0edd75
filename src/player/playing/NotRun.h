#pragma once

#include "player/scene/Scene.h"

#include <string>
#include <vector>

namespace Zelvan::play {

/// A node between those that are run, or before them, that is not run: a Script, a follower, a sequencer, a trigger, a
/// filter, a sensor that moves an interpolator.
struct NotRun {
    SceneNode const* node;
    std::vector<std::string> targets; ///< "Ball.translation": gets nothing from it. "Clock": is held by it.

    /// "Ball.translation, Door.rotation and 3 more"; "" when there is none.
    std::string targetText() const;
};
/// Each once, in the order of the scene. A sensor that starts a TimeSensor is none of them: that is what it waits for.
std::vector<NotRun> nodesNotRun(Scene const& scene);

} // namespace Zelvan::play
