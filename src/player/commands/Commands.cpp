#include "player/commands/Commands.h"

#include "base/Context.h"
#include "base/OpenSG.h"
#include "player/drawing/Pictures.h"
#include "player/commands/Playing.h"
#include "player/commands/Report.h"
#include "player/commands/Tables.h"
#include "player/playing/PoolLoader.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace Zelvan::play {

namespace {

constexpr unsigned shown = 2; // of messages that every event would repeat

// OpenSG reports a hue that is none on the standard error stream itself.
class FewHueErrors : public std::streambuf {
public:
    explicit FewHueErrors(std::streambuf& to) : _to(to) {}

protected:
    std::streamsize xsputn(char const* text, std::streamsize count) override
    {
        bool const error = std::string_view(text, static_cast<std::size_t>(count)).starts_with("ERROR i not in [0, 5]");
        _dropped = error && ++_errors > shown;
        return _dropped ? count : _to.sputn(text, count);
    }
    int_type overflow(int_type c) override
    {
        return std::exchange(_dropped, false) ? traits_type::not_eof(c) : _to.sputc(traits_type::to_char_type(c));
    }
    int sync() override { return _to.pubsync(); }

private:
    std::streambuf& _to;
    unsigned _errors = 0;
    bool _dropped = false;
};

void limitLog()
{
    // Outlives the stream's last flush.
    static auto* const few = new FewHueErrors(*std::cerr.rdbuf());
    std::cerr.rdbuf(few);
    constexpr std::size_t texts = 100;
    static std::unordered_map<std::string, unsigned> seen;
    osg::osgLog().setLogType(osg::LOG_NONE);
    osg::osgLog().setCallback([](osg::LogRecord const& record) {
        if (seen.size() >= texts && !seen.contains(record.text))
            return osg::osgLog().setLogLevel(osg::LOG_LOG); // no more is formatted
        unsigned const count = ++seen[record.text];
        if (count <= shown)
            std::cerr << "log: " << record.text << (count == shown ? "log: (not shown again)\n" : "");
    });
}

double parsedNumber(std::string const& text, std::string const& option)
{
    double number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw Failure(exitUsage, option + ": expected a number, found \"" + text + '"');
    return number;
}

// "NAME@SECONDS": splits off the time; `otherwise` where there is none.
double timeSuffix(std::string& text, double otherwise, std::string const& option)
{
    auto const at = text.rfind('@');
    if (at == std::string::npos)
        return otherwise;
    double const time = parsedNumber(text.substr(at + 1), option);
    if (!(time >= 0))
        throw Failure(exitUsage, option + ": expected a time that is not negative, found \"" + text.substr(at + 1) + '"');
    text.resize(at);
    return time;
}

} // namespace

std::unique_ptr<Scene> openScene(Session const& session, std::string const& file, ReadLimits const& limits,
                                 Diagnostics& diagnostics)
{
    osg::osgLog().setLogLevel(static_cast<osg::LogLevel>(session.logLevel));
    if (!session.logGiven)
        limitLog();
    loadPool(session.pool);
    auto scene = readScene(file, limits, diagnostics);
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

OpenedScene::OpenedScene(Session const& session, SceneOptions const& options)
    : diagnostics(std::cerr, session.strict), scene(openScene(session, options.file, options.limits, diagnostics))
{
    diagnostics.finish();
}

void addSceneOptions(CLI::App& command, SceneOptions& options)
{
    command.add_option("scene", options.file, "X3D or VRML file; \"-\" is standard input")->required()->option_text("SCENE");
    command.add_option("--root", options.limits.root, "folder that Inlines and EXTERNPROTOs may be read from (the scene's)")
        ->option_text("FOLDER");
    auto const limit = [&](char const* name, auto& value, char const* what) {
        command.add_option(name, value, what)->capture_default_str()->option_text("N")->group("Limits");
    };
    limit("--max-bytes", options.limits.bytes, "largest file, uncompressed");
    limit("--max-depth", options.limits.depth, "deepest nesting");
    limit("--max-elements", options.limits.elements, "most elements in one file, and eight times as many lines");
    limit("--max-nodes", options.limits.nodes, "most nodes that can be routed to");
    limit("--max-expanded", options.limits.expanded, "most nodes that PROTOs and repeated Inlines stand for");
    limit("--max-files", options.limits.files, "most files, inlined ones included");
    limit("--max-values", options.limits.values, "most numbers recorded for curves and tables");
}

void addTimeOptions(CLI::App& command, TimeOptions& options)
{
    Timing& timing = options.timing;
    auto const group = [](CLI::Option* option) { option->group("Time"); };
    group(command.add_option("--from", timing.from, "record from this second on (0)")->option_text("SECONDS"));
    auto* const to = command.add_option("--to", timing.to, "play up to this second (5)")->option_text("SECONDS");
    group(to);
    group(command.add_option("--duration", options.duration, "play this long from --from on")->option_text("SECONDS")->excludes(to));
    group(command.add_option("--fps", timing.fps, "frames per second (60)")->option_text("N"));
    group(command.add_option("--at", timing.at, "record at these times only")->delimiter(',')->allow_extra_args(false)->option_text("T[,T...]"));
    group(command.add_option("--start", options.start, "start a TimeSensor, as if something had triggered it")
              ->allow_extra_args(false)
              ->option_text("NAME[@SECONDS]"));
    group(command.add_flag("--start-all", options.startAll, "start all TimeSensors that wait for something"));
    group(command.add_option("--inject", options.inject, "give a value to a field")
              ->allow_extra_args(false)
              ->option_text("NODE.field=VALUE[@SECONDS]"));
}

void prepare(Clock& clock, TimeOptions& options)
{
    Timing& timing = options.timing;
    if (options.duration)
        timing.to = timing.from + *options.duration;
    for (std::string name : options.start) {
        double const time = timeSuffix(name, timing.from, "--start " + name);
        clock.startSensor(name, time);
    }
    if (options.startAll)
        clock.startAll(timing.from);
    for (std::string text : options.inject) {
        std::string const option = "--inject " + text;
        auto const equal = text.find('=');
        auto const dot = equal == std::string::npos ? equal : text.rfind('.', equal);
        if (dot == std::string::npos)
            throw Failure(exitUsage, option + ": expected NODE.field=VALUE");
        std::string value = text.substr(equal + 1);
        double const time = timeSuffix(value, timing.from, option);
        clock.inject({text.substr(0, dot), text.substr(dot + 1, equal - dot - 1), value, time});
    }
}

void playFrames(Clock& clock, Recorder& recorder, std::vector<Timing::Frame> const& frames)
{
    using Steady = std::chrono::steady_clock;
    bool const terminal = ::isatty(STDERR_FILENO) != 0;
    auto due = Steady::now() + std::chrono::seconds(1);
    bool any = false;
    for (Timing::Frame const& frame : frames) {
        recorder.paused = !frame.recorded;
        recorder.beginFrame();
        clock.advance(frame.time);
        if (terminal && Steady::now() > due) {
            std::cerr << "\rat " << roundNumber(frame.time, 4) << " of " << roundNumber(frames.back().time, 4) << " s   "
                      << std::flush;
            due = Steady::now() + std::chrono::milliseconds(200);
            any = true;
        }
    }
    if (any)
        std::cerr << "\r\033[K" << std::flush;
}

EventWriter::EventWriter(std::string const& path, Format format, char const* axis)
    : _file(path), _format(format), _axis(axis)
{
    if (_format == csv)
        _file.stream() << _axis << ",node,field,value\n";
}

void EventWriter::write(Track const& track, double time, Field const& field)
{
    std::ostream& out = _file.stream();
    if (_format == csv) {
        out << shortNumber(time) << ',' << csvCell(track.node->name) << ',' << csvCell(track.field) << ','
            << csvCell(field.getValueAsStr()) << '\n';
    } else {
        _numbers.clear();
        appendNumbers(field, _numbers);
        std::size_t const width = componentsOf(track.type).count;
        bool const doubles = track.type == SFTimeType;
        auto const number = [&](double v) {
            return v - v != 0 ? "null" : doubles ? shortNumber(v) : shortNumber(static_cast<float>(v));
        };
        out << "{\"" << _axis << "\":" << shortNumber(time) << ",\"node\":" << jsonString(track.node->name)
            << ",\"field\":" << jsonString(track.field) << ",\"type\":\"" << dataTypeName(track.type) << "\",\"value\":";
        auto const element = [&](std::size_t first) {
            out << (width > 1 ? "[" : "");
            for (std::size_t c = 0; c < width; ++c)
                out << (c ? "," : "") << number(_numbers[first + c]);
            out << (width > 1 ? "]" : "");
        };
        if (width == 0) {
            out << jsonString(field.getValueAsStr());
        } else if (track.type == SFBoolType) {
            out << (_numbers[0] != 0 ? "true" : "false");
        } else if (isList(track.type)) {
            out << '[';
            for (std::size_t i = 0; i < _numbers.size(); i += width) {
                out << (i ? "," : "");
                element(i);
            }
            out << ']';
        } else {
            element(0);
        }
        out << "}\n";
    }
    _file.check();
}

void addOutputOptions(CLI::App& command, OutputOptions& options, char const* axis)
{
    auto const output = [&](char const* name, std::string& value, std::string const& what) {
        command.add_option(name, value, what)->option_text("FILE")->group("Output");
    };
    output("--csv", options.csv, "one line per event: " + std::string(axis) + ", node, field, value; \"-\" is standard output");
    output("--jsonl", options.jsonLines, "the same as JSON Lines");
    output("--svg", options.svg, "the curves as a picture");
    output("--html", options.html, "the curves as a page to zoom into");
}

void requireOwnFiles(std::vector<std::string> const& outputs, std::string const& scene)
{
    namespace fs = std::filesystem;
    std::error_code error;
    std::set<fs::path> files;
    for (std::string const& output : outputs) {
        fs::file_status const status = fs::status(output, error);
        if (output.empty() || (output != "-" && fs::exists(status) && !fs::is_regular_file(status)))
            continue; // a device takes any number
        if (output != "-" && fs::equivalent(output, scene, error))
            throw Failure(exitUsage, '"' + output + "\" is the scene itself and is not written over");
        if (!files.insert(fs::absolute(output).lexically_normal()).second)
            throw Failure(exitUsage, '"' + output + "\" is named for two outputs");
    }
}

Outputs::Outputs(OutputOptions const& options, std::string const& scene, Recorder& recorder, char const* axis)
    : _options(options), _recorder(recorder), _axis(axis)
{
    requireOwnFiles({options.csv, options.jsonLines, options.svg, options.html}, scene);
    if (!options.csv.empty())
        _writers.push_back(std::make_unique<EventWriter>(options.csv, EventWriter::csv, axis));
    if (!options.jsonLines.empty())
        _writers.push_back(std::make_unique<EventWriter>(options.jsonLines, EventWriter::jsonLines, axis));
    if (!_writers.empty())
        recorder.onEvent = [this](Track const& track, double time, Field const& field) {
            for (auto const& writer : _writers)
                writer->write(track, time, field);
        };
}

void Outputs::finish(Scene const& scene, Clock const* clock, std::vector<Curve> const& curves, std::string const& title,
                     PictureOptions picture)
{
    for (auto const& writer : _writers)
        writer->commit();
    // The curves of a sweep have axes of their own.
    picture.title = title.substr(title.rfind('/') + 1);
    picture.axis = clock ? _axis + " (s)" : _axis;
    picture.sharedAxis = clock != nullptr;
    auto const write = [&](std::string const& path, auto writer) {
        if (path.empty())
            return;
        OutputFile file(path);
        writer(file.stream(), curves, picture);
        file.commit();
    };
    write(_options.svg, writeSvg);
    write(_options.html, writeHtml);
    for (std::string const* const path : {&_options.csv, &_options.jsonLines, &_options.svg, &_options.html})
        if (*path == "-")
            return;
    OutputFile out("-");
    writeReport(out.stream(), scene, _recorder, clock, styledOutput(STDOUT_FILENO));
    out.commit();
}

std::string csvCell(std::string const& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char const c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

std::string jsonString(std::string const& text)
{
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace Zelvan::play
