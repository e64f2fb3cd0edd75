#pragma once

#include "player/commands/Playing.h"
#include "player/editing/Reduce.h"

namespace Zelvan::play {

/// Where the edited scene goes.
struct EditOptions {
    std::string output; ///< a file; "" and "-" are standard output
    bool write = false, diff = false, inlined = false;
};
void addEditOptions(CLI::App& command, EditOptions& options);

/// --max-error and --free.
void addErrorOptions(CLI::App& command, std::vector<std::string>& maxError, bool& free);
/// Usage failure when a tolerance names what is no interpolator of the scene.
void requireInterpolators(Scene& scene, Tolerance const& tolerance);

/// Writes what has been edited: whole files, or nothing. Throws Failure where a file has changed in the meantime, and for
/// edits of several files that only --write and --diff can take.
void writeEdits(SceneEdits& edits, EditOptions const& options, OpenedScene const& opened);

/// A table of what became of each interpolator, and one line for all of them; on standard error where standard output
/// takes something else.
void reportChanges(std::vector<TrackChange> const& changes, EditOptions const& options, std::string const& scene, char const* verb);

} // namespace Zelvan::play
