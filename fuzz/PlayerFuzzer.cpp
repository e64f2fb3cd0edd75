// The commands from their arguments to the exit status: checking or exporting any file ends well, or blames it. The
// file's size chooses among them.

#include "fuzz/SceneFolder.h"
#include "player/commands/Commands.h"

#include <CLI/CLI.hpp>

using namespace Zelvan::play;

/// A command line that is read once, which takes longer than most scenes.
struct CommandLine : CLI::App {
    void run(Session& session, std::string const& arguments)
    {
        if (get_subcommands().empty()) {
            addCheckCommand(*this, session);
            addExportCommand(*this, session);
            parse(arguments);
        } else {
            run_callback();
        }
    }
};

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static Zelvan::fuzz::SceneFolder folder;
    static Session session;
    session.noConfig = true;
    constexpr char const* commands[] = {"check --jobs=1 --format=json ", "check --jobs=1 --format=text ",
                                        "export --start-all --to=0.5 --fps=8 --format=jsonl ",
                                        "export --start-all --to=0.5 --fps=8 --format=csv "};
    static CommandLine lines[std::size(commands)];
    std::size_t const chosen = size % std::size(commands);
    session.status = exitFine;
    try {
        lines[chosen].run(session, std::string(commands[chosen]) + "--max-expanded=300 " + folder.write(data, size));
    } catch (Failure const& failure) {
        session.status = failure.status();
    }
    Zelvan::fuzz::require(session.status <= exitScene, "the exit status is 0 or 1");
    return 0;
}
