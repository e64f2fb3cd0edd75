#pragma once

namespace Zelvan::play {

/// The whole program: parses the command line, runs the command, turns what is thrown into a message and a status.
int runApplication(int argc, char const* const* argv);

} // namespace Zelvan::play
