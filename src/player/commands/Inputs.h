#pragma once

#include <string>
#include <vector>

namespace Zelvan::play {

/// The scenes that a command line names: files and "-" as they stand, and instead of a folder all files below it whose
/// name or content is a scene's, by name. Hidden ones are left out, and folders that are symbolic links.
std::vector<std::string> scenesOf(std::vector<std::string> const& named);

} // namespace Zelvan::play
