#include "player/commands/Editing.h"

#include <CLI/CLI.hpp>

namespace Zelvan::play {

namespace {

struct ReduceOptions {
    SceneOptions scene;
    std::vector<std::string> maxError = {"0.1%", "1deg"};
    bool free = false;
    EditOptions edit;
};

void reduce(Session& session, ReduceOptions const& options)
{
    Tolerance const tolerance(options.maxError);
    OpenedScene const opened(session, options.scene);
    requireInterpolators(*opened.scene, tolerance);
    SceneEdits edits(*opened.scene, options.edit.inlined, opened.limits.bytes);
    std::vector<TrackChange> const changes = reduceScene(*opened.scene, edits, tolerance, options.free);
    writeEdits(edits, options.edit, opened);
    reportChanges(changes, options.edit, options.scene.file, "reduced");
    session.status = opened.status();
}

} // namespace

void addReduceCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<ReduceOptions>();
    CLI::App& command = *app.add_subcommand("reduce", "Take keys out of a scene that nobody will miss, within a stated error");
    addSceneOptions(command, options->scene);
    addErrorOptions(command, options->maxError, options->free);
    addEditOptions(command, options->edit);
    command.footer("The result is played against the original; what is reported is the largest error measured.\n"
                   "Examples:\n"
                   "  zelvan-play reduce walk.x3d --max-error 0.1%,1deg -o walk-small.x3d\n"
                   "  zelvan-play reduce walk.x3d --max-error 0.01 --max-error Hip=0.001 --write\n"
                   "  zelvan-play reduce walk.x3d --free --diff");
    command.callback([&session, options] { reduce(session, *options); });
}

} // namespace Zelvan::play
