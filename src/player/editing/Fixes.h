#pragma once

#include "player/checking/Check.h"
#include "player/editing/SceneEdits.h"
#include "player/playing/Recording.h"

#include <functional>
#include <memory>

namespace Zelvan::play {

/// What was done about the findings of one code at one node, or why nothing was.
struct FixOutcome {
    std::string code, node;
    bool done = false;
    std::string why;        ///< it was not done
    std::uint32_t file = 0; ///< of the scene, that its keys stand in
};

/// A scene that was read anew and played.
struct ScenePlay {
    std::unique_ptr<Scene> scene;
    std::vector<Track> tracks; ///< with their samples
};
/// Reads the scene anew, lets `change` have it and plays it: as it opens, or with all sensors started.
using PlayAnew = std::function<ScenePlay(std::function<void(Scene&)> const& change, bool startAll)>;

/// Mends what check says of a scene with these options, as the table of codes describes, and writes it into its edits: the
/// safe fixes, shown or not, with `unsafe` all of what it shows. Nodes take the mended values at once; check is asked anew
/// until nothing is left that can be mended. A node whose safe fixes change a single bit of what it plays, at its keys and
/// densely in between, stays as it is; and where the scene as a whole sends a single other event, all of it does.
std::vector<FixOutcome> fixScene(Scene& scene, SceneEdits& edits, CheckOptions const& options, bool unsafe,
                                 PlayAnew const& play);

/// Whether a finding is of a kind that can be fixed, and how safely.
Fix fixOf(Finding const& finding);

/// Finds out which of the findings of a scene can be fixed, and by what changes; the scene stays as it is. `options` are
/// those it was checked with.
void proposeFixes(Scene& scene, std::vector<Finding>& findings, CheckOptions const& options, std::size_t mostBytes);

} // namespace Zelvan::play
