// The program from the command line to the exit status: checking and exporting any file ends well or blames the scene.

#include "fuzz/SceneFolder.h"
#include "player/Application.h"

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan;
    static fuzz::SceneFolder folder;
    std::string const file = folder.write(data, size);
    if (file.empty())
        return 0;
    auto const run = [&](std::vector<char const*> arguments) {
        for (char const* limit : {"--max-bytes=262144", "--max-nodes=300", "--max-expanded=300", "--max-files=8"})
            arguments.push_back(limit);
        arguments.push_back(file.c_str());
        int const status = play::runApplication(static_cast<int>(arguments.size()), arguments.data());
        fuzz::require(status == play::exitFine || status == play::exitScene
                          || (status == play::exitMachine && fuzz::isEncoded(data, size)),
                      "the exit status is 0 or 1");
    };
    run({"zelvan-play", "check", size % 2 ? "--format=json" : "--format=text"});
    run({"zelvan-play", "export", size % 2 ? "--format=jsonl" : "--format=csv", "--start-all", "--to=0.5", "--fps=8"});
    return 0;
}
