#include "player/checking/Check.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Playing.h"
#include "player/commands/Report.h"
#include "player/commands/Sweeping.h"
#include "player/commands/Tables.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace Zelvan::play {

namespace {

/// A text under the name of a file, which nobody else sees.
class TextInMemory {
public:
    explicit TextInMemory(std::string const& text) : _fd(::memfd_create("example", MFD_CLOEXEC))
    {
        if (_fd < 0 || ::write(_fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw Failure(exitMachine, "cannot keep an example in memory");
    }
    ~TextInMemory() { ::close(_fd); }
    TextInMemory(TextInMemory const&) = delete;
    TextInMemory& operator=(TextInMemory const&) = delete;
    std::string path() const { return "/proc/self/fd/" + std::to_string(_fd); }

private:
    int _fd;
};

// The curve of each interpolator of an example, over its keys.
void drawExample(std::ostream& out, Session const& session, std::string const& example)
{
    TextInMemory const file(example.find("<X3D") != std::string::npos ? example
                                                                      : "<X3D><Scene>\n" + example + "\n</Scene></X3D>\n");
    std::ostringstream messages;
    messages.exceptions(std::ios::badbit);
    Diagnostics diagnostics(messages);
    std::unique_ptr<Scene> scene;
    try {
        scene = openScene(session, file.path(), {}, diagnostics);
    } catch (Failure const&) {
        return; // that it cannot be read is what it shows
    }
    Recorder::Options recording;
    recording.arrivals = false;
    recording.statistics = shownRows;
    recording.outlineSteps = curveSteps;
    Recorder recorder(*scene, recording);
    sweepAll(*scene, recorder, [](auto const&) {
        std::vector<float> fractions;
        for (unsigned k = 0; k <= 100; ++k)
            fractions.push_back(static_cast<float>(k) / 100);
        return fractions;
    });
    recorder.finish();
    Table table({"Interpolator", "Type", "Values", "Curve"});
    for (Track const& track : recorder.tracks())
        table.row({track.node->name, track.node->typeName, rangeText(track), curveOf(track)});
    if (!table.empty())
        table.write(out, false);
}

void explain(Session const& session, std::string const& name)
{
    if (std::string const unknown = unknownCode(name); !unknown.empty())
        throw Failure(exitUsage, unknown);
    CheckCode const& code = codeNamed(name);
    openPool(session);
    OutputFile out("-");
    auto const paragraph = [&](std::string const& text) {
        for (std::string const& line : wrapped(text, pageWidth))
            out.stream() << line << '\n';
        out.stream() << '\n';
    };
    auto const example = [&](char const* heading, std::string const& text) {
        if (text.empty())
            return;
        out.stream() << heading << '\n';
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            out.stream() << "    " << line << '\n';
        out.stream() << '\n';
        std::ostringstream curves;
        curves.exceptions(std::ios::badbit);
        drawExample(curves, session, text);
        if (!curves.str().empty())
            out.stream() << "Over its keys:\n" << curves.str() << '\n';
    };
    out.stream() << code.code << " (" << severityName(code.severity) << "): " << code.title << "\n\n";
    paragraph(code.meaning);
    paragraph(code.why);
    example("Bad:", code.bad);
    example("Good:", code.good);
    char const* const safety = code.fix == Fix::safe
        ? "zelvan-play check --fix mends it, and what is played stays the same bit for bit. "
        : code.fix == Fix::unsafe ? "zelvan-play check --fix --unsafe-fixes mends it, and what is played may change. "
                                  : "No fix by the program. ";
    paragraph(safety + std::string(code.how));
    out.commit();
}

} // namespace

void addExplainCommand(CLI::App& app, Session& session)
{
    auto const code = std::make_shared<std::string>();
    CLI::App& command =
        *app.add_subcommand("explain", "Explain a code of check, with a bad and a good example where it can have one");
    command.add_option("code", *code, "a code, as check writes it")->required()->option_text("CODE");
    command.footer("Example:\n"
                   "  zelvan-play explain loop-jump");
    command.callback([&session, code] { explain(session, *code); });
}

} // namespace Zelvan::play
