#pragma once

#include <string>
#include <vector>

namespace Zelvan::play {

/// The scenes that a command line names: files and "-" as they stand, and instead of a folder all files below it whose
/// name or content is a scene's, by name. Hidden ones are left out, and folders that are symbolic links. Throws
/// Failure(exitUsage) where there is none at all, and where "-" is named twice.
std::vector<std::string> scenesOf(std::vector<std::string> const& named, std::string const& command);

/// How messages call them: "door.x3d", "<stdin>", "700 files".
std::string shownName(std::vector<std::string> const& scenes);

} // namespace Zelvan::play
