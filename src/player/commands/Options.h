#pragma once

#include "player/playing/Clock.h"
#include "player/reading/SceneReader.h"

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}

namespace Zelvan::play {

// Options that several commands have. Each adds its options to a command.

/// Options of the commands that read one scene.
struct SceneOptions {
    std::string file;
    ReadLimits limits;
};
void addSceneOptions(CLI::App& command, SceneOptions& options);
void addLimitOptions(CLI::App& command, ReadLimits& limits);

/// Options of the commands that let time pass.
struct TimeOptions {
    Timing timing;
    std::optional<double> to, duration;
    std::vector<std::string> start, inject;
    bool startAll = false;
};
void addTimeOptions(CLI::App& command, TimeOptions& options);
inline constexpr double latestTime = 1e9; ///< seconds

/// --nodes: patterns of the names of the nodes that are shown; none shows all.
void addNodesOption(CLI::App& command, std::vector<std::string>& patterns);

/// Where a run or a sweep writes what it recorded; "" leaves one out, "-" is standard output.
struct OutputOptions {
    std::string csv, jsonLines, svg, png, html;
    bool pictures() const { return !svg.empty() || !png.empty() || !html.empty(); }
};
/// `axis` names what stands beside the values: "time", "fraction".
void addOutputOptions(CLI::App& command, OutputOptions& options, char const* axis);

/// Refuses what is no number or lies outside `low` to `high`, which the option's description states then.
CLI::Option* inRange(CLI::Option* option, double low, double high);
/// The whole text as a number; usage failure that names the option.
double parsedNumber(std::string const& text, std::string const& option);

} // namespace Zelvan::play
