#pragma once

#include "player/Clock.h"
#include "player/Commands.h"
#include "player/OutputFile.h"
#include "player/Recording.h"
#include "player/SceneReader.h"

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

/// One track's curves with the marks on their axis.
struct Curve;
void writePictures(std::string const& svg, std::string const& html, std::vector<Curve> const& curves,
                   std::string const& title, char const* axis);

/// A CSV cell, quoted where it must be.
std::string csvCell(std::string const& text);
/// A JSON string with its quotes.
std::string jsonString(std::string const& text);

} // namespace Zelvan::play
