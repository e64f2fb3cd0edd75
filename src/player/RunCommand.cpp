#include "base/Fields.h"
#include "player/Pictures.h"
#include "player/Playing.h"
#include "player/Report.h"
#include "player/Tables.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace Zelvan::play {

namespace {

struct RunOptions {
    SceneOptions scene;
    TimeOptions time;
    std::string csv, jsonLines, svg, html;
};

constexpr unsigned curveSteps = 24;

std::vector<float> keysOf(SceneNode const& node)
{
    auto* const key = static_cast<MFFloat*>(fieldOf(node, "key"));
    return key ? key->_value : std::vector<float>();
}

std::vector<Curve> curvesOf(Recorder const& recorder, Clock const& clock)
{
    std::vector<Curve> curves;
    for (Track const& track : recorder.tracks())
        if (track.leaves && track.events > 0) {
            Clock::Sensor const* const sensor = clock.sensorOf(*track.node);
            curves.push_back({&track, sensor ? Clock::timesOf(*sensor, keysOf(*track.node)) : std::vector<double>(),
                              sensor ? Clock::seamsOf(*sensor) : std::vector<double>()});
        }
    return curves;
}

void run(Session& session, RunOptions& options)
{
    OpenedScene const opened(session, options.scene);
    Clock clock(*opened.scene);
    prepare(clock, options.time);
    auto const frames = options.time.timing.frames();

    bool const pictures = !options.svg.empty() || !options.html.empty();
    Recorder::Options recording;
    recording.keepSamples = pictures;
    recording.statistics = shownRows;
    recording.outlineSteps = curveSteps;
    recording.axisBegin = options.time.timing.from;
    recording.axisEnd = frames.back().time;
    Recorder recorder(*opened.scene, recording);
    std::vector<std::unique_ptr<EventWriter>> writers;
    if (!options.csv.empty())
        writers.push_back(std::make_unique<EventWriter>(options.csv, EventWriter::csv, "time"));
    if (!options.jsonLines.empty())
        writers.push_back(std::make_unique<EventWriter>(options.jsonLines, EventWriter::jsonLines, "time"));
    if (!writers.empty())
        recorder.onEvent = [&](Track const& track, double time, Field const& field) {
            for (auto const& writer : writers)
                writer->write(track, time, field);
        };

    playFrames(clock, recorder, frames);
    recorder.finish();

    for (auto const& writer : writers)
        writer->commit();
    if (pictures)
        writePictures(options.svg, options.html, curvesOf(recorder, clock), options.scene.file, "time (s)");
    // Where the events go to standard output, the summary must not stand between them.
    bool const taken = options.csv == "-" || options.jsonLines == "-" || options.svg == "-" || options.html == "-";
    if (!taken) {
        OutputFile out("-");
        writeReport(out.stream(), *opened.scene, recorder, &clock, styledOutput(STDOUT_FILENO));
        out.commit();
    }
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
    auto const output = [&](char const* name, std::string& value, char const* what) {
        command.add_option(name, value, what)->option_text("FILE")->group("Output");
    };
    output("--csv", options->csv, "one line per event: time, node, field, value; \"-\" is standard output");
    output("--jsonl", options->jsonLines, "the same as JSON Lines");
    output("--svg", options->svg, "the curves as a picture");
    output("--html", options->html, "the curves as a page to zoom into");
    command.footer("Examples:\n"
                   "  zelvan-play run door.x3d\n"
                   "  zelvan-play run door.x3d --start Clock@1 --duration 10 --csv door.csv\n"
                   "  zelvan-play run door.x3d --inject Touch.touchTime=2@2 --html door.html");
    command.callback([&session, options] { run(session, *options); });
}

} // namespace Zelvan::play
