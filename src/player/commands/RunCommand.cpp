#include "base/Fields.h"
#include "player/commands/Curves.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/Report.h"
#include "player/drawing/Pictures.h"

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

/// What check says of the scene; it plays a scene of its own. Nothing of standard input, which is read once.
std::vector<Finding> findingsOf(RunOptions const& options)
{
    if (!options.output.pictures() || options.scene.file == "-")
        return {};
    std::ostream nowhere(nullptr);
    Diagnostics quiet(nowhere);
    return checkScene(*readScene(options.scene.file, options.scene.limits, quiet), {}, CheckOptions());
}

void run(Session& session, RunOptions& options)
{
    OpenedScene const opened(session, options.scene);
    std::vector<Finding> const findings = findingsOf(options);
    Clock clock(*opened.scene);
    prepare(clock, options.time);
    auto const frames = options.time.timing.frames();

    Recorder::Options recording;
    recording.keepSamples = options.output.pictures();
    recording.mostKept = options.scene.limits.values;
    recording.statistics = shownRows;
    recording.outlineSteps = curveSteps;
    recording.axisBegin = options.time.timing.from;
    recording.axisEnd = frames.back().time;
    recording.nodes = options.nodes;
    Recorder recorder(*opened.scene, recording);
    Outputs outputs(options.output, opened, recorder, "time");

    playFrames(clock, recorder, frames, options.scene.limits.values);
    recorder.finish();
    PictureOptions picture;
    picture.frame = 1 / options.time.timing.fps;
    picture.shown = shownCycles(clock, recording.axisBegin, recording.axisEnd);
    picture.waiting = waitingSensors(clock);
    outputs.finish(&clock,
                   recording.keepSamples ? curvesOf(*opened.scene, recorder, clock, findings) : std::vector<Curve>(), picture);
    if (opened.diagnostics.errors() > 0)
        session.status = exitScene;
}

} // namespace

void addRunCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<RunOptions>();
    CLI::App& command = *app.add_subcommand("run", "Play a scene and show what its interpolators send");
    addSceneOptions(command, options->scene);
    addTimeOptions(command, options->time);
    addOutputOptions(command, options->output, "time");
    addNodesOption(command, options->nodes);
    command.footer("Examples:\n"
                   "  zelvan-play run door.x3d\n"
                   "  zelvan-play run door.x3d --start Clock@1 --duration 10 --csv door.csv\n"
                   "  zelvan-play run door.x3d --inject Touch.touchTime=2@2 --html door.html");
    command.callback([&session, options] { run(session, *options); });
}

} // namespace Zelvan::play
