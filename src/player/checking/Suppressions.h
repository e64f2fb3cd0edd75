#pragma once

#include "player/checking/Check.h"

#include <vector>

namespace Zelvan::play {

/// As checkScene, without what comments of the scene ask to ignore: `zelvan: ignore CODE[, CODE...] - reason` on its own
/// line and the next one, `zelvan: ignore-file CODE...` in all of its file. A comment that ignores nothing is a finding,
/// as is one that cannot be understood.
std::vector<Finding> checkWithSuppressions(Scene& scene, std::vector<Finding> readerFindings, CheckOptions const& options);

} // namespace Zelvan::play
