#include "base/Fields.h"
#include "player/commands/Curves.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/Report.h"
#include "player/drawing/Pictures.h"
#include "player/reading/Staging.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace Zelvan::play {

namespace {

struct RunOptions {
    SceneOptions scene;
    TimeOptions time;
    OutputOptions output;
    std::vector<std::string> nodes;
};

void run(Session& session, RunOptions const& options)
{
    // What cannot be drawn is said before anything is played.
    std::string const engine = options.output.scene ? sceneEngine() : "";
    Staging staging;
    OpenedScene const opened(session, options.scene,
                             options.output.pictures() ? OpenedScene::Checks::all : OpenedScene::Checks::errors,
                             options.output.scene ? &staging : nullptr);
    Clock clock(*opened.scene, options.time.now);
    Timing const timing = prepare(clock, options.time, opened.settings);
    auto const frames = timing.frames();

    Recorder::Options recording;
    recording.keepSamples = options.output.pictures();
    recording.mostKept = opened.limits.values;
    recording.statistics = shownRows;
    recording.outlineSteps = curveSteps;
    recording.axisBegin = timing.from;
    recording.axisEnd = frames.back().time;
    recording.nodes = options.nodes;
    recording.beside = options.output.scene ? Recorder::Options::all
        : recording.keepSamples             ? Recorder::Options::fractions
                                            : Recorder::Options::nothing;
    Recorder recorder(*opened.scene, recording);
    Outputs outputs(options.output, opened, recorder, "time");

    playFrames(clock, recorder, frames, opened.limits.values);
    recorder.finish();
    PictureOptions picture;
    picture.frame = 1 / timing.fps;
    picture.shown = shownCycles(clock, recording.axisBegin, recording.axisEnd);
    picture.waiting = waitingSensors(clock);
    SceneInPage const scene{staging, recorder.allTracks(), engine};
    picture.scene = options.output.scene ? &scene : nullptr;
    outputs.finish(&clock,
                   recording.keepSamples ? curvesOf(*opened.scene, recorder, clock, opened.findings) : std::vector<Curve>(),
                   picture);
    session.status = opened.status();
}

} // namespace

void addRunCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<RunOptions>();
    CLI::App& command = *app.add_subcommand("run", "Play a scene and show what its interpolators send");
    addSceneOptions(command, options->scene);
    addTimeOptions(command, options->time);
    CLI::Option* const page = addOutputOptions(command, options->output, "time");
    addSceneInPageOption(command, options->output, page);
    addNodesOption(command, options->nodes);
    command.footer("Examples:\n"
                   "  zelvan-play run door.x3d\n"
                   "  zelvan-play run door.x3d --start Clock@1 --duration 10 --csv door.csv\n"
                   "  zelvan-play run door.x3d --inject Touch.touchTime=2@2 --html door.html --scene");
    command.callback([&session, options] { run(session, *options); });
}

} // namespace Zelvan::play
