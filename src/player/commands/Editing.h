#pragma once

#include "player/commands/Playing.h"
#include "player/commands/SceneJobs.h"
#include "player/editing/Reduce.h"

#include <functional>
#include <set>

namespace Zelvan::play {

/// Where edited scenes go.
struct EditOptions {
    std::string output; ///< a file; "" and "-" are standard output
    bool write = false, diff = false, inlined = false;
};
/// `outputIs` describes --output.
void addEditOptions(CLI::App& command, EditOptions& options,
                    char const* outputIs = "the edited scene; \"-\" is standard output (-)");

/// A command that edits scenes, one or many.
class SceneEditing {
public:
    /// Throws Failure(exitUsage) where many scenes were to go into one output.
    SceneEditing(Session& session, std::string const& command, ScenesOptions const& scenes, EditOptions const& options);

    std::vector<std::string> const& scenes() const { return _scenes; }
    bool several() const { return _scenes.size() > 1; }
    /// Whether standard output is for what is told, since the scenes go elsewhere.
    bool tellsOnOutput() const;

    /// Opens each scene, with the settings that `adjust` has had, calls `edit`, which changes it and tells in the result
    /// what it did, and writes it: whole files, or nothing. Returns the sums of the results' counts. One scene that fails
    /// does not stop the others; the session's status tells.
    using Edit = std::function<void(OpenedScene const&, SceneEdits&, SceneResult&)>;
    std::vector<std::size_t> run(
        Edit const& edit, std::function<void(Settings&)> const& adjust = [](Settings&) {},
        OpenedScene::Checks checks = OpenedScene::Checks::errors);

private:
    void write(SceneEdits& edits, OpenedScene const& opened, std::string& out) const;

    Session& _session;
    ScenesOptions const& _named;
    EditOptions const& _options;
    std::vector<std::string> _scenes;
    std::set<std::string> mutable _edited; ///< files that several scenes may include, canonical paths
};

/// What commands have that give interpolators other keys.
struct KeysOptions {
    ScenesOptions scenes;
    std::vector<std::string> maxError;
    bool free = false;
    EditOptions edit;
};
void addKeysOptions(CLI::App& command, KeysOptions& options);

/// Edits scenes, and reports: a table of what became of each interpolator and one line for all of them; of many scenes
/// tables of those that have changed, and one line for all. `verb` says what was done, the edit's `notes` what else.
void editKeys(
    Session& session, std::string const& command, KeysOptions const& options, char const* verb,
    std::function<std::vector<TrackChange>(OpenedScene const&, SceneEdits&, Tolerance const&, std::string& notes)> const& edit);

} // namespace Zelvan::play
