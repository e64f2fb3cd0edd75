#pragma once

#include <string>
#include <vector>

namespace Zelvan::play {

/// A pool library that has been looked at.
struct PoolCandidate {
    std::string file;
    std::string refusal; ///< why it was not taken; "" for the one that was
    bool asked = true;   ///< it was looked for because the user said so
};

/// Loads the pool and calls its entry; the library stays loaded until the program ends. Looks at `explicitFile`
/// alone when it is given, else in ZELVAN_PLUGIN_PATH's folders, then in the versioned folder beside the installed
/// libraries, then beside the program as it was built. Throws Failure(exitMachine) with all refusals when none
/// can be loaded. Returns what was looked at, the loaded one last.
std::vector<PoolCandidate> loadPool(std::string const& explicitFile);

} // namespace Zelvan::play
