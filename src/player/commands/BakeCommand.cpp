#include "player/commands/Editing.h"
#include "player/commands/Report.h"
#include "player/editing/Bake.h"

#include <CLI/CLI.hpp>
#include <cmath>

namespace Zelvan::play {

namespace {

struct BakeCommandOptions : KeysOptions {
    std::optional<double> rate;
    bool atKeys = false, prune = false;
};

void bake(Session& session, BakeCommandOptions const& options)
{
    if (options.rate && !(*options.rate > 0 && std::isfinite(*options.rate)))
        throw Failure(exitUsage, "--rate: expected a number above 0");
    auto const edit = [&](OpenedScene const& opened, SceneEdits& edits, Tolerance const& tolerance, std::string& notes) {
        BakeResult result =
            bakeScene(*opened.scene, edits, {tolerance, options.free, options.atKeys, options.rate, options.prune});
        for (std::string& name : result.idle)
            name += options.prune ? " was taken out: nothing depends on it"
                                  : ": nothing depends on it any more (with --prune it would have been taken out)";
        notes += firstOf(result.idle, shownRows, "EaseInEaseOut");
        return std::move(result.changes);
    };
    editKeys(session, "bake", options, "baked", edit);
}

} // namespace

void addBakeCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<BakeCommandOptions>();
    CLI::App& command = *app.add_subcommand("bake", "Turn splines and eased chains of scenes into plain linear keys");
    addKeysOptions(command, *options);
    auto* const rate = command.add_option("--rate", options->rate, "this many keys per second of the sensor's cycle instead");
    rate->option_text("N")->group("Error");
    command.add_flag("--at-keys", options->atKeys, "keys only where the curve had some")->group("Error")->excludes(rate);
    command.add_flag("--prune", options->prune, "take out what nothing depends on afterwards")->group("Output");
    command.footer("The result is played against the curves; what is reported is the largest error measured.\n"
                   "Examples:\n"
                   "  zelvan-play bake flight.x3d --max-error 0.1%,1deg -o plain.x3d\n"
                   "  zelvan-play bake flight.x3d --rate 25 --prune --write");
    command.callback([&session, options] { bake(session, *options); });
}

} // namespace Zelvan::play
