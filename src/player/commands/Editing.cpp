#include "player/commands/Editing.h"

#include "player/commands/Inputs.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Outputs.h"
#include "player/commands/Tables.h"
#include "player/editing/Proof.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <numbers>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Zelvan::play {

void addEditOptions(CLI::App& command, EditOptions& options, char const* outputIs)
{
    auto const group = [](CLI::Option* option) {
        option->group("Output");
        return option;
    };
    auto* const output = group(command.add_option("-o,--output", options.output, outputIs));
    output->option_text("FILE");
    auto* const write =
        group(command.add_flag("--write", options.write, "write over the scene itself: whole files, or nothing"));
    auto* const diff = group(command.add_flag("--diff", options.diff, "show the changes as a unified diff instead"));
    write->excludes(output);
    diff->excludes(output)->excludes(write);
    group(command.add_flag("--inlined", options.inlined, "edit the files that the scene includes, too"));
}

void addKeysOptions(CLI::App& command, KeysOptions& options)
{
    addScenesOptions(command, options.scenes);
    command.get_option("scene")->description("X3D or VRML files, folders of them"); // not standard input
    command
        .add_option("--max-error", options.maxError,
                    "how much a played value may be off: a number in its units, a share of the track's range, degrees for "
                    "rotations; for one node NODE=E (0.1%,1deg)")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("E[,E...]")
        ->group("Error");
    command.add_flag("--free", options.free, "let values move within the error, too: fewer keys on smooth curves")
        ->group("Error");
    addEditOptions(command, options.edit);
}

namespace {

// The same file once: it would be edited twice at a time.
std::vector<std::string> distinct(std::vector<std::string> scenes)
{
    std::set<std::pair<dev_t, ino_t>> known;
    std::erase_if(scenes, [&](std::string const& scene) {
        struct stat status;
        return scene != "-" && ::stat(scene.c_str(), &status) == 0 && !known.emplace(status.st_dev, status.st_ino).second;
    });
    return scenes;
}

struct KeyCounts {
    std::size_t interpolators = 0, edited = 0, before = 0, after = 0;
};

std::string tableOf(std::vector<TrackChange> const& changes, int descriptor)
{
    auto const amount = [](TrackChange const& change, double value) {
        return change.angle ? roundNumber(value * 180 / std::numbers::pi, 3) + " deg" : roundNumber(value, 3);
    };
    Table table({"Interpolator", "Type", ">Keys", ">Now", ">Asked", ">Largest error", ">At", "Left as it is"});
    for (TrackChange const& change : changes) {
        bool const left = !change.left.empty();
        table.row({printable(change.node->name), change.node->typeName, std::to_string(change.before),
                   std::to_string(change.after), left || std::isinf(change.asked) ? "" : amount(change, change.asked),
                   left ? "" : amount(change, change.measured.largest), left ? "" : roundNumber(change.measured.fraction, 4),
                   printable(change.left)});
    }
    std::ostringstream out;
    out.exceptions(std::ios::badbit);
    if (!table.empty())
        table.write(out, styledOutput(descriptor));
    return std::move(out).str();
}

std::string lineOf(KeyCounts const& counts, std::string const& name, char const* verb)
{
    std::string const ratio = counts.after > 0 && counts.after < counts.before
        ? " (" + roundNumber(double(counts.before) / double(counts.after), 3) + " to 1)"
        : "";
    return name + ": " + std::to_string(counts.edited) + " of " + std::to_string(counts.interpolators) + " interpolators "
        + verb + ", " + std::to_string(counts.before) + " keys before, " + std::to_string(counts.after) + " now" + ratio + '\n';
}

} // namespace

SceneEditing::SceneEditing(Session& session, std::string const& command, ScenesOptions const& scenes,
                           EditOptions const& options)
    : _session(session), _named(scenes), _options(options), _scenes(distinct(scenesOf(scenes.named, command)))
{
    if (!several())
        return;
    if (!options.write && !options.diff)
        throw Failure(exitUsage,
                      command + ": " + shownName(_scenes)
                          + " do not go into one: --write edits them where they are, --diff "
                            "shows the changes");
    if (std::ranges::find(_scenes, "-") != _scenes.end())
        throw Failure(exitUsage, "standard input is not edited: name a file");
}

bool SceneEditing::tellsOnOutput() const
{
    return _options.write || (!_options.output.empty() && _options.output != "-");
}

void SceneEditing::write(SceneEdits& edits, OpenedScene const& opened, std::string& out) const
{
    std::vector<AuthorFile const*> const changed = edits.changed();
    if (_edited.empty())
        edits.main(); // what is not to be edited is said
    if (_options.inlined && several())
        for (AuthorFile const* const file : changed)
            _edited.insert(std::filesystem::weakly_canonical(file->path()));
    if (std::string const other = unintended(*opened.scene, edits, opened.limits); !other.empty())
        throw Failure(exitScene, opened.file + " is not edited: read again, " + other);
    if (_options.diff) {
        std::ostringstream diff;
        diff.exceptions(std::ios::badbit);
        for (AuthorFile const* const file : changed)
            file->writeDiff(diff);
        out += std::move(diff).str();
        return;
    }
    if (!_options.write) {
        AuthorFile const& main = edits.main();
        if (std::ranges::any_of(changed, [&](AuthorFile const* file) { return file != &main; }))
            throw Failure(exitUsage, "--inlined edits more than one file: that needs --write or --diff");
        std::string const output = _options.output.empty() ? "-" : _options.output;
        requireOwnFiles({output}, opened);
        OutputFile file(output);
        file.stream() << main.editedBytes();
        return file.commit();
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

std::vector<std::size_t> SceneEditing::run(Edit const& edit, std::function<void(Settings&)> const& adjust,
                                           OpenedScene::Checks checks)
{
    SettingsFiles files(_session.config, _session.noConfig);
    files.readFor(_scenes);
    // Two scenes may include the same file.
    unsigned const jobs = _options.inlined ? 1 : jobsOf(_named, files.forScene(_scenes.front()));
    openPool(_session);
    auto const work = [&](std::size_t number) {
        Settings settings = files.forScene(_scenes[number]);
        adjust(settings);
        SceneResult result;
        OpenedScene const opened(_session, {_scenes[number], _named.limits}, std::move(settings), checks);
        // A second edit of a file that two scenes include would add its error to that of the first.
        SceneEdits edits(*opened.scene, _options.inlined, opened.limits.bytes, _edited);
        result.status = opened.status();
        edit(opened, edits, result);
        write(edits, opened, result.out);
        return result;
    };
    OutputFile out("-");
    std::vector<std::size_t> sums;
    workOnScenes(_scenes, jobs, _session.logLevel, work, [&](std::size_t number, SceneResult const& result) {
        out.stream() << result.out << std::flush;
        out.check();
        std::cerr << result.err;
        std::string const& name = _scenes[number];
        if (!result.failure.empty())
            std::cerr << "zelvan-play: " << printable((result.failure.starts_with(name) ? "" : name + ": ") + result.failure)
                      << '\n';
        sums.resize(std::max(sums.size(), result.counts.size()));
        for (std::size_t i = 0; i < result.counts.size(); ++i)
            sums[i] += result.counts[i];
        _session.status = std::max(_session.status, result.status);
    });
    out.commit();
    return sums;
}

void editKeys(
    Session& session, std::string const& command, KeysOptions const& options, char const* verb,
    std::function<std::vector<TrackChange>(OpenedScene const&, SceneEdits&, Tolerance const&, std::string& notes)> const& edit)
{
    Tolerance const tolerance(options.maxError, {"0.1%", "1deg"});
    std::vector<std::string> const names = tolerance.nodes();
    SceneEditing editing(session, command, options.scenes, options.edit);
    auto const requireInterpolator = [](bool is, std::string const& name) {
        if (!is)
            throw Failure(exitUsage, "--max-error: no interpolator is named \"" + name + '"');
    };
    bool const toOutput = editing.tellsOnOutput();
    std::vector<std::size_t> sums = editing.run([&](OpenedScene const& opened, SceneEdits& edits, SceneResult& result) {
        std::vector<std::size_t> named;
        for (std::string const& name : names) {
            SceneNode const* const node = opened.scene->find(name);
            named.push_back(node != nullptr && isInterpolator(*node));
            if (!editing.several())
                requireInterpolator(named.back(), name);
        }
        std::string notes;
        std::vector<TrackChange> changes = edit(opened, edits, tolerance, notes);
        if (editing.several() && !options.edit.inlined) // what stands in another file is told with that one
            std::erase_if(changes, [&](TrackChange const& change) {
                auto const places = edits.placesOf(*change.node);
                return places && places->keys.file != 0;
            });
        KeyCounts counts{changes.size()};
        for (TrackChange const& change : changes) {
            counts.before += change.before;
            counts.after += change.after;
            counts.edited += change.edited;
        }
        if (!editing.several() || counts.edited > 0)
            (toOutput ? result.out : result.err) +=
                tableOf(changes, toOutput ? STDOUT_FILENO : STDERR_FILENO) + lineOf(counts, printable(opened.file), verb);
        result.err += notes;
        result.counts = {counts.interpolators, counts.edited, counts.before, counts.after};
        result.counts.insert(result.counts.end(), named.begin(), named.end());
    });
    if (!editing.several())
        return;
    sums.resize(4 + names.size());
    std::string const sum = lineOf({sums[0], sums[1], sums[2], sums[3]}, shownName(editing.scenes()), verb);
    if (toOutput) {
        OutputFile out("-");
        out.stream() << sum;
        out.commit();
    } else {
        std::cerr << sum << std::flush;
    }
    for (std::size_t i = 0; i < names.size(); ++i)
        requireInterpolator(sums[4 + i] > 0, names[i]);
}

} // namespace Zelvan::play
