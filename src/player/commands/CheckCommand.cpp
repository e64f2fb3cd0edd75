#include "player/checking/Suppressions.h"
#include "player/commands/Checking.h"
#include "player/commands/Editing.h"
#include "player/commands/FindingFormats.h"
#include "player/commands/Inputs.h"
#include "player/commands/LogOutput.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/SceneJobs.h"
#include "player/commands/Tables.h"
#include "player/editing/Fixes.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>

namespace Zelvan::play {

namespace {

struct CheckCommandOptions {
    ScenesOptions scenes;
    std::vector<std::string> only, ignore, severities;
    std::optional<unsigned> perNode, perCode;
    std::optional<std::size_t> maxWarnings;
    std::string format, failOn;
    bool hints = false, codes = false, markdown = false;
    bool fix = false, unsafeFixes = false;
    EditOptions edit;
};

void requireCode(std::string const& code, char const* option)
{
    if (std::string const unknown = unknownCode(code); !unknown.empty())
        throw Failure(exitUsage, std::string(option) + ": " + unknown);
}

// What the command line says about a scene, over what its files of settings say.
void applyCommandLine(CheckCommandOptions const& options, Session const& session, Settings& settings)
{
    auto const set = [](auto& setting, auto const& value, char const* option) { setting = {value, option}; };
    if (!options.only.empty())
        set(settings.only, options.only, "--only");
    for (std::string const& code : options.ignore)
        settings.setSeverity(code, std::nullopt, "--ignore");
    for (std::string const& text : options.severities) {
        auto const equal = text.find('=');
        settings.setSeverity(text.substr(0, equal), *severityNamed(text.substr(equal + 1)), "--severity");
    }
    if (options.hints)
        set(settings.hints, true, "--hints");
    if (options.perNode)
        set(settings.perNode, *options.perNode, "--per-node");
    if (options.perCode)
        set(settings.perCode, *options.perCode, "--per-code");
    if (options.maxWarnings)
        set(settings.maxWarnings, std::optional(*options.maxWarnings), "--max-warnings");
    if (!options.format.empty())
        set(settings.format, options.format, "--format");
    if (session.strict)
        set(settings.strict, true, "--strict");
    if (!options.failOn.empty())
        set(settings.failOn, **severityNamed(options.failOn), "--fail-on");
    else if (settings.strict.value)
        set(settings.failOn, std::min(settings.failOn.value, Severity::warning), settings.strict.from.c_str());
}

void requireSense(CheckCommandOptions const& options)
{
    for (auto const& code : options.only)
        requireCode(code, "--only");
    for (auto const& code : options.ignore)
        requireCode(code, "--ignore");
    for (std::string const& text : options.severities) {
        auto const equal = text.find('=');
        requireCode(text.substr(0, equal), "--severity");
        if (equal == std::string::npos || !severityNamed(text.substr(equal + 1)))
            throw Failure(exitUsage, "--severity " + text + ": expected CODE=hint, note, warning, error or off");
    }
}

void requireFewWarnings(Session& session, Settings const& settings, std::size_t warnings)
{
    auto const& most = settings.maxWarnings.value;
    if (!most || warnings <= *most)
        return;
    std::cerr << "more than " << *most << (*most == 1 ? " warning\n" : " warnings\n");
    session.status = std::max(session.status, exitScene);
}

void writeCodes(std::ostream& out)
{
    Table table({"code", "severity", "fix", "title"});
    for (CheckCode const& code : checkCodes())
        table.row({code.code, severityName(code.severity), fixName(code.fix), code.title});
    table.write(out, styledOutput(STDOUT_FILENO));
}

/// Checks the scenes of one command.
class Check {
public:
    Check(Session& session, CheckCommandOptions const& options);
    void run();

private:
    Settings settingsOf(std::size_t number) const
    {
        Settings settings = _files.forScene(_scenes[number]);
        applyCommandLine(_options, _session, settings);
        return settings;
    }
    SceneResult answer(std::size_t number) const;
    SceneResult answerTo(CheckedFile const& checked, Settings const& settings) const;
    void take(std::size_t number, SceneResult const& result);

    Session& _session;
    CheckCommandOptions const& _options;
    std::vector<std::string> _scenes;
    SettingsFiles mutable _files; // which remembers those it has read
    Settings _first;              // what is one for all
    std::unique_ptr<FindingFormat> _format;
    std::unique_ptr<OutputFile> _out;
    FindingCounts _counts;
    bool _any = false, _fails = false;
};

Check::Check(Session& session, CheckCommandOptions const& options)
    : _session(session),
      _options(options),
      _scenes(scenesOf(options.scenes.named, "check")),
      _files(session.config, session.noConfig),
      _first(settingsOf(0))
{
    _files.readFor(_scenes);
    _format = findingFormat(_first.format.value, options.edit.output.empty() && styledOutput(STDOUT_FILENO));
}

// The counts are those of the findings, then whether one makes the status 1.
SceneResult Check::answerTo(CheckedFile const& checked, Settings const& settings) const
{
    SceneResult result;
    FindingCounts const counts = countsOf(checked.findings);
    for (auto const sum : FindingCounts::sums)
        result.counts.push_back(counts.*sum);
    result.counts.push_back(
        std::ranges::any_of(checked.findings, [&](Finding const& f) { return f.severity >= settings.failOn.value; }));
    result.status = checked.failed ? exitMachine : exitFine;
    result.out = _format->file(checked.findings, settings.checkOptions());
    return result;
}

SceneResult Check::answer(std::size_t number) const
{
    Settings const settings = settingsOf(number);
    std::string const& output = _options.edit.output;
    CheckedFile const checked =
        checkFile(_session, _scenes[number], _options.scenes.limits.over(settings), settings.checkOptions());
    if (!output.empty() && std::ranges::any_of(checked.files, [&](auto const& file) { return isSameFile(file, output); }))
        throw Failure(exitUsage, '"' + output + "\" is a file that a scene is made of and is not written over");
    return answerTo(checked, settings);
}

void Check::take(std::size_t number, SceneResult const& result)
{
    std::cerr << result.err;
    if (!result.failure.empty()) {
        CheckedFile failed{.findings = {}, .files = {}, .failed = true};
        Settings const settings = settingsOf(number);
        failed.findings = checkUnread({notChecked(_scenes[number], result.failure)}, settings.checkOptions());
        return take(number, answerTo(failed, settings));
    }
    if (!result.out.empty())
        _out->stream() << (std::exchange(_any, true) ? _format->separator() : "") << result.out;
    if (styledOutput(STDOUT_FILENO))
        _out->stream().flush(); // the progress that is shown comes behind it
    _out->check();
    ++_counts.files;
    auto count = result.counts.begin();
    for (auto const sum : FindingCounts::sums)
        _counts.*sum += *count++;
    _fails |= result.counts.back() != 0;
    _session.status = std::max(_session.status, result.status);
}

void Check::run()
{
    openPool(_session);
    if (!_options.edit.output.empty())
        for (std::string const& scene : _scenes)
            if (isSameFile(scene, _options.edit.output))
                throw Failure(exitUsage, '"' + _options.edit.output + "\" is the scene itself and is not written over");
    _out = std::make_unique<OutputFile>(_options.edit.output.empty() ? "-" : _options.edit.output);
    _format->begin(_out->stream());
    workOnScenes(
        _scenes, jobsOf(_options.scenes, _first), _session.logLevel, [this](std::size_t number) { return answer(number); },
        [this](std::size_t number, SceneResult const& result) { take(number, result); });
    _format->end(_out->stream(), _counts);
    _out->commit();

    std::cerr << shownName(_scenes) << ": " << countsText(_counts) << '\n';
    if (_fails)
        _session.status = std::max(_session.status, exitScene);
    requireFewWarnings(_session, _first, _counts.warnings);
}

void fix(Session& session, CheckCommandOptions const& options)
{
    SceneEditing editing(session, "check --fix", options.scenes, options.edit);
    if (!options.edit.write && !options.edit.diff && options.edit.output.empty())
        throw Failure(exitUsage, "--fix: where to? --write, --diff or -o FILE");
    auto const edit = [&](OpenedScene const& opened, SceneEdits& edits, SceneResult& result) {
        CheckOptions const checks = opened.settings.checkOptions();
        auto const play = [&](std::function<void(Scene&)> const& change, bool startAll) {
            ReaderFindings told;
            ScenePlay again{openScene(session, opened.file, opened.limits, told.diagnostics()), {}};
            change(*again.scene);
            TimeOptions time;
            time.startAll = startAll;
            again.tracks = record(*again.scene, time, opened.settings, opened.limits);
            return again;
        };
        result.counts = {0, 0};
        for (FixOutcome const& outcome : fixScene(*opened.scene, edits, checks, options.unsafeFixes, play)) {
            if (editing.several() && !options.edit.inlined && outcome.file != 0)
                continue; // it is told with that file
            result.counts[0] += outcome.done;
            result.err += (editing.several() ? printable(opened.file) + ": " : "") + printable(outcome.node) + ": "
                + outcome.code + (outcome.done ? " fixed" : " not fixed: " + printable(outcome.why)) + '\n';
        }
        // What is left, as check would tell it now.
        auto const left = checkWithSuppressions(*opened.scene, opened.findings, checks);
        result.err += findingFormat("text", false)->file(left, checks);
        result.counts[1] = countsOf(left).warnings;
        if (std::ranges::any_of(left, [&](Finding const& f) { return f.severity >= opened.settings.failOn.value; }))
            result.status = exitScene;
    };
    auto const adjust = [&](Settings& settings) { applyCommandLine(options, session, settings); };
    auto sums = editing.run(edit, adjust, OpenedScene::Checks::none);
    sums.resize(2);
    std::cerr << shownName(editing.scenes()) << ": " << sums[0] << " fixed\n";
    Settings first = SettingsFiles(session.config, session.noConfig).forScene(editing.scenes().front());
    adjust(first);
    requireFewWarnings(session, first, sums[1]);
}

void check(Session& session, CheckCommandOptions const& options)
{
    if (options.codes) {
        OutputFile out("-");
        if (options.markdown)
            writeCodesMarkdown(out.stream());
        else
            writeCodes(out.stream());
        return out.commit();
    }
    requireSense(options);
    if ((options.unsafeFixes || options.edit.write || options.edit.diff || options.edit.inlined) && !options.fix)
        throw Failure(exitUsage, "--unsafe-fixes, --write, --diff and --inlined go with --fix");
    if (options.fix)
        return fix(session, options);
    Check(session, options).run();
}

} // namespace

void addCheckCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<CheckCommandOptions>();
    CLI::App& command = *app.add_subcommand("check", "Tell what is wrong with the animation of scenes, and where");
    addScenesOptions(command, options->scenes);
    command.add_option("--format", options->format, "how to write the findings (text)")
        ->check(CLI::IsMember({"text", "json", "sarif", "github"}))
        ->option_text("text|json|sarif|github");
    // One value for each use of an option, so that the scene may follow it.
    auto const list = [&](char const* name, std::vector<std::string>& values, char const* what, char const* text) {
        auto* const option = command.add_option(name, values, what)->delimiter(',')->allow_extra_args(false);
        option->option_text(text)->group("Findings");
    };
    list("--only", options->only, "these codes only", "CODE[,CODE...]");
    list("--ignore", options->ignore, "leave these codes out", "CODE[,CODE...]");
    list("--severity", options->severities, "change a severity: hint, note, warning, error or off", "CODE=LEVEL");
    command.add_flag("--hints", options->hints, "show hints, too")->group("Findings");
    auto const count = [&](char const* name, auto& value, char const* what) {
        inRange(command.add_option(name, value, what), 0, 1e9)->option_text("N")->group("Findings");
    };
    count("--per-node", options->perNode, "findings per code and node, 0 for all (3)");
    count("--per-code", options->perCode, "lines per code and file, 0 for all (50)");
    command.add_option("--fail-on", options->failOn, "the least severity that makes the status 1 (error)")
        ->check(CLI::IsMember({"note", "warning", "error"}))
        ->option_text("note|warning|error")
        ->group("Findings");
    count("--max-warnings", options->maxWarnings, "more warnings than this make the status 1");
    command.add_flag("--fix", options->fix, "mend what can be mended without a change of what is played")->group("Fixes");
    command.add_flag("--unsafe-fixes", options->unsafeFixes, "with --fix: mend also what changes what is played")
        ->group("Fixes");
    addEditOptions(command, options->edit, "where the findings go, or with --fix the edited scene; \"-\" is standard output");
    auto* const codes = command.add_flag("--codes", options->codes, "list all codes, with their meaning");
    command.add_flag("--markdown", options->markdown, "the list as Markdown, with examples")->needs(codes);
    command.footer("Exit status: 1 when there is an error, or what --fail-on names; 3 when a file cannot be read.\n"
                   "Examples:\n"
                   "  zelvan-play check door.x3d\n"
                   "  zelvan-play check scenes --fail-on warning\n"
                   "  zelvan-play check --ignore idle-sensor --severity loop-jump=error door.x3d\n"
                   "  zelvan-play check scenes --format sarif -o findings.sarif\n"
                   "  zelvan-play check door.x3d --fix --unsafe-fixes --diff");
    command.callback([&session, options] { check(session, *options); });
}

} // namespace Zelvan::play
