#pragma once

#include "player/playing/Recording.h"

#include <functional>
#include <vector>

namespace Zelvan::play {

/// Gives each interpolator that has a track the fractions of its own, without a clock. The scene's routes are removed:
/// each curve is by itself, and what one interpolator sends must not change another one.
void sweepAll(Scene& scene, Recorder& recorder, std::function<std::vector<float>(SceneNode const& node)> const& fractionsFor);

} // namespace Zelvan::play
