#pragma once

#include "player/Diagnostics.h"

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace Zelvan::play {

/// What all commands share: options given before or after the command's name, and the exit status.
struct Session {
    std::string pool;                 ///< --pool: the pool library to load; "" looks in the usual places
    int logLevel = 1;                 ///< --log-level, OpenSG's numbers
    bool logGiven = false;            ///< asked for: then nothing is held back
    bool strict = false;              ///< --strict: warnings are errors
    std::vector<std::string> params;  ///< --param NAME=VALUE
    ExitStatus status = exitFine;
};

// Each adds its command to the application; parsing runs it. Results go to standard output, everything else to
// standard error. A command throws Failure or leaves its status in the session.
void addRunCommand(CLI::App& app, Session& session);
void addSweepCommand(CLI::App& app, Session& session);
void addExportCommand(CLI::App& app, Session& session);
void addCheckCommand(CLI::App& app, Session& session);
void addTypesCommand(CLI::App& app, Session& session);

/// A pool library that has been looked at.
struct PoolCandidate {
    std::string file;
    std::string refusal; ///< why it was not taken; "" for the one that was
};

/// Loads the pool and calls its entry; the library stays loaded until the program ends. Looks at `explicitFile`
/// alone when it is given, else in ZELVAN_PLUGIN_PATH's folders, then in the versioned folder beside the installed
/// libraries, then beside the program as it was built. Throws Failure(exitMachine) with all refusals when none
/// can be loaded. Returns what was looked at, the loaded one last.
std::vector<PoolCandidate> loadPool(std::string const& explicitFile);

} // namespace Zelvan::play
