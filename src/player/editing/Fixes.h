#pragma once

#include "player/checking/Check.h"
#include "player/editing/SceneEdits.h"

namespace Zelvan::play {

/// What was done about the findings of one code at one node, or why nothing was.
struct FixOutcome {
    std::string code, node;
    bool done = false;
    std::string why; ///< it was not done
};

/// Mends what `findings` say of a scene, as the table of codes describes, and writes it into its edits: the safe fixes,
/// with `unsafe` all. Nodes take the mended values at once; `check` is asked anew until nothing is left that can be mended.
/// A node whose safe fixes change a single bit of what it plays, at its keys and densely in between, stays as it is.
std::vector<FixOutcome> fixScene(Scene& scene, SceneEdits& edits, std::vector<Finding> findings, CheckOptions const& options, bool unsafe);

/// Whether a finding can be fixed, and how safely: what its code allows, as far as this one is of that kind.
Fix fixOf(Finding const& finding);

} // namespace Zelvan::play
