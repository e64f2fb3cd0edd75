// The commands from their arguments to the exit status: checking or exporting any file ends well, or blames it. The
// file's size chooses among them.

#include "fuzz/SceneFolder.h"
#include "player/commands/Commands.h"

#include <CLI/CLI.hpp>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan::play;
    static Zelvan::fuzz::SceneFolder folder;
    static Session session;
    session.noConfig = true;
    static auto const app = [] { // the command line, made once: that takes longer than most scenes
        auto made = std::make_unique<CLI::App>();
        addCheckCommand(*made, session);
        addExportCommand(*made, session);
        return made;
    }();
    static std::string const commands[] = {"check --jobs=1 --format=json ", "check --jobs=1 --format=text ",
                                           "export --start-all --to=0.5 --fps=8 --format=jsonl ",
                                           "export --start-all --to=0.5 --fps=8 --format=csv "};
    session.status = exitFine;
    try {
        app->parse(commands[size % std::size(commands)] + "--max-expanded=300 " + folder.write(data, size));
    } catch (Failure const& failure) {
        session.status = failure.status();
    }
    Zelvan::fuzz::require(session.status <= exitScene, "the exit status is 0 or 1");
    return 0;
}
