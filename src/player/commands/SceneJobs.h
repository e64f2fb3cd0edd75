#pragma once

#include "player/scene/Diagnostics.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Zelvan::play {

/// What working on one scene came to. It goes from the process that did it to the one that tells.
struct SceneResult {
    std::string out, err;            ///< for where results go, and for standard error
    std::string failure;             ///< why it could not be done; "" where it was
    ExitStatus status = exitFine;    ///< of the failure, too
    std::vector<std::size_t> counts; ///< to be added up
};

/// Works on scenes, on a single one in this process, on several in `jobs` others, and gives the results to `take` in the
/// order of the scenes. A single scene's Failure is thrown; of several only that of a wrong usage, all else is a failure of
/// that scene, as is the death of its process. What is written to standard error on the way becomes part of the result.
void workOnScenes(std::vector<std::string> const& scenes, unsigned jobs, int logLevel,
                  std::function<SceneResult(std::size_t)> const& work,
                  std::function<void(std::size_t, SceneResult const&)> const& take);

} // namespace Zelvan::play
