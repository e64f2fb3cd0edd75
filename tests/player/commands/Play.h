#pragma once

#include "tests/player/Files.h"

#include <sys/wait.h>

namespace Zelvan::play::test {

struct Result {
    int status;
    std::string out, err;
};

/// Runs the program in a folder; the command line is a shell's.
inline Result play(Folder const& folder, std::string const& arguments, std::string const& before = "")
{
    std::string const command =
        "cd '" + folder.path("") + "' && { " + before + " '" ZELVAN_PLAY "' " + arguments + "; } >.out 2>.err";
    int const status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), folder.read(".out"), folder.read(".err")};
}

} // namespace Zelvan::play::test
