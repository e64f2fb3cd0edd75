#include "player/commands/Editing.h"

#include "player/commands/Outputs.h"
#include "player/commands/Tables.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <numbers>
#include <unistd.h>

namespace Zelvan::play {

void addEditOptions(CLI::App& command, EditOptions& options)
{
    auto const group = [](CLI::Option* option) {
        option->group("Output");
        return option;
    };
    auto* const output = group(command.add_option("-o,--output", options.output, "the edited scene; \"-\" is standard output (-)"));
    output->option_text("FILE");
    auto* const write = group(command.add_flag("--write", options.write, "write over the scene itself: whole files, or nothing"));
    auto* const diff = group(command.add_flag("--diff", options.diff, "show the changes as a unified diff instead"));
    write->excludes(output);
    diff->excludes(output)->excludes(write);
    group(command.add_flag("--inlined", options.inlined, "edit the files that the scene includes, too"));
}

void addErrorOptions(CLI::App& command, std::vector<std::string>& maxError, bool& free)
{
    command.add_option("--max-error", maxError,
                       "how much a played value may be off: a number in its units, a share of the track's range, degrees for "
                       "rotations; for one node NODE=E (0.1%,1deg)")
        ->delimiter(',')->allow_extra_args(false)->option_text("E[,E...]")->group("Error");
    command.add_flag("--free", free, "let values move within the error, too: fewer keys on smooth curves")->group("Error");
}

void requireInterpolators(Scene& scene, Tolerance const& tolerance)
{
    for (std::string const& name : tolerance.nodes())
        if (SceneNode const* const node = scene.find(name); node == nullptr || !isInterpolator(*node))
            throw Failure(exitUsage, "--max-error: no interpolator is named \"" + name + '"');
}

void writeEdits(SceneEdits& edits, EditOptions const& options, OpenedScene const& opened)
{
    std::vector<AuthorFile const*> const changed = edits.changed();
    AuthorFile const& main = edits.main();
    if (options.diff) {
        OutputFile out("-");
        for (AuthorFile const* const file : changed)
            file->writeDiff(out.stream());
        return out.commit();
    }
    if (!options.write) {
        if (std::ranges::any_of(changed, [&](AuthorFile const* file) { return file != &main; }))
            throw Failure(exitUsage, "--inlined edits more than one file: that needs --write or --diff");
        std::string const output = options.output.empty() ? "-" : options.output;
        requireOwnFiles({output}, opened);
        OutputFile out(output);
        out.stream() << main.editedBytes();
        return out.commit();
    }
    std::vector<std::unique_ptr<OutputFile>> outputs;
    for (AuthorFile const* const file : changed) {
        file->requireUnchangedOnDisk();
        outputs.push_back(std::make_unique<OutputFile>(file->path()));
        outputs.back()->stream() << file->editedBytes();
        outputs.back()->stream().flush();
        outputs.back()->check();
    }
    for (auto const& output : outputs)
        output->commit();
}

void reportChanges(std::vector<TrackChange> const& changes, EditOptions const& options, std::string const& scene, char const* verb)
{
    bool const toOutput = options.write || (!options.output.empty() && options.output != "-");
    OutputFile file("-");
    std::ostream& out = toOutput ? file.stream() : std::cerr;
    auto const amount = [](TrackChange const& change, double value) {
        return change.angle ? roundNumber(value * 180 / std::numbers::pi, 3) + " deg" : roundNumber(value, 3);
    };
    Table table({"Interpolator", "Type", ">Keys", ">Now", ">Asked", ">Largest error", ">At", "Left as it is"});
    std::size_t before = 0, after = 0, edited = 0;
    for (TrackChange const& change : changes) {
        before += change.before;
        after += change.after;
        edited += change.after != change.before;
        bool const left = !change.left.empty();
        table.row({printable(change.node->name), change.node->typeName, std::to_string(change.before), std::to_string(change.after),
                   left ? "" : amount(change, change.asked), left ? "" : amount(change, change.measured.largest),
                   left ? "" : roundNumber(change.measured.fraction, 4), printable(change.left)});
    }
    if (!table.empty())
        table.write(out, styledOutput(toOutput ? STDOUT_FILENO : STDERR_FILENO));
    out << printable(scene) << ": " << edited << " of " << changes.size() << " interpolators " << verb << ", " << before << " keys before, "
        << after << " now";
    if (after > 0 && after < before)
        out << " (" << roundNumber(double(before) / double(after), 3) << " to 1)";
    out << '\n';
    file.commit();
}

} // namespace Zelvan::play
