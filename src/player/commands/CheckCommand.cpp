#include "player/checking/Suppressions.h"
#include "player/commands/Checking.h"
#include "player/commands/Editing.h"
#include "player/commands/FindingFormats.h"
#include "player/commands/Inputs.h"
#include "player/commands/LogOutput.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Outputs.h"
#include "player/commands/Playing.h"
#include "player/commands/Processes.h"
#include "player/commands/Tables.h"
#include "player/editing/Fixes.h"
#include "player/scene/DidYouMean.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Zelvan::play {

namespace {

struct CheckCommandOptions {
    std::vector<std::string> scenes;
    LimitOptions limits;
    std::vector<std::string> only, ignore, severities;
    std::optional<unsigned> perNode, perCode, jobs;
    std::optional<std::size_t> maxWarnings;
    std::string format, failOn;
    bool hints = false, codes = false, markdown = false;
    bool fix = false, unsafeFixes = false;
    EditOptions edit;
};

void requireCode(std::string const& code, char const* option)
{
    DidYouMean meant(code);
    std::string known;
    for (CheckCode const& c : checkCodes()) {
        if (code == c.code)
            return;
        meant.offer(c.code);
        known += (known.empty() ? "; there are: " : ", ") + std::string(c.code);
    }
    throw Failure(exitUsage,
                  std::string(option) + ": there is no code \"" + code + '"' + (meant.nearest().empty() ? known : meant.text()));
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
    if (options.jobs)
        set(settings.jobs, *options.jobs, "--jobs");
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

void writeCodes(std::ostream& out)
{
    Table table({"code", "severity", "fix", "title"});
    for (CheckCode const& code : checkCodes())
        table.row({code.code, severityName(code.severity), fixName(code.fix), code.title});
    table.write(out, styledOutput(STDOUT_FILENO));
}

// What the process that checked a file tells: numbers, then what goes to standard error, then the findings as text.
struct Answer {
    FindingCounts counts;
    bool failed = false, fails = false, touchesOutput = false;
    std::string errors, text;

    std::string written() const
    {
        std::ostringstream out;
        out.exceptions(std::ios::badbit);
        out << counts.errors << ' ' << counts.warnings << ' ' << counts.notes << ' ' << counts.hints << ' ' << counts.fixable << ' '
            << failed << ' ' << fails << ' ' << touchesOutput << ' ' << errors.size() << '\n' << errors << text;
        return std::move(out).str();
    }
    static Answer read(std::string const& text)
    {
        Answer answer;
        std::istringstream in(text);
        std::size_t size = 0;
        in >> answer.counts.errors >> answer.counts.warnings >> answer.counts.notes >> answer.counts.hints
            >> answer.counts.fixable >> answer.failed >> answer.fails >> answer.touchesOutput >> size;
        std::size_t const body = text.find('\n') + 1;
        answer.errors = text.substr(body, size);
        answer.text = text.substr(body + size);
        return answer;
    }
};

/// Checks the scenes of one command.
class Check {
public:
    Check(Session& session, CheckCommandOptions const& options)
        : _session(session), _options(options), _scenes(scenesOf(options.scenes))
    {
        if (_scenes.empty()) // a pipeline that looks into the wrong folder must not pass
            throw Failure(exitUsage, "check: there is no scene in \"" + options.scenes.front() + '"');
        SettingsFiles files(session.config, session.noConfig);
        for (std::string const& scene : _scenes)
            applyCommandLine(options, session, _settings.emplace_back(files.forScene(scene)));
        Settings const& first = _settings.front(); // what is one for all
        _jobs = first.jobs.value != 0 ? first.jobs.value : std::max(1u, std::thread::hardware_concurrency());
        _format = findingFormat(first.format.value, options.edit.output.empty() && styledOutput(STDOUT_FILENO));
    }
    void run();

private:
    Answer answer(std::size_t number) const;
    Answer answerTo(CheckedFile const& checked, std::size_t number) const;
    void take(Answer const& answer);

    Session& _session;
    CheckCommandOptions const& _options;
    std::vector<std::string> _scenes;
    std::vector<Settings> _settings;
    unsigned _jobs = 1;
    std::unique_ptr<FindingFormat> _format;
    std::unique_ptr<OutputFile> _out;
    FindingCounts _counts;
    bool _any = false, _failed = false, _fails = false;
};

Answer Check::answerTo(CheckedFile const& checked, std::size_t number) const
{
    Settings const& settings = _settings[number];
    Answer answer;
    answer.counts = countsOf(checked.findings);
    answer.failed = checked.failed;
    answer.fails = std::ranges::any_of(checked.findings, [&](Finding const& f) { return f.severity >= settings.failOn.value; });
    answer.text = _format->file(checked.findings, settings.checkOptions());
    return answer;
}

Answer Check::answer(std::size_t number) const
{
    Settings const& settings = _settings[number];
    CheckedFile const checked =
        checkFile(_session, _scenes[number], _options.limits.over(settings), settings.checkOptions());
    Answer answer = answerTo(checked, number);
    if (!_options.edit.output.empty())
        answer.touchesOutput = std::ranges::any_of(checked.files, [&](auto const& file) { return isSameFile(file, _options.edit.output); });
    return answer;
}

void Check::take(Answer const& answer)
{
    std::cerr << answer.errors;
    if (answer.touchesOutput)
        throw Failure(exitUsage, '"' + _options.edit.output + "\" is a file that a scene is made of and is not written over");
    if (!answer.text.empty())
        _out->stream() << (std::exchange(_any, true) ? _format->separator() : "") << answer.text;
    _out->check();
    ++_counts.files;
    _counts.errors += answer.counts.errors;
    _counts.warnings += answer.counts.warnings;
    _counts.notes += answer.counts.notes;
    _counts.hints += answer.counts.hints;
    _counts.fixable += answer.counts.fixable;
    _failed |= answer.failed;
    _fails |= answer.fails;
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
    Progress progress;
    if (_scenes.size() == 1) {
        take(answer(0));
    } else {
        // What a file logs stands together, whoever checks the next one.
        auto const work = [this](std::size_t number) {
            forgetShown(_session.logLevel);
            std::ostringstream errors;
            errors.exceptions(std::ios::badbit);
            std::streambuf* const usual = std::cerr.rdbuf(errors.rdbuf());
            Answer result = answer(number);
            std::cerr.rdbuf(usual);
            result.errors = std::move(errors).str();
            return result.written();
        };
        inProcesses(_scenes.size(), _jobs, work, [&](std::size_t number, std::string const& text, std::string const& death) {
            progress.show([&] { return std::to_string(number) + " of " + std::to_string(_scenes.size()) + " files"; });
            CheckedFile dead;
            if (!death.empty())
                dead.findings = checkUnread({notChecked(_scenes[number], "the process that checked it ended " + death)},
                                            _settings[number].checkOptions());
            take(death.empty() ? Answer::read(text) : answerTo(dead, number));
        });
    }
    progress.end();
    _format->end(_out->stream(), _counts);
    _out->commit();

    std::string const name = _scenes.size() != 1 ? std::to_string(_scenes.size()) + " files"
        : _scenes.front() == "-"                 ? "<stdin>"
                                                 : printable(_scenes.front());
    std::cerr << name << ": " << countsText(_counts) << '\n';
    auto const& most = _settings.front().maxWarnings.value;
    if (most && _counts.warnings > *most)
        std::cerr << "more than " << *most << (*most == 1 ? " warning\n" : " warnings\n");
    if (_failed)
        _session.status = exitMachine;
    else if (_fails || (most && _counts.warnings > *most))
        _session.status = exitScene;
}

// One scene after the other; one that cannot be mended does not stop the others.
void fix(Session& session, CheckCommandOptions const& options)
{
    std::vector<std::string> const scenes = scenesOf(options.scenes);
    if (!options.edit.write && !options.edit.diff && (options.edit.output.empty() || scenes.size() != 1))
        throw Failure(exitUsage, scenes.size() != 1 ? "--fix: of several scenes, --write or --diff" : "--fix: where to? --write, --diff or -o FILE");
    SettingsFiles files(session.config, session.noConfig);
    std::size_t all = 0;
    for (std::string const& file : scenes) {
        Settings settings = files.forScene(file);
        applyCommandLine(options, session, settings);
        CheckOptions everything = settings.checkOptions(); // also what is not shown
        everything.perNode = 0;
        everything.hints = true;
        try {
            OpenedScene const opened(session, {file, options.limits});
            ReaderFindings none;
            SceneEdits edits(*opened.scene, options.edit.inlined, opened.limits.bytes);
            auto const findings = checkWithSuppressions(*opened.scene, none.take(), everything);
            std::vector<FixOutcome> const outcomes = fixScene(*opened.scene, edits, findings, everything, options.unsafeFixes);
            writeEdits(edits, options.edit, opened);
            for (FixOutcome const& outcome : outcomes) {
                all += outcome.done;
                std::cerr << printable(outcome.node) << ": " << outcome.code
                          << (outcome.done ? " fixed" : " not fixed: " + printable(outcome.why)) << '\n';
            }
        } catch (Failure const& failure) {
            if (scenes.size() == 1 || failure.status() == exitUsage)
                throw;
            std::cerr << "zelvan-play: " << printable(failure.what()) << '\n';
            session.status = std::max(session.status, failure.status());
        }
    }
    std::cerr << (scenes.size() == 1 ? printable(scenes.front()) : std::to_string(scenes.size()) + " files") << ": " << all << " fixed\n";
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
    if (options.scenes.empty())
        throw Failure(exitUsage, "check: which SCENE? (zelvan-play check --help)");
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
    command.add_option("scene", options->scenes, "X3D files, folders of them; \"-\" is standard input")->option_text("SCENE...");
    addLimitOptions(command, options->limits);
    command.add_option("--format", options->format, "how to write the findings (text)")
        ->check(CLI::IsMember({"text", "json", "sarif", "github"}))->option_text("text|json|sarif|github");
    inRange(command.add_option("-j,--jobs", options->jobs, "files checked at a time (as many as there are processors)"), 1, mostJobs)
        ->option_text("N");
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
        ->check(CLI::IsMember({"note", "warning", "error"}))->option_text("note|warning|error")->group("Findings");
    count("--max-warnings", options->maxWarnings, "more warnings than this make the status 1");
    command.add_flag("--fix", options->fix, "mend what can be mended without a change of what is played")->group("Fixes");
    command.add_flag("--unsafe-fixes", options->unsafeFixes, "with --fix: mend also what changes what is played")->group("Fixes");
    addEditOptions(command, options->edit);
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
