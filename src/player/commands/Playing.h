#pragma once

#include "player/commands/Commands.h"
#include "player/commands/Options.h"
#include "player/commands/Settings.h"
#include "player/playing/Clock.h"
#include "player/playing/Recording.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace Zelvan::play {

class Staging;

/// Shows the log as the session says, loads the pool, and gives its file.
std::string openPool(Session const& session);
/// Reads the scene, and gives it the parameters of the session.
std::unique_ptr<Scene> openScene(Session const& session, std::string const& file, ReadLimits const& limits,
                                 Diagnostics& diagnostics, Staging* staging = nullptr);

/// A scene opened for a command: what reading reports and check calls an error has been written to standard error.
struct OpenedScene {
    /// What check is asked: for errors, for all that it has to say, or nothing: the command does so itself, and tells also
    /// what reading has reported.
    enum class Checks : unsigned char { errors, all, none };
    /// `staging`: what is drawn of the scene is kept there.
    explicit OpenedScene(Session const& session, SceneOptions const& options, Checks checks = Checks::errors,
                         Staging* staging = nullptr);
    /// With these settings instead of those that its files say.
    OpenedScene(Session const& session, SceneOptions const& options, Settings settings, Checks checks = Checks::errors,
                Staging* staging = nullptr);
    ~OpenedScene();
    /// The command's exit status, as far as the scene decides it.
    ExitStatus status() const { return diagnostics.errors() > 0 ? exitScene : exitFine; }
    std::string pool;
    std::string file;
    Settings settings;
    ReadLimits limits;
    Diagnostics diagnostics;
    std::unique_ptr<Scene> scene;
    std::vector<Finding> findings;
};

/// Gives the clock what --start, --start-all and --inject ask for. Returns when to play: what is given, over the settings.
Timing prepare(Clock& clock, TimeOptions const& options, Settings const& settings);
/// Plays all frames, while sensors are asked no more than `mostLooks` times. Shows progress on a terminal when it takes
/// long.
void playFrames(Clock& clock, Recorder& recorder, std::vector<Timing::Frame> const& frames, std::size_t mostLooks);
/// Plays a scene and keeps what is recorded, with all samples.
std::vector<Track> record(Scene& scene, TimeOptions const& time, Settings const& settings, ReadLimits const& limits);

/// Says on a terminal how far something is that takes long.
class Progress {
public:
    Progress();
    /// Calls `text` when it is time to say something.
    template <class Text>
    void show(Text text)
    {
        if (due())
            write(text());
    }
    /// Takes away what was said.
    void end();

private:
    bool due() const;
    void write(std::string const& text);
    bool _terminal, _any = false;
    std::chrono::steady_clock::time_point _due;
};

} // namespace Zelvan::play
