#include "player/commands/OutputFile.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/Tables.h"
#include "player/drawing/Pictures.h"
#include "player/editing/Compare.h"
#include "player/scene/Escape.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <numbers>
#include <unistd.h>

namespace Zelvan::play {

namespace {

struct DiffOptions {
    SceneOptions first; ///< its limits are those of both
    std::string second, format = "text", html;
    std::vector<std::string> maxError;
    TimeOptions time;
};

std::string amount(TrackDifference const& difference)
{
    return !std::isfinite(difference.largest) ? "no value, or of another size"
        : difference.angle                    ? roundNumber(difference.largest * 180 / std::numbers::pi, 3) + " deg"
                                              : roundNumber(difference.largest, 3);
}

bool onlyInOne(TrackDifference const& difference)
{
    return difference.kind == TrackDifference::onlyFirst || difference.kind == TrackDifference::onlySecond;
}

void writeText(std::ostream& out, std::vector<TrackDifference> const& differences, DiffOptions const& options)
{
    Table table({"Track", ">Differs from", ">Largest difference", ">At", ">Keys", ">Now"});
    for (TrackDifference const& difference : differences) {
        if (!difference.differs)
            continue;
        if (onlyInOne(difference)) {
            table.row({printable(difference.track),
                       "only in " + printable(difference.first ? options.first.file : options.second), "", "", "", ""});
            continue;
        }
        char const* const unit = difference.kind == TrackDifference::swept ? " (fraction)" : " s";
        auto const keys = [&](std::size_t count) { return count > 0 ? std::to_string(count) : std::string(); };
        table.row({printable(difference.track), roundNumber(difference.from) + unit, amount(difference),
                   roundNumber(difference.at) + unit, keys(difference.keysBefore), keys(difference.keysAfter)});
    }
    if (!table.empty())
        table.write(out, styledOutput(STDOUT_FILENO));
}

void writeJson(std::ostream& out, std::vector<TrackDifference> const& differences, DiffOptions const& options)
{
    constexpr char const* kinds[] = {"only-first", "only-second", "time", "fraction"};
    auto const number = [](double value) { return std::isfinite(value) ? shortNumber(value) : std::string("null"); };
    bool const equal = std::ranges::none_of(differences, &TrackDifference::differs);
    out << "{\"first\":" << jsonString(options.first.file) << ",\"second\":" << jsonString(options.second)
        << ",\"equal\":" << (equal ? "true" : "false") << ",\"tracks\":[";
    char const* comma = "\n";
    for (TrackDifference const& difference : differences) {
        out << comma << "{\"track\":" << jsonString(difference.track) << ",\"over\":\"" << kinds[difference.kind] << '"'
            << ",\"differs\":" << (difference.differs ? "true" : "false");
        if (!onlyInOne(difference))
            out << ",\"allowed\":" << number(difference.allowed) << ",\"largest\":" << number(difference.largest)
                << ",\"at\":" << number(difference.at)
                << ",\"from\":" << (difference.differs ? number(difference.from) : "null")
                << ",\"keysBefore\":" << difference.keysBefore << ",\"keysAfter\":" << difference.keysAfter;
        out << '}';
        comma = ",\n";
    }
    out << "]}\n";
}

// Both curves of each track that differs, over each other.
void writePage(std::vector<TrackDifference> const& differences, DiffOptions const& options)
{
    auto const played = [](Track const* track) { return track != nullptr && !track->times.empty(); };
    std::vector<Curve> curves;
    for (TrackDifference const& difference : differences) {
        if (!difference.differs || (!played(difference.first) && !played(difference.second)))
            continue;
        bool const both = played(difference.first) && played(difference.second);
        Curve& curve = curves.emplace_back(Curve{played(difference.first) ? difference.first : difference.second, {}, {}});
        curve.place = both || curve.track == difference.first ? options.first.file : options.second;
        curve.second = both ? difference.second : nullptr;
        curve.secondName = options.second;
    }
    OutputFile file(options.html);
    writeHtml(file.stream(), curves, {options.first.file + " and " + options.second, "time (s)"});
    file.commit();
}

void diff(Session& session, DiffOptions const& options)
{
    if (options.first.file == "-" && options.second == "-")
        throw Failure(exitUsage, "diff: only one of the scenes can be standard input");
    Tolerance const tolerance(options.maxError);
    OpenedScene const first(session, options.first);
    OpenedScene const second(session, {options.second, options.first.limits}, first.settings); // one measure for both
    requireOwnFiles({options.html}, first);
    requireOwnFiles({options.html}, second);
    for (std::string const& name : tolerance.nodes())
        if (first.scene->find(name) == nullptr && second.scene->find(name) == nullptr)
            throw Failure(exitUsage, "--max-error: no node is named \"" + name + "\" in either scene");
    PlayedScene const a{*first.scene, record(*first.scene, options.time, first.settings, first.limits)};
    PlayedScene const b{*second.scene, record(*second.scene, options.time, second.settings, second.limits)};
    std::vector<TrackDifference> const differences = compareScenes(a, b, tolerance);

    OutputFile out("-");
    if (options.format == "json")
        writeJson(out.stream(), differences, options);
    else if (options.html != "-")
        writeText(out.stream(), differences, options);
    if (!options.html.empty())
        writePage(differences, options);
    out.commit();
    auto const differing = std::ranges::count_if(differences, &TrackDifference::differs);
    std::cerr << printable(options.first.file) << " and " << printable(options.second) << ": " << differing << " of "
              << differences.size() << " tracks differ\n";
    if (differing > 0)
        session.status = exitScene;
}

} // namespace

void addDiffCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<DiffOptions>();
    CLI::App& command = *app.add_subcommand("diff", "Compare what two scenes play, track by track, by value");
    addSceneOptions(command, options->first);
    command.add_option("second", options->second, "the scene to compare it with")->required()->option_text("SCENE");
    command
        .add_option("--max-error", options->maxError, "differences that do not count, as for reduce; for one node NODE=E (0)")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("E[,E...]");
    command.add_option("--format", options->format, "how to write the differences (text)")
        ->check(CLI::IsMember({"text", "json"}))
        ->option_text("text|json");
    command.add_option("--html", options->html, "the curves that differ, one over the other, as a page")->option_text("FILE");
    addTimeOptions(command, options->time);
    command.footer("Nodes are known by their DEF names. What nothing drives is compared over its fractions.\n"
                   "Exit status: 0 when nothing differs, 1 when something does.\n"
                   "Examples:\n"
                   "  zelvan-play diff door.x3d door-new.x3d --start-all\n"
                   "  zelvan-play diff walk.x3d walk-small.x3d --max-error 0.1%,1deg --format json");
    command.callback([&session, options] { diff(session, *options); });
}

} // namespace Zelvan::play
