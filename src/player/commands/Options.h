#pragma once

#include "player/playing/Clock.h"
#include "player/reading/SceneReader.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Zelvan::play {

// Options that several commands have. Each adds its options to a command.

struct Settings;

/// A limit as option and as setting.
struct LimitOption {
    char const* name; ///< "max-bytes"
    double most;      ///< the least is 1
    char const* what;
    std::size_t (*get)(ReadLimits const& limits);
    void (*set)(ReadLimits& limits, std::size_t value);
};
std::vector<LimitOption> const& limitOptions();

/// The limits that the command line sets.
struct LimitOptions {
    std::map<std::string, std::size_t> given; ///< by name
    std::string root;                         ///< the folder that files may be read from; "" leaves it to the settings
    /// Those over what the settings say, over the usual ones.
    ReadLimits over(Settings const& settings) const;
};
void addLimitOptions(CLI::App& command, LimitOptions& limits);

/// Options of the commands that read one scene.
struct SceneOptions {
    std::string file;
    LimitOptions limits;
};
void addSceneOptions(CLI::App& command, SceneOptions& options);

/// Options of the commands that take any number of scenes.
struct ScenesOptions {
    std::vector<std::string> named; ///< files and folders
    LimitOptions limits;
    std::optional<unsigned> jobs;
};
void addScenesOptions(CLI::App& command, ScenesOptions& options);
/// How many processes are to work: what is asked for, over what the settings say.
unsigned jobsOf(ScenesOptions const& options, Settings const& settings);

/// Options of the commands that let time pass.
struct TimeOptions {
    std::optional<double> from, to, duration, fps;
    std::vector<double> at;
    std::vector<std::string> start, inject;
    bool startAll = false;
    std::optional<double> now; ///< seconds since 1970 at the opening
};
/// Those that options of a command may exclude.
struct TimeOptionHandles {
    CLI::Option *fps, *at;
};
TimeOptionHandles addTimeOptions(CLI::App& command, TimeOptions& options);
inline constexpr double latestTime = 1e9; ///< seconds
inline constexpr double leastFps = 1e-3, mostFps = 1e6;
inline constexpr double mostJobs = 1000;

/// --nodes: patterns of the names of the nodes that are shown; none shows all.
void addNodesOption(CLI::App& command, std::vector<std::string>& patterns);

/// Where a run or a sweep writes what it recorded; "" leaves one out, "-" is standard output.
struct OutputOptions {
    std::string csv, jsonLines, svg, png, html;
    bool scene = false; ///< in the page
    bool pictures() const { return !svg.empty() || !png.empty() || !html.empty(); }
};
/// --scene: the scene itself in the page.
void addSceneInPageOption(CLI::App& command, OutputOptions& options, CLI::Option* page);
/// `axis` names what stands beside the values: "time", "fraction". Gives --html, which other options may need.
CLI::Option* addOutputOptions(CLI::App& command, OutputOptions& options, char const* axis);

/// Refuses what is no number or lies outside `low` to `high`, which the option's description states then.
CLI::Option* inRange(CLI::Option* option, double low, double high);
/// The whole text as a number; usage failure that names the option.
double parsedNumber(std::string const& text, std::string const& option);

} // namespace Zelvan::play
