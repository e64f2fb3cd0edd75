#include "base/Fields.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/Report.h"
#include "player/commands/Sweeping.h"
#include "player/commands/Tables.h"
#include "player/drawing/Pictures.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <unistd.h>

namespace Zelvan::play {

namespace {

struct SweepOptions {
    SceneOptions scene;
    std::optional<double> from, to;
    std::vector<float> at;
    unsigned steps = 100;
    bool atKeys = false;
    OutputOptions output;
    std::vector<std::string> nodes;
};

// The fractions that an interpolator is given, in the order they are given.
std::vector<float> fractionsFor(std::vector<float> const& keys, SweepOptions const& options)
{
    if (!options.at.empty())
        return options.at;
    if (options.atKeys) {
        std::vector<float> numbers = keys; // a NaN is in no interval, and every key has to be asked
        std::erase_if(numbers, [](float key) { return std::isnan(key); });
        return numbers;
    }
    float low = 0, high = 1;
    if (!keys.empty() && std::isfinite(keys.front()) && std::isfinite(keys.back())) {
        low = std::min(keys.front(), keys.back());
        high = std::max(keys.front(), keys.back());
    }
    double const from = options.from.value_or(low), to = options.to.value_or(high);
    std::vector<float> fractions;
    // Each on its own, so that no error adds up; the last one is the end itself.
    for (unsigned k = 0; k <= options.steps; ++k)
        fractions.push_back(k == options.steps ? static_cast<float>(to)
                                               : static_cast<float>(from + (to - from) * k / options.steps));
    return fractions;
}

std::string valueText(std::span<double const> numbers)
{
    std::string text;
    for (double const number : numbers)
        text += (text.empty() ? "" : " ") + shortNumber(static_cast<float>(number));
    return text;
}

/// One row for each key: its place in the list, the fraction, and what the interpolator sends for it.
void writeKeys(std::ostream& out, Recorder const& recorder)
{
    Table table({"Interpolator", ">Key", ">Fraction", "Value"});
    std::size_t rows = 0;
    for (Track const& track : recorder.tracks()) {
        auto const& keys = static_cast<MFFloat*>(fieldOf(*track.node, "key"))->_value;
        std::size_t key = 0;
        for (std::size_t s = 0; s < track.times.size() && !track.ranges.empty(); ++s, ++key) {
            auto const fraction = static_cast<float>(track.times[s]);
            while (key < keys.size() && keys[key] != fraction) // for which nothing was sent
                ++key;
            if (rows++ < shownRows)
                table.row(
                    {printable(track.node->name), std::to_string(key), shortNumber(fraction), valueText(track.sample(s))});
        }
    }
    if (table.empty())
        return;
    out << '\n';
    table.write(out, styledOutput(STDOUT_FILENO), outputWidth(STDOUT_FILENO));
    if (rows > shownRows)
        out << "... and " << rows - shownRows << " more keys\n";
}

void sweep(Session& session, SweepOptions const& options)
{
    OpenedScene const opened(session, options.scene);
    Recorder::Options recording;
    recording.arrivals = false;
    recording.keepSamples = options.output.pictures() || options.atKeys;
    recording.mostKept = opened.limits.values;
    recording.statistics = shownRows;
    recording.outlineSteps = curveSteps;
    recording.axisBegin = options.from.value_or(0);
    recording.axisEnd = options.to.value_or(1);
    recording.nodes = options.nodes;
    Recorder recorder(*opened.scene, recording);
    Outputs outputs(options.output, opened, recorder, "fraction");

    std::vector<Curve> curves;
    auto const keysOf = [](SceneNode const& node) -> std::vector<float> const& {
        return static_cast<MFFloat*>(fieldOf(node, "key"))->_value;
    };
    sweepAll(*opened.scene, recorder, [&](SceneNode const& node) { return fractionsFor(keysOf(node), options); });
    for (Track const& track : recorder.tracks())
        if (recording.keepSamples && !track.times.empty())
            curves.push_back({&track, {keysOf(*track.node).begin(), keysOf(*track.node).end()}, {}});

    recorder.finish();
    if (outputs.finish(nullptr, curves, PictureOptions()) && options.atKeys) {
        OutputFile out("-");
        writeKeys(out.stream(), recorder);
        out.commit();
    }
    session.status = opened.status();
}

} // namespace

void addSweepCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<SweepOptions>();
    CLI::App& command = *app.add_subcommand("sweep", "Drive every interpolator over its key range, without a clock");
    addSceneOptions(command, options->scene);
    auto const fraction = [&](char const* name, auto& value, char const* what, char const* text) {
        constexpr double most = 1e9;
        auto* const option = inRange(command.add_option(name, value, what), -most, most);
        return option->option_text(text)->group("Fractions");
    };
    auto* const from = fraction("--from", options->from, "first fraction (the first key)", "F");
    auto* const to = fraction("--to", options->to, "last fraction (the last key)", "F");
    auto* const steps =
        inRange(command.add_option("--steps", options->steps, "evenly spaced steps between them (100)"), 1, 1e7);
    steps->option_text("N")->group("Fractions");
    auto* const at = fraction("--at", options->at, "these fractions only", "F[,F...]")->delimiter(',')->allow_extra_args(false);
    auto* const keys = command.add_flag("--at-keys", options->atKeys, "the keys only")->group("Fractions");
    for (auto* const option : {from, to, steps}) {
        at->excludes(option);
        keys->excludes(option);
    }
    keys->excludes(at);
    addOutputOptions(command, options->output, "fraction");
    addNodesOption(command, options->nodes);
    command.footer("Examples:\n"
                   "  zelvan-play sweep door.x3d --at-keys\n"
                   "  zelvan-play sweep door.x3d --from 0 --to 1 --steps 20 --csv -");
    command.callback([&session, options] { sweep(session, *options); });
}

} // namespace Zelvan::play
