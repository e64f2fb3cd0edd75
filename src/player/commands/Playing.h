#pragma once

#include "player/commands/Commands.h"
#include "player/commands/Options.h"
#include "player/playing/Clock.h"
#include "player/playing/Recording.h"

#include <memory>
#include <string>
#include <vector>

namespace Zelvan::play {

/// Shows the log as the session says, loads the pool, and gives its file.
std::string openPool(Session const& session);
/// Reads the scene, and gives it the parameters of the session.
std::unique_ptr<Scene> openScene(Session const& session, std::string const& file, ReadLimits const& limits,
                                 Diagnostics& diagnostics);

/// A scene opened for a command: its messages have been written to standard error.
struct OpenedScene {
    explicit OpenedScene(Session const& session, SceneOptions const& options);
    std::string pool;
    std::string file;
    Diagnostics diagnostics;
    std::unique_ptr<Scene> scene;
};

/// Gives the clock what --start, --start-all and --inject ask for. The timing is complete afterwards.
void prepare(Clock& clock, TimeOptions& options);
/// Plays all frames, while sensors are asked no more than `mostLooks` times. Shows progress on a terminal when it takes
/// long.
void playFrames(Clock& clock, Recorder& recorder, std::vector<Timing::Frame> const& frames, std::size_t mostLooks);

} // namespace Zelvan::play
