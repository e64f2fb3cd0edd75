// The commands from their arguments to the exit status: checking and exporting any file ends well or blames the scene.

#include "fuzz/SceneFolder.h"

#include <CLI/CLI.hpp>

namespace Zelvan::fuzz {
namespace {

/// The program's command line, made once: that takes longer than most scenes.
struct Program {
    Program()
    {
        app.require_subcommand(1);
        play::addCheckCommand(app, session);
        play::addExportCommand(app, session);
    }

    int run(std::vector<char const*> arguments)
    {
        for (char const* limit : {"--max-bytes=262144", "--max-nodes=300", "--max-expanded=300", "--max-files=8"})
            arguments.push_back(limit);
        session.status = play::exitFine;
        try {
            app.parse(static_cast<int>(arguments.size()), arguments.data());
            return session.status;
        } catch (play::Failure const& failure) {
            require(*failure.what() != '\0', "a failure tells why");
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

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan;
    static fuzz::SceneFolder folder;
    static fuzz::Program program;
    std::string const file = folder.write(data, size);
    if (file.empty())
        return 0;
    bool const odd = size % 2 != 0;
    for (std::vector<char const*> const& arguments :
         {std::vector{"zelvan-play", "check", file.c_str(), odd ? "--format=json" : "--format=text"},
          std::vector{"zelvan-play", "export", file.c_str(), odd ? "--format=jsonl" : "--format=csv", "--start-all",
                      "--to=0.5", "--fps=8"}}) {
        int const status = program.run(arguments);
        fuzz::require(status == play::exitFine || status == play::exitScene
                          || (status == play::exitMachine && fuzz::isEncoded(data, size)),
                      "the exit status is 0 or 1");
    }
    return 0;
}
