#include "player/commands/Options.h"

#include "player/commands/Settings.h"
#include "player/playing/Moment.h"
#include "player/scene/Values.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <thread>
#include <type_traits>

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
            return whole && number >= low && number <= high ? ""
                                                            : "expected a number from " + range + ", found \"" + text + '"';
        },
        ""));
    return option;
}

template <auto member>
constexpr LimitOption limitOption(char const* name, double most, char const* what)
{
    return {name, most, what, [](ReadLimits const& limits) -> std::size_t { return limits.*member; },
            [](ReadLimits& limits, std::size_t value) {
                limits.*member = static_cast<std::remove_reference_t<decltype(limits.*member)>>(value);
            }};
}

std::vector<LimitOption> const& limitOptions()
{
    static std::vector<LimitOption> const options = {
        limitOption<&ReadLimits::bytes>("max-bytes", 4294967294, "largest file, uncompressed"),
        limitOption<&ReadLimits::depth>("max-depth", 2000, "deepest nesting"),
        limitOption<&ReadLimits::elements>("max-elements", 1e8, "most elements in one file, and eight times as many lines"),
        limitOption<&ReadLimits::nodes>("max-nodes", 1e8, "most nodes that can be routed to"),
        limitOption<&ReadLimits::expanded>("max-expanded", 1e8, "most nodes that PROTOs and repeated Inlines stand for"),
        limitOption<&ReadLimits::files>("max-files", 1e5, "most files, inlined ones included"),
        limitOption<&ReadLimits::values>("max-values", 1e11, "most numbers recorded for curves and tables"),
    };
    return options;
}

ReadLimits LimitOptions::over(Settings const& settings) const
{
    ReadLimits limits;
    settings.apply(limits);
    for (LimitOption const& limit : limitOptions())
        if (auto const found = given.find(limit.name); found != given.end())
            limit.set(limits, found->second);
    if (!root.empty())
        limits.root = root;
    return limits;
}

void addLimitOptions(CLI::App& command, LimitOptions& limits)
{
    command.add_option("--root", limits.root, "folder that Inlines and EXTERNPROTOs may be read from (the scene's)")
        ->option_text("FOLDER");
    for (LimitOption const& limit : limitOptions()) {
        auto* const option = command.add_option_function<std::size_t>(
            std::string("--") + limit.name, [&limits, &limit](std::size_t value) { limits.given[limit.name] = value; },
            limit.what);
        inRange(option, 1, limit.most)->default_str(std::to_string(limit.get({})))->option_text("N")->group("Limits");
    }
}

void addSceneOptions(CLI::App& command, SceneOptions& options)
{
    command.add_option("scene", options.file, "X3D or VRML file; \"-\" is standard input")->required()->option_text("SCENE");
    addLimitOptions(command, options.limits);
}

void addScenesOptions(CLI::App& command, ScenesOptions& options)
{
    command.add_option("scene", options.named, "X3D or VRML files, folders of them; \"-\" is standard input")
        ->option_text("SCENE...");
    addLimitOptions(command, options.limits);
    inRange(command.add_option("-j,--jobs", options.jobs, "files worked on at a time (as many as there are processors)"), 1,
            mostJobs)
        ->option_text("N");
}

unsigned jobsOf(ScenesOptions const& options, Settings const& settings)
{
    unsigned const jobs = options.jobs.value_or(settings.jobs.value);
    return jobs != 0 ? jobs : std::max(1u, std::thread::hardware_concurrency());
}

TimeOptionHandles addTimeOptions(CLI::App& command, TimeOptions& options)
{
    auto const group = [](CLI::Option* option) { return option->group("Time"); };
    auto const seconds = [&](char const* name, auto& value, char const* what) {
        return group(inRange(command.add_option(name, value, what), 0, latestTime))->option_text("SECONDS");
    };
    auto* const from = seconds("--from", options.from, "record from this second on (0)");
    auto* const to =
        seconds("--to", options.to,
                "play up to this second (one cycle of the longest sensor that runs, at most 60; 5 where none does)");
    auto* const duration = seconds("--duration", options.duration, "play this long from --from on")->excludes(to);
    auto* const fps =
        group(inRange(command.add_option("--fps", options.fps, "frames per second (60)"), leastFps, mostFps)->option_text("N"));
    auto* const at = group(inRange(command.add_option("--at", options.at, "record at these times only"), 0, latestTime)
                               ->delimiter(',')
                               ->allow_extra_args(false)
                               ->option_text("T[,T...]"));
    for (CLI::Option* const other : {from, to, duration, fps})
        at->excludes(other);
    group(
        command.add_option_function<std::string>(
            "--now",
            [&options](std::string const& text) {
                constexpr double furthest = 1e11;
                options.now = momentOf(text);
                if (!options.now || std::abs(*options.now) > furthest)
                    throw Failure(exitUsage,
                                  "--now: expected seconds since 1970, or a date such as 2026-11-25T14:30, found \"" + text
                                      + '"');
            },
            "what time it is at the opening: seconds since 1970, or a date and time (UTC, or with +02:00); sensors are then in the middle of their cycle"))
        ->option_text("TIME");
    group(command.add_option("--start", options.start, "start a TimeSensor, as if something had triggered it")
              ->allow_extra_args(false)
              ->option_text("NAME[@SECONDS]"));
    group(command.add_flag("--start-all", options.startAll, "start all TimeSensors that do not run, disabled ones included"));
    group(command.add_option("--inject", options.inject, "give a value to a field")
              ->allow_extra_args(false)
              ->option_text("NODE.field=VALUE[@SECONDS]"));
    return {fps, at};
}

void addNodesOption(CLI::App& command, std::vector<std::string>& patterns)
{
    command.add_option("--nodes", patterns, "only nodes with such names; * and ? stand for any letters")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("PATTERN[,...]")
        ->group("Output");
}

CLI::Option* addOutputOptions(CLI::App& command, OutputOptions& options, char const* axis)
{
    auto const output = [&](char const* name, std::string& value, std::string const& what) {
        return command.add_option(name, value, what)->option_text("FILE")->group("Output");
    };
    output("--csv", options.csv, "one line per event: " + std::string(axis) + ", node, field, value; \"-\" is standard output");
    output("--jsonl", options.jsonLines, "the same as JSON Lines");
    output("--svg", options.svg, "the curves as a picture");
    output("--png", options.png, "the same in pixels");
    return output("--html", options.html, "the curves as a page to zoom into");
}

void addSceneInPageOption(CLI::App& command, OutputOptions& options, CLI::Option* page)
{
    command.add_flag("--scene", options.scene, "the scene itself in the page, drawn by X3DOM and moved by what was recorded")
        ->needs(page)
        ->group("Output");
}

} // namespace Zelvan::play
