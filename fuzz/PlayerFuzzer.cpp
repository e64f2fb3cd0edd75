// The commands from their arguments to the exit status: checking and exporting any file ends well or blames the scene.

#include "fuzz/SceneFolder.h"

#include <CLI/CLI.hpp>

namespace Zelvan::fuzz {
namespace {

/// The program's command line, made once: that takes longer than most scenes.
struct Program {
    Program()
    {
        play::addCheckCommand(app, session);
        play::addExportCommand(app, session);
    }
    int run(std::string const& arguments)
    {
        session.status = play::exitFine;
        try {
            app.parse(arguments + " --max-bytes=262144 --max-nodes=300 --max-expanded=300 --max-files=8");
            return session.status;
        } catch (play::Failure const& failure) {
            return failure.status();
        } catch (CLI::ParseError const&) {
            return play::exitUsage;
        }
    }

    play::Session session;
    CLI::App app;
};

} // namespace
} // namespace Zelvan::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan;
    static fuzz::SceneFolder folder;
    static fuzz::Program program;
    bool encoded;
    std::string const file = folder.write(data, size, encoded);
    for (std::string const& arguments : {"check --format=" + std::string(size % 2 ? "json " : "text ") + file,
                                         "export --start-all --to=0.5 --fps=8 --format="
                                             + std::string(size % 2 ? "jsonl " : "csv ") + file}) {
        int const status = program.run(arguments);
        fuzz::require(status == play::exitFine || status == play::exitScene || (status == play::exitMachine && encoded),
                      "the exit status is 0 or 1");
    }
    return 0;
}
