#include "base/Fields.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/Report.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <set>

namespace Zelvan::play {

namespace {

struct ExportOptions {
    SceneOptions scene;
    TimeOptions time;
    std::vector<std::string> nodes;
    std::string format = "csv", output = "-";
    std::optional<double> rate;
    bool atKeys = false, events = false;
};

// Rows of one time each, a column per component. A value lasts until the next one; with `events` a cell is filled
// only in the row of its event. A block has the columns of its largest size.
void writeWide(std::ostream& out, Recorder const& recorder, bool events, std::size_t most)
{
    std::vector<Track const*> tracks;
    std::vector<double> times;
    for (Track const& track : recorder.tracks())
        if (!track.ranges.empty()) {
            // Most tracks have the times of the one before.
            if (tracks.empty() || track.times != tracks.back()->times)
                times.insert(times.end(), track.times.begin(), track.times.end());
            tracks.push_back(&track);
        }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());

    auto const elementsOf = [](Track const& track) { return isList(track.type) ? track.largestBlock : 1; };
    std::size_t cells = 0;
    for (Track const* const track : tracks) // about as many bytes in the heading as in a row's cell
        cells += elementsOf(*track) * track->ranges.size() * (times.size() + track->name().size() / 8);
    if (cells > most)
        throw Failure(exitScene,
                      "error: a table of more than " + std::to_string(most)
                          + " cells; --format jsonl has none "
                            "that are empty (--max-values raises the limit)");
    out << "time";
    for (Track const* const track : tracks) {
        Components const components = componentsOf(track->type);
        std::size_t const elements = elementsOf(*track);
        for (std::size_t e = 0; e < elements; ++e)
            for (unsigned c = 0; c < components.count; ++c)
                out << ','
                    << csvCell(track->name() + (isList(track->type) ? '[' + std::to_string(e) + ']' : "")
                               + (components.count > 1 ? std::string(".") + components.names[c] : ""));
    }
    out << '\n';
    std::vector<std::size_t> next(tracks.size(), 0); // first event of each track not yet passed
    std::string text;                                // not yet written: a stream takes its time for every piece
    for (double const time : times) {
        text += shortNumber(time);
        for (std::size_t t = 0; t < tracks.size(); ++t) {
            Track const& track = *tracks[t];
            std::size_t const before = next[t];
            while (next[t] < track.times.size() && track.times[next[t]] <= time)
                ++next[t];
            std::size_t const width = track.ranges.size();
            std::size_t const columns = elementsOf(track) * width;
            bool const filled = next[t] > 0 && (!events || next[t] != before);
            auto const sample = filled ? track.sample(next[t] - 1) : std::span<double const>();
            for (std::size_t i = 0; i < columns; ++i) {
                text += ',';
                if (i < sample.size())
                    text += track.type == SFTimeType ? shortNumber(sample[i]) : shortNumber(static_cast<float>(sample[i]));
            }
            if (text.size() > 1 << 15) {
                out << text;
                text.clear();
            }
        }
        text += '\n';
    }
    out << text;
}

// Times at which the fraction of a running sensor is that of a key of an interpolator it drives.
std::vector<double> keyTimes(Scene const& scene, Clock const& clock, double until)
{
    constexpr std::size_t most = 4'000'000;
    std::vector<double> times;
    std::set<std::pair<std::size_t, std::vector<float>>> seen; // many interpolators may have the same keys
    auto const plan = clock.planned(until);
    for (SceneNode const& node : scene.sceneNodes) {
        Clock::Sensor const* const sensor = isInterpolator(node) ? clock.sensorOf(node) : nullptr;
        if (sensor == nullptr)
            continue;
        auto const index = static_cast<std::size_t>(sensor - clock.sensors().data());
        auto const& keys = static_cast<MFFloat&>(*fieldOf(node, "key"))._value;
        if (!seen.insert({index, keys}).second)
            continue;
        auto const at = Clock::timesOf(plan[index], keys, most - times.size());
        if (!at)
            throw Failure(exitScene,
                          "error: keys are passed more than " + std::to_string(most) + " times: a shorter time is less");
        times.insert(times.end(), at->begin(), at->end());
    }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

void exportScene(Session& session, ExportOptions const& options)
{
    OpenedScene const opened(session, options.scene);
    requireOwnFiles({options.output}, opened);
    Clock clock(*opened.scene, options.time.now);
    Timing timing = prepare(clock, options.time, opened.settings);
    if (options.rate)
        timing.fps = *options.rate;
    if (options.atKeys) {
        timing.at = keyTimes(*opened.scene, clock, timing.to);
        std::erase_if(timing.at, [&](double t) { return t < timing.from || t > timing.to; });
        if (timing.at.empty())
            throw Failure(exitScene,
                          options.scene.file
                              + ": error: no key is passed in this time: no interpolator is "
                                "driven by a TimeSensor that runs");
    }
    auto const frames = timing.frames();
    bool const lines = options.format == "jsonl";
    Recorder::Options recording;
    recording.keepSamples = !lines;
    recording.mostKept = opened.limits.values;
    recording.nodes = options.nodes;
    Recorder recorder(*opened.scene, recording);
    if (lines) {
        EventWriter writer(options.output, EventWriter::jsonLines, "time");
        recorder.onEvent = [&](Track const& track, double time, Field const& field) { writer.write(track, time, field); };
        playFrames(clock, recorder, frames, opened.limits.values);
        writer.commit();
        recorder.finish();
    } else {
        playFrames(clock, recorder, frames, opened.limits.values);
        recorder.finish();
        OutputFile out(options.output);
        writeWide(out.stream(), recorder, options.events, opened.limits.values);
        out.commit();
    }
    writeWhyStill(std::cerr, *opened.scene, recorder, clock);
    session.status = opened.status();
}

} // namespace

void addExportCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<ExportOptions>();
    CLI::App& command = *app.add_subcommand("export", "Write all recorded values as data");
    addSceneOptions(command, options->scene);
    TimeOptionHandles const time = addTimeOptions(command, options->time);
    addNodesOption(command, options->nodes);
    command.add_option("--format", options->format, "csv: a column per component; jsonl: an object per event (csv)")
        ->check(CLI::IsMember({"csv", "jsonl"}))
        ->option_text("csv|jsonl")
        ->group("Output");
    command.add_option("-o,--output", options->output, "where to (standard output)")->option_text("FILE")->group("Output");
    auto* const rate =
        inRange(command.add_option("--rate", options->rate, "rows per second: the same as --fps"), leastFps, mostFps);
    rate->excludes(time.fps)->excludes(time.at)->option_text("N")->group("Output");
    auto* const keys = command.add_flag("--at-keys", options->atKeys, "rows at the times of the keys only");
    keys->excludes(rate)->excludes(time.fps)->excludes(time.at)->group("Output");
    command.add_flag("--events", options->events, "leave cells empty where no event happened")->group("Output");
    command.footer("Examples:\n"
                   "  zelvan-play export door.x3d --rate 25 --duration 4 -o door.csv\n"
                   "  zelvan-play export door.x3d --at-keys --format jsonl");
    command.callback([&session, options] { exportScene(session, *options); });
}

} // namespace Zelvan::play
