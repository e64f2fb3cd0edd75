#include "base/Fields.h"
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
};

constexpr unsigned curveSteps = 24;

std::vector<float> keysOf(SceneNode const& node)
{
    auto* const key = static_cast<MFFloat*>(fieldOf(node, "key"));
    return key ? key->_value : std::vector<float>();
}

std::vector<Curve> curvesOf(Recorder const& recorder, Clock const& clock)
{
    constexpr std::size_t mostMarks = 2000; // more would be a wall
    std::vector<Curve> curves;
    for (Track const& track : recorder.tracks())
        if (track.leaves && track.events > 0) {
            Curve& curve = curves.emplace_back(Curve{&track, {}, {}});
            Clock::Sensor const* const sensor = curves.size() <= drawnCurves ? clock.sensorOf(*track.node) : nullptr;
            if (sensor == nullptr)
                continue;
            curve.keys = Clock::timesOf(*sensor, keysOf(*track.node), mostMarks).value_or(std::vector<double>());
            curve.seams = Clock::seamsOf(*sensor, mostMarks);
        }
    return curves;
}

void run(Session& session, RunOptions& options)
{
    OpenedScene const opened(session, options.scene);
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
    Recorder recorder(*opened.scene, recording);
    Outputs outputs(options.output, opened, recorder, "time");

    playFrames(clock, recorder, frames, options.scene.limits.values);
    recorder.finish();
    outputs.finish(&clock, recording.keepSamples ? curvesOf(recorder, clock) : std::vector<Curve>());
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
    command.footer("Examples:\n"
                   "  zelvan-play run door.x3d\n"
                   "  zelvan-play run door.x3d --start Clock@1 --duration 10 --csv door.csv\n"
                   "  zelvan-play run door.x3d --inject Touch.touchTime=2@2 --html door.html");
    command.callback([&session, options] { run(session, *options); });
}

} // namespace Zelvan::play
