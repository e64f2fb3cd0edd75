#pragma once

#include "player/playing/Clock.h"
#include "player/commands/Commands.h"
#include "player/commands/OutputFile.h"
#include "player/playing/Recording.h"
#include "player/reading/SceneReader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zelvan::play {

/// Options of the commands that read one scene.
struct SceneOptions {
    std::string file;
    ReadLimits limits;
};
void addSceneOptions(CLI::App& command, SceneOptions& options);

/// Loads the pool, sets log level and parameters as the session says, and reads the scene.
std::unique_ptr<Scene> openScene(Session const& session, std::string const& file, ReadLimits const& limits,
                                 Diagnostics& diagnostics);

/// Options of the commands that let time pass.
struct TimeOptions {
    Timing timing;
    std::optional<double> duration;
    std::vector<std::string> start, inject;
    bool startAll = false;
};
void addTimeOptions(CLI::App& command, TimeOptions& options);
/// Gives the clock what --start, --start-all and --inject ask for. The timing is complete afterwards.
void prepare(Clock& clock, TimeOptions& options);
/// Plays all frames. Shows progress on a terminal when it takes long.
void playFrames(Clock& clock, Recorder& recorder, std::vector<Timing::Frame> const& frames);

/// A scene opened for a command: its messages have been written to standard error.
struct OpenedScene {
    explicit OpenedScene(Session const& session, SceneOptions const& options);
    Diagnostics diagnostics;
    std::unique_ptr<Scene> scene;
};

/// Writes each event as it happens, as lines of text: "time,node,field,value" or JSON Lines.
/// Goes before the recorder it listens to.
class EventWriter {
public:
    enum Format { csv, jsonLines };
    /// `axis` names the first column: "time", or "fraction" for a sweep.
    EventWriter(std::string const& path, Format format, char const* axis);
    void write(Track const& track, double time, Field const& field);
    void commit() { _file.commit(); }

private:
    OutputFile _file;
    Format _format;
    std::string _axis;
    std::vector<double> _numbers;
};

struct Curve;
struct PictureOptions;

/// Where a run or a sweep writes what it recorded; "" leaves one out, "-" is standard output.
struct OutputOptions {
    std::string csv, jsonLines, svg, html;
    bool pictures() const { return !svg.empty() || !html.empty(); }
};
/// `axis` names what stands beside the values: "time", "fraction".
void addOutputOptions(CLI::App& command, OutputOptions& options, char const* axis);

/// Writes events while they are recorded, then pictures and the summary. Goes before its recorder does.
class Outputs {
public:
    Outputs(OutputOptions const& options, std::string const& scene, Recorder& recorder, char const* axis);
    /// `title` is the scene's file. The summary is left out where something else goes to standard output.
    void finish(Scene const& scene, Clock const* clock, std::vector<Curve> const& curves, std::string const& title,
                PictureOptions picture);

private:
    OutputOptions const& _options;
    Recorder& _recorder;
    std::string _axis;
    std::vector<std::unique_ptr<EventWriter>> _writers;
};

/// Usage failure when two outputs have one name, or one is the file of the scene.
void requireOwnFiles(std::vector<std::string> const& outputs, std::string const& scene);

/// A CSV cell, quoted where it must be.
std::string csvCell(std::string const& text);
/// A JSON string with its quotes.
std::string jsonString(std::string const& text);

} // namespace Zelvan::play
