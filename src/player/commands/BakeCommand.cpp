#include "player/commands/Editing.h"
#include "player/commands/Tables.h"
#include "player/editing/Bake.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>

namespace Zelvan::play {

namespace {

struct BakeCommandOptions {
    SceneOptions scene;
    std::vector<std::string> maxError = {"0.1%", "1deg"};
    std::optional<double> rate;
    bool free = false, atKeys = false, prune = false;
    EditOptions edit;
};

void bake(Session& session, BakeCommandOptions const& options)
{
    if (options.rate && !(*options.rate > 0 && std::isfinite(*options.rate)))
        throw Failure(exitUsage, "--rate: expected a number above 0");
    BakeOptions const what{Tolerance(options.maxError), options.free, options.atKeys, options.rate, options.prune};
    OpenedScene const opened(session, options.scene);
    requireInterpolators(*opened.scene, what.tolerance);
    SceneEdits edits(*opened.scene, options.edit.inlined, opened.limits.bytes);
    BakeResult const result = bakeScene(*opened.scene, edits, what);
    writeEdits(edits, options.edit, opened);
    reportChanges(result.changes, options.edit, options.scene.file, "baked");
    for (std::string const& name : result.idle)
        std::cerr << printable(name) << (options.prune ? " was taken out: nothing depends on it\n" : ": nothing depends on it any more (--prune takes it out)\n");
    session.status = opened.status();
}

} // namespace

void addBakeCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<BakeCommandOptions>();
    CLI::App& command = *app.add_subcommand("bake", "Turn splines and eased chains of a scene into plain linear keys");
    addSceneOptions(command, options->scene);
    addErrorOptions(command, options->maxError, options->free);
    auto* const rate = command.add_option("--rate", options->rate, "this many keys per second of the sensor's cycle instead");
    rate->option_text("N")->group("Error");
    command.add_flag("--at-keys", options->atKeys, "keys only where the curve had some")->group("Error")->excludes(rate);
    addEditOptions(command, options->edit);
    command.add_flag("--prune", options->prune, "take out what nothing depends on afterwards")->group("Output");
    command.footer("The result is played against the curves; what is reported is the largest error measured.\n"
                   "Examples:\n"
                   "  zelvan-play bake flight.x3d --max-error 0.1%,1deg -o plain.x3d\n"
                   "  zelvan-play bake flight.x3d --rate 25 --prune --write");
    command.callback([&session, options] { bake(session, *options); });
}

} // namespace Zelvan::play
