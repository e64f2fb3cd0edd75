#pragma once

#include "player/editing/SceneEdits.h"
#include "player/reading/ReadLimits.h"

#include <string>

namespace Zelvan::play {

/// Reads the scene with its edited texts and compares node by node, field by field and ROUTE by ROUTE: what would be other
/// than the edits' intention has it, in words that follow "read again, "; "" when all is as it shall be. Nothing is
/// written before. Throws Failure(exitMachine).
std::string unintended(Scene const& scene, SceneEdits const& edits, ReadLimits const& limits);

} // namespace Zelvan::play
