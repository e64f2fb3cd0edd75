#include "player/commands/Playing.h"

#include "base/Context.h"
#include "player/checking/Suppressions.h"
#include "player/commands/Checking.h"
#include "player/commands/LogOutput.h"
#include "player/playing/PoolLoader.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <iostream>
#include <unistd.h>
#include <utility>

namespace Zelvan::play {

namespace {

// "NAME@SECONDS": splits off the time; `otherwise` where there is none.
double timeSuffix(std::string& text, double otherwise, std::string const& option)
{
    auto const at = text.rfind('@');
    if (at == std::string::npos)
        return otherwise;
    double const time = parsedNumber(text.substr(at + 1), option);
    if (!(time >= 0 && time <= latestTime))
        throw Failure(exitUsage,
                      option + ": expected a time from 0 to " + roundNumber(latestTime, 12) + ", found \"" + text.substr(at + 1)
                          + '"');
    text.resize(at);
    return time;
}

} // namespace

std::string openPool(Session const& session)
{
    showLog(session.logLevel, session.logGiven);
    return loadPool(session.pool).back().file;
}

std::unique_ptr<Scene> openScene(Session const& session, std::string const& file, ReadLimits const& limits,
                                 Diagnostics& diagnostics, Staging* staging)
{
    auto scene = readScene(file, limits, diagnostics, staging);
    for (std::string const& param : session.params) {
        auto const equal = param.find('=');
        std::string const name = param.substr(0, equal), value = equal == std::string::npos ? "" : param.substr(equal + 1);
        unsigned const id = Context::findParamID(name);
        if (id == Context::unknownParam) {
            std::string known;
            for (Context::Param const& p : Context::params())
                known += (known.empty() ? "" : ", ") + p._name;
            throw Failure(exitUsage, "--param: no parameter is named \"" + name + "\"; there are: " + known);
        }
        if (value != "true" && value != "false")
            throw Failure(exitUsage, "--param " + name + ": expected true or false, found \"" + value + '"');
        scene->context().setBValue(id, value == "true");
    }
    return scene;
}

OpenedScene::OpenedScene(Session const& session, SceneOptions const& options, Checks checks, Staging* staging)
    : OpenedScene(session, options, SettingsFiles(session.config, session.noConfig).forScene(options.file), checks, staging)
{}

OpenedScene::OpenedScene(Session const& session, SceneOptions const& options, Settings wanted, Checks checks, Staging* staging)
    : pool(openPool(session)),
      file(options.file),
      settings(std::move(wanted)),
      limits(options.limits.over(settings)),
      diagnostics(std::cerr, session.strict || settings.strict.value)
{
    ReaderFindings read(checks == Checks::none ? nullptr : &diagnostics);
    scene = openScene(session, file, limits, read.diagnostics(), staging);
    findings = read.take();
    if (checks != Checks::none) {
        CheckOptions check = settings.checkOptions();
        for (CheckCode const& code : checkCodes()) {
            auto const own = check.severities.find(code.code);
            if (checks != Checks::all && (own == check.severities.end() ? code.severity : own->second) < Severity::error)
                check.ignore.insert(code.code);
        }
        findings = checkWithSuppressions(*scene, std::move(findings), check);
        for (Finding const& finding : findings)
            if (finding.severity == Severity::error && !finding.node.empty()) // the others have been told
                diagnostics.error(finding.place, finding.code, textOf(finding));
    }
    diagnostics.finish();
    nameNodesOf(scene.get());
}

OpenedScene::~OpenedScene()
{
    nameNodesOf(nullptr);
}

Timing prepare(Clock& clock, TimeOptions const& options, Settings const& settings)
{
    Timing timing;
    timing.from = options.from.value_or(settings.from.value);
    timing.fps = options.fps.value_or(settings.fps.value);
    timing.at = options.at;
    std::pair<double, std::string> late; // what is given last
    for (std::string name : options.start) {
        std::string const option = "--start " + name;
        double const time = timeSuffix(name, timing.from, option);
        clock.startSensor(name, time);
        late = std::max(late, {time, option});
    }
    if (options.startAll)
        clock.startAll(timing.from);
    for (std::string const& text : options.inject) {
        std::string const option = "--inject " + text;
        auto const equal = text.find('=');
        auto const dot = equal == std::string::npos ? equal : text.rfind('.', equal);
        if (dot == std::string::npos)
            throw Failure(exitUsage, option + ": expected NODE.field=VALUE");
        std::string value = text.substr(equal + 1);
        double const time = timeSuffix(value, timing.from, option);
        clock.inject({text.substr(0, dot), text.substr(dot + 1, equal - dot - 1), value, time});
        late = std::max(late, {time, option});
    }
    double const cycle = clock.cycleEnd();
    timing.to = options.duration ? timing.from + *options.duration
        : options.to             ? *options.to
        : settings.to.value      ? *settings.to.value
        : cycle > timing.from    ? cycle
                                 : timing.from + cycle;
    double const end = timing.at.empty() ? timing.to : std::ranges::max(timing.at);
    if (late.first > end)
        throw Failure(exitUsage,
                      late.second + ": the run ends before, at " + roundNumber(end) + " s"
                          + (options.duration || options.to || !timing.at.empty() ? "" : " (--to plays longer)"));
    return timing;
}

void playFrames(Clock& clock, Recorder& recorder, std::vector<Timing::Frame> const& frames, std::size_t mostLooks)
{
    clock.limitTo(frames.size(), mostLooks);
    Progress progress;
    for (Timing::Frame const& frame : frames) {
        recorder.paused = !frame.recorded;
        clock.advance(frame.time, [&recorder] { recorder.beginFrame(); });
        progress.show([&] { return "at " + roundNumber(frame.time, 4) + " of " + roundNumber(frames.back().time, 4) + " s"; });
    }
    progress.end();
}

std::vector<Track> record(Scene& scene, TimeOptions const& time, Settings const& settings, ReadLimits const& limits)
{
    Recorder recorder(scene, {.keepSamples = true, .mostKept = limits.values});
    Clock clock(scene, time.now);
    playFrames(clock, recorder, prepare(clock, time, settings).frames(), limits.values);
    recorder.finish();
    return recorder.allTracks();
}

Progress::Progress() : _terminal(::isatty(STDERR_FILENO) != 0), _due(std::chrono::steady_clock::now() + std::chrono::seconds(1))
{}

bool Progress::due() const
{
    return _terminal && std::chrono::steady_clock::now() > _due;
}

void Progress::write(std::string const& text)
{
    std::cerr << "\r" << text << "   " << std::flush;
    _due = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    _any = true;
}

void Progress::end()
{
    if (std::exchange(_any, false))
        std::cerr << "\r\033[K" << std::flush;
}

} // namespace Zelvan::play
