#pragma once

#include "player/scene/Diagnostics.h"

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace Zelvan::play {

/// What all commands share: options given before or after the command's name, and the exit status.
struct Session {
    std::string pool;                ///< --pool: the pool library to load; "" looks in the usual places
    int logLevel = 1;                ///< --log-level, OpenSG's numbers
    bool logGiven = false;           ///< asked for: then nothing is held back
    bool strict = false;             ///< --strict: warnings are errors
    std::string config;              ///< --config: the file of settings; "" looks beside the scene and above
    bool noConfig = false;           ///< --no-config
    std::vector<std::string> params; ///< --param NAME=VALUE
    ExitStatus status = exitFine;
};

// Each adds its command to the application; parsing runs it. Results go to standard output, everything else to
// standard error. A command throws Failure or leaves its status in the session.
void addRunCommand(CLI::App& app, Session& session);
void addSweepCommand(CLI::App& app, Session& session);
void addExportCommand(CLI::App& app, Session& session);
void addCheckCommand(CLI::App& app, Session& session);
void addExplainCommand(CLI::App& app, Session& session);
void addSettingsCommand(CLI::App& app, Session& session);
void addBakeCommand(CLI::App& app, Session& session);
void addDiffCommand(CLI::App& app, Session& session);
void addReduceCommand(CLI::App& app, Session& session);
void addTypesCommand(CLI::App& app, Session& session);

} // namespace Zelvan::play
