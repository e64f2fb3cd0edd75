#pragma once

#include "player/checking/Check.h"
#include "player/reading/SceneReader.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zelvan::play {

/// A setting and where it comes from: "default", "zelvan-play.toml:3:1", "--ignore".
template <class Value>
struct Setting {
    Value value;
    std::string from = "default";
};

/// What holds for a scene: defaults, under what a file zelvan-play.toml says, under the command line. A severity that is
/// empty turns a code off.
struct Settings {
    Setting<std::vector<std::string>> only;                             ///< codes; none for all
    std::map<std::string, Setting<std::optional<Severity>>> severities; ///< of codes that have another than the usual one
    Setting<bool> hints{false}, strict{false};
    Setting<unsigned> perNode{3}, perCode{50};
    Setting<Severity> failOn{Severity::error};
    Setting<std::optional<std::size_t>> maxWarnings;
    Setting<std::string> format{"text"};
    Setting<unsigned> jobs{0}; ///< 0: as many as there are processors
    Setting<double> from{0}, fps{60};
    Setting<std::optional<double>> to;                  ///< none: one cycle
    Setting<std::string> root;                          ///< "" is the scene's own folder
    std::map<std::string, Setting<std::size_t>> limits; ///< those that are set, "max-bytes"

    void setSeverity(std::string const& code, std::optional<Severity> severity, std::string const& where)
    {
        severities[code] = {severity, where};
    }
    CheckOptions checkOptions() const;
    /// Those that are set replace what `limits` has.
    void apply(ReadLimits& limits) const;
};

/// Finds and reads the files that scenes' settings come from.
class SettingsFiles {
public:
    /// `explicitFile` takes the place of all others; with `none` there are only defaults.
    SettingsFiles(std::string explicitFile, bool none) : _explicit(std::move(explicitFile)), _none(none) {}

    /// From the file beside the scene or in the nearest folder above it, up to that of the repository (which has .git) or,
    /// outside of any, the current one. Throws Failure(exitUsage), with the place, for what a file must not say.
    Settings forScene(std::string const& scene);
    /// Reads the files of scenes ahead, so that what is wrong in one is known before any scene is worked on.
    void readFor(std::vector<std::string> const& scenes);

private:
    struct File;
    std::shared_ptr<File const> fileFor(std::filesystem::path const& folder);
    std::shared_ptr<File const> read(std::filesystem::path const& path);

    std::string _explicit;
    bool _none;
    std::map<std::filesystem::path, std::shared_ptr<File const>> _byFolder, _byPath;
};

/// "error" and the other names; "off" is none. Nothing where it is no level.
std::optional<std::optional<Severity>> severityNamed(std::string_view name);

} // namespace Zelvan::play
