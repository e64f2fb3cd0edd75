#include "player/commands/Editing.h"

#include <CLI/CLI.hpp>

namespace Zelvan::play {

void addReduceCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<KeysOptions>();
    CLI::App& command = *app.add_subcommand("reduce", "Take keys out of scenes that nobody will miss, within a stated error");
    addKeysOptions(command, *options);
    command.footer("The result is played against the original; what is reported is the largest error measured.\n"
                   "Examples:\n"
                   "  zelvan-play reduce walk.x3d --max-error 0.1%,1deg -o walk-small.x3d\n"
                   "  zelvan-play reduce walk.x3d --max-error 0.01 --max-error Hip=0.001 --write\n"
                   "  zelvan-play reduce walk.x3d --free --diff\n"
                   "  zelvan-play reduce scenes --write");
    command.callback([&session, options] {
        editKeys(session, "reduce", *options, "reduced",
                 [&](OpenedScene const& opened, SceneEdits& edits, Tolerance const& tolerance, std::string&) {
                     return reduceScene(*opened.scene, edits, tolerance, options->free);
                 });
    });
}

} // namespace Zelvan::play
