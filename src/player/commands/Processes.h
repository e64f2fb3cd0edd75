#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Zelvan::play {

/// Does `work` for the numbers 0 to `count` - 1 in `jobs` processes, each with one piece at a time, since events are
/// delivered on one thread. `take` gets the results in the order of the numbers, whatever process is the fastest: what
/// the work returned, or, where its process died, an empty text and how. A process that died is replaced. No more
/// results are kept than some for each process. SIGPIPE is to be ignored: a process may die with work waiting for it.
void inProcesses(std::size_t count, unsigned jobs, std::function<std::string(std::size_t)> const& work,
                 std::function<void(std::size_t, std::string const& result, std::string const& death)> const& take);

} // namespace Zelvan::play
