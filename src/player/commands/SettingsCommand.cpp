#include "player/commands/Commands.h"
#include "player/commands/Options.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Settings.h"
#include "player/commands/Tables.h"
#include "player/scene/Utf8.h"
#include "player/scene/Values.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <unistd.h>

namespace Zelvan::play {

namespace {

std::string levelText(std::optional<Severity> const& severity)
{
    return severity ? severityName(*severity) : "off";
}

void writeSettings(std::ostream& out, Settings const& settings)
{
    Table table({"setting", "value", "from"});
    auto const row = [&](std::string const& name, std::string const& value, std::string const& from) {
        table.row({name, printable(value), printable(from)});
    };
    auto const flag = [&](char const* name, Setting<bool> const& s) { row(name, s.value ? "true" : "false", s.from); };
    auto const number = [&](char const* name, auto const& s) { row(name, roundNumber(s.value, 12), s.from); };
    std::string only;
    for (std::string const& code : settings.only.value)
        only += (only.empty() ? "" : ", ") + code;
    row("only", only.empty() ? "all codes" : only, settings.only.from);
    for (auto const& [code, severity] : settings.severities)
        row("severity." + code, levelText(severity.value), severity.from);
    flag("hints", settings.hints);
    flag("strict", settings.strict);
    row("fail-on", severityName(settings.failOn.value), settings.failOn.from);
    row("max-warnings", settings.maxWarnings.value ? std::to_string(*settings.maxWarnings.value) : "any number",
        settings.maxWarnings.from);
    number("per-node", settings.perNode);
    number("per-code", settings.perCode);
    row("format", settings.format.value, settings.format.from);
    row("jobs", settings.jobs.value == 0 ? "one for each processor" : std::to_string(settings.jobs.value), settings.jobs.from);
    number("from", settings.from);
    row("to", settings.to.value ? roundNumber(*settings.to.value, 12) : "one cycle", settings.to.from);
    number("fps", settings.fps);
    row("root", settings.root.value.empty() ? "the scene's folder" : settings.root.value, settings.root.from);
    for (LimitOption const& limit : limitOptions()) {
        auto const found = settings.limits.find(limit.name);
        bool const set = found != settings.limits.end();
        row(std::string("limits.") + limit.name, std::to_string(set ? found->second.value : limit.get(ReadLimits())),
            set ? found->second.from : "default");
    }
    table.write(out, styledOutput(STDOUT_FILENO));
}

} // namespace

void addSettingsCommand(CLI::App& app, Session& session)
{
    auto const scene = std::make_shared<std::string>();
    CLI::App& command = *app.add_subcommand("settings", "Show what holds for a scene, and where it comes from");
    command.add_option("scene", *scene, "X3D or VRML file")->required()->option_text("SCENE");
    command.footer("Settings come from the file zelvan-play.toml beside the scene or in the nearest folder above it.\n"
                   "Example:\n"
                   "  zelvan-play settings scenes/doors/door.x3d");
    command.callback([&session, scene] {
        OutputFile out("-");
        writeSettings(out.stream(), SettingsFiles(session.config, session.noConfig).forScene(*scene));
        out.commit();
    });
}

} // namespace Zelvan::play
