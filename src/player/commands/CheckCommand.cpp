#include "player/checking/Check.h"
#include "player/commands/Editing.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Playing.h"
#include "player/commands/Tables.h"
#include "player/editing/Fixes.h"
#include "player/scene/DidYouMean.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <unistd.h>

namespace Zelvan::play {

namespace {

struct CheckCommandOptions {
    SceneOptions scene;
    std::vector<std::string> only, ignore, severities;
    CheckOptions check;
    std::string format = "text";
    bool codes = false, markdown = false;
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

// "CODE=LEVEL"
void applySeverity(std::string const& text, CheckOptions& options)
{
    auto const equal = text.find('=');
    std::string const code = text.substr(0, equal);
    std::string const level = equal == std::string::npos ? "" : text.substr(equal + 1);
    requireCode(code, "--severity");
    for (Severity const severity : {Severity::hint, Severity::note, Severity::warning, Severity::error})
        if (level == severityName(severity)) {
            options.severities[code] = severity;
            return;
        }
    if (level != "off")
        throw Failure(exitUsage, "--severity " + text + ": expected CODE=hint, note, warning, error or off");
    options.ignore.insert(code);
}

void writeCodes(std::ostream& out, bool markdown)
{
    if (markdown)
        return writeCodesMarkdown(out);
    Table table({"code", "severity", "fix", "title"});
    for (CheckCode const& code : checkCodes())
        table.row({code.code, severityName(code.severity), fixName(code.fix), code.title});
    table.write(out, styledOutput(STDOUT_FILENO));
}

std::string shownName(std::string const& file)
{
    return file == "-" ? "<stdin>" : file;
}

// A scene that cannot be read is a finding, too. The message begins with the place as far as it is known.
Finding unreadable(std::string const& file, std::string message)
{
    Place place{shownName(file)};
    std::string const error = ": error: ";
    if (auto const at = message.find(error); at != std::string::npos) {
        std::string const before = message.substr(0, at);
        unsigned line = 0, column = 0;
        auto const second = before.rfind(':');
        auto const first = second == 0 || second == std::string::npos ? second : before.rfind(':', second - 1);
        if (first != std::string::npos && std::sscanf(before.c_str() + first, ":%u:%u", &line, &column) == 2)
            place = {before.substr(0, first), line, column};
        message.erase(0, at + error.size());
    } else if (message.starts_with(place.file + ": ")) {
        message.erase(0, place.file.size() + 2);
    }
    return {Severity::error, kinds::badXml, place, "", message, ""};
}

/// A scene that has been checked; null when it could not be read.
struct Checked {
    std::unique_ptr<Scene> scene;
    std::vector<Finding> findings;
};

Checked examine(Session const& session, CheckCommandOptions const& options)
{
    constexpr std::size_t most = 1000; // of a kind; the others are counted
    std::vector<Finding> read;
    std::map<std::string, std::pair<std::size_t, std::size_t>, std::less<>> kinds; // how many, and where the last one is
    Diagnostics diagnostics(std::cerr);
    diagnostics.onMessage = [&](Severity severity, Place const& place, std::string_view kind,
                                std::string const& text) {
        auto& [count, last] = kinds.try_emplace(std::string(kind)).first->second;
        if (++count > most) {
            ++read[last].more;
            return;
        }
        last = read.size();
        read.push_back({severity, std::string(kind), place, "", text, ""});
    };
    openPool(session);
    std::unique_ptr<Scene> scene;
    try {
        scene = openScene(session, options.scene.file, options.scene.limits, diagnostics);
    } catch (Failure const& failure) {
        if (failure.status() != exitScene)
            throw;
        read.push_back(unreadable(options.scene.file, failure.what()));
        return {nullptr, checkUnread(std::move(read), options.check)};
    }
    std::vector<Finding> findings = checkScene(*scene, std::move(read), options.check);
    return {std::move(scene), std::move(findings)};
}

// "2 can be fixed (--fix), 1 more with --unsafe-fixes"; "" when none can.
std::string fixable(std::vector<Finding> const& findings)
{
    auto const count = [&](Fix fix) {
        std::size_t all = 0;
        for (Finding const& finding : findings)
            all += fixOf(finding) == fix ? 1 + finding.more : 0;
        return all;
    };
    std::size_t const safe = count(Fix::safe), more = count(Fix::unsafe);
    std::string text = safe > 0 ? std::to_string(safe) + " can be fixed (--fix)" : "";
    if (more > 0)
        text += text.empty() ? std::to_string(more) + " can be fixed (--fix --unsafe-fixes)" : ", " + std::to_string(more) + " more with --unsafe-fixes";
    return text;
}

void fix(Session const& session, CheckCommandOptions const& options)
{
    // Everything counts here, also what is not shown.
    CheckCommandOptions all = options;
    all.check.perNode = 0;
    all.check.hints = true;
    Checked checked = examine(session, all);
    if (checked.scene == nullptr)
        throw Failure(exitScene, checked.findings.front().place.text() + ": error: " + checked.findings.front().message);
    SceneEdits edits(*checked.scene, options.edit.inlined, options.scene.limits.bytes);
    std::vector<FixOutcome> const outcomes = fixScene(*checked.scene, edits, checked.findings, all.check, options.unsafeFixes);
    writeEdits(edits, options.edit, options.scene.file);
    std::size_t done = 0;
    for (FixOutcome const& outcome : outcomes) {
        done += outcome.done;
        std::cerr << printable(outcome.node) << ": " << outcome.code << (outcome.done ? " fixed" : " not fixed: " + printable(outcome.why)) << '\n';
    }
    std::cerr << printable(options.scene.file) << ": " << done << " fixed\n";
}

void check(Session& session, CheckCommandOptions& options)
{
    OutputFile out("-");
    if (options.codes) {
        writeCodes(out.stream(), options.markdown);
        return out.commit();
    }
    if (options.scene.file.empty())
        throw Failure(exitUsage, "check: which SCENE? (zelvan-play check --help)");
    for (auto const& code : options.only)
        requireCode(code, "--only");
    for (auto const& code : options.ignore)
        requireCode(code, "--ignore");
    options.check.only.insert(options.only.begin(), options.only.end());
    options.check.ignore.insert(options.ignore.begin(), options.ignore.end());
    for (auto const& severity : options.severities)
        applySeverity(severity, options.check);

    if (options.unsafeFixes && !options.fix)
        throw Failure(exitUsage, "--unsafe-fixes goes with --fix");
    if (options.fix) {
        if (!options.edit.write && !options.edit.diff && options.edit.output.empty())
            throw Failure(exitUsage, "--fix: where to? --write, --diff or -o FILE");
        return fix(session, options);
    }
    std::vector<Finding> const findings = examine(session, options).findings;
    if (options.format == "json")
        writeFindingsJson(out.stream(), findings);
    else
        writeFindings(out.stream(), findings, options.check, styledOutput(STDOUT_FILENO));
    out.commit();
    auto const counted = [&](Severity severity) {
        std::size_t const count = countFindings(findings, severity);
        return std::to_string(count) + ' ' + severityName(severity) + (count == 1 ? "" : "s");
    };
    std::cerr << printable(shownName(options.scene.file)) << ": " << counted(Severity::error) << ", "
              << counted(Severity::warning) << ", " << counted(Severity::note);
    if (std::string const text = fixable(findings); !text.empty())
        std::cerr << "; " << text;
    std::cerr << '\n';
    Severity const worst = session.strict ? Severity::warning : Severity::error;
    if (std::ranges::any_of(findings, [&](Finding const& finding) { return finding.severity >= worst; }))
        session.status = exitScene;
}

} // namespace

void addCheckCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<CheckCommandOptions>();
    CLI::App& command = *app.add_subcommand("check", "Tell what is wrong with the animation of a scene, and where");
    addSceneOptions(command, options->scene);
    command.get_option("scene")->required(false);
    command.add_option("--format", options->format, "how to write the findings (text)")
        ->check(CLI::IsMember({"text", "json"}))->option_text("text|json");
    // One value for each use of an option, so that the scene may follow it.
    auto const list = [&](char const* name, std::vector<std::string>& values, char const* what, char const* text) {
        auto* const option = command.add_option(name, values, what)->delimiter(',')->allow_extra_args(false);
        option->option_text(text)->group("Findings");
    };
    list("--only", options->only, "these codes only", "CODE[,CODE...]");
    list("--ignore", options->ignore, "leave these codes out", "CODE[,CODE...]");
    list("--severity", options->severities, "change a severity: hint, note, warning, error or off", "CODE=LEVEL");
    command.add_flag("--hints", options->check.hints, "show hints, too")->group("Findings");
    auto const count = [&](char const* name, unsigned& value, char const* what) {
        inRange(command.add_option(name, value, what), 0, 1e9)->option_text("N")->group("Findings");
    };
    count("--per-node", options->check.perNode, "findings per code and node, 0 for all (3)");
    count("--per-code", options->check.perCode, "lines per code, 0 for all (50)");
    command.add_flag("--fix", options->fix, "mend what can be mended without a change of what is played")->group("Fixes");
    command.add_flag("--unsafe-fixes", options->unsafeFixes, "with --fix: mend also what changes what is played")->group("Fixes");
    addEditOptions(command, options->edit);
    auto* const codes = command.add_flag("--codes", options->codes, "list all codes, with their meaning");
    command.add_flag("--markdown", options->markdown, "the list as Markdown, with examples")->needs(codes);
    command.footer("Exit status: 1 when there is an error, or with --strict a warning.\n"
                   "Examples:\n"
                   "  zelvan-play check door.x3d\n"
                   "  zelvan-play check --ignore idle-sensor --severity loop-jump=error door.x3d\n"
                   "  zelvan-play check door.x3d --format json\n"
                   "  zelvan-play check door.x3d --fix --unsafe-fixes --diff");
    command.callback([&session, options] { check(session, *options); });
}

} // namespace Zelvan::play
