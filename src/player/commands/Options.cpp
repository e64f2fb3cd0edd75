#include "player/commands/Options.h"

#include "player/scene/Values.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>

namespace Zelvan::play {

double parsedNumber(std::string const& text, std::string const& option)
{
    double number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw Failure(exitUsage, option + ": expected a number, found \"" + text + '"');
    return number;
}

CLI::Option* inRange(CLI::Option* option, double low, double high)
{
    std::string const range = roundNumber(low, 12) + " to " + roundNumber(high, 12);
    option->description(option->get_description() + "; " + range);
    option->check(CLI::Validator(
        [low, high, range](std::string& text) -> std::string {
            double number = 0;
            auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
            bool const whole = error == std::errc() && end == text.data() + text.size();
            return whole && number >= low && number <= high ? "" : "expected a number from " + range + ", found \"" + text + '"';
        },
        ""));
    return option;
}

void addLimitOptions(CLI::App& command, ReadLimits& limits)
{
    auto const limit = [&](char const* name, auto& value, double most, char const* what) {
        inRange(command.add_option(name, value, what), 1, most)->capture_default_str()->option_text("N")->group("Limits");
    };
    limit("--max-bytes", limits.bytes, 4294967294, "largest file, uncompressed");
    limit("--max-depth", limits.depth, 2000, "deepest nesting");
    limit("--max-elements", limits.elements, 1e8, "most elements in one file, and eight times as many lines");
    limit("--max-nodes", limits.nodes, 1e8, "most nodes that can be routed to");
    limit("--max-expanded", limits.expanded, 1e8, "most nodes that PROTOs and repeated Inlines stand for");
    limit("--max-files", limits.files, 1e5, "most files, inlined ones included");
    limit("--max-values", limits.values, 1e11, "most numbers recorded for curves and tables");
}

void addSceneOptions(CLI::App& command, SceneOptions& options)
{
    command.add_option("scene", options.file, "X3D file; \"-\" is standard input")->required()->option_text("SCENE");
    addLimitOptions(command, options.limits);
}

void addTimeOptions(CLI::App& command, TimeOptions& options)
{
    Timing& timing = options.timing;
    auto const group = [](CLI::Option* option) { return option->group("Time"); };
    auto const seconds = [&](char const* name, auto& value, char const* what) {
        return group(inRange(command.add_option(name, value, what), 0, latestTime))->option_text("SECONDS");
    };
    seconds("--from", timing.from, "record from this second on (0)");
    auto* const to = seconds("--to", options.to, "play up to this second (one cycle of the longest sensor that runs, at most 60)");
    seconds("--duration", options.duration, "play this long from --from on")->excludes(to);
    group(inRange(command.add_option("--fps", timing.fps, "frames per second (60)"), 1e-3, 1e6)->option_text("N"));
    group(inRange(command.add_option("--at", timing.at, "record at these times only"), 0, latestTime)
              ->delimiter(',')
              ->allow_extra_args(false)
              ->option_text("T[,T...]"));
    group(command.add_option("--start", options.start, "start a TimeSensor, as if something had triggered it")
              ->allow_extra_args(false)
              ->option_text("NAME[@SECONDS]"));
    group(command.add_flag("--start-all", options.startAll, "start all TimeSensors that wait for something"));
    group(command.add_option("--inject", options.inject, "give a value to a field")
              ->allow_extra_args(false)
              ->option_text("NODE.field=VALUE[@SECONDS]"));
}

void addNodesOption(CLI::App& command, std::vector<std::string>& patterns)
{
    command.add_option("--nodes", patterns, "only nodes with such names; * and ? stand for any letters")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("PATTERN[,...]")
        ->group("Output");
}

void addOutputOptions(CLI::App& command, OutputOptions& options, char const* axis)
{
    auto const output = [&](char const* name, std::string& value, std::string const& what) {
        command.add_option(name, value, what)->option_text("FILE")->group("Output");
    };
    output("--csv", options.csv, "one line per event: " + std::string(axis) + ", node, field, value; \"-\" is standard output");
    output("--jsonl", options.jsonLines, "the same as JSON Lines");
    output("--svg", options.svg, "the curves as a picture");
    output("--png", options.png, "the same in pixels");
    output("--html", options.html, "the curves as a page to zoom into");
}

} // namespace Zelvan::play
