// The commands from their arguments to the exit status: checking and exporting any file ends well, or blames it.

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
    bool const odd = size % 2 != 0;
    std::string const scene = folder.write(data, size) + " --max-expanded=300 --format=";
    for (std::string const& command : {"check --jobs=1 " + scene + (odd ? "json" : "text"),
                                       "export --start-all --to=0.5 --fps=8 " + scene + (odd ? "jsonl" : "csv")}) {
        session.status = exitFine;
        try {
            app->parse(command);
        } catch (Failure const& failure) {
            session.status = failure.status();
        }
        Zelvan::fuzz::require(session.status <= exitScene, "the exit status is 0 or 1");
    }
    return 0;
}
