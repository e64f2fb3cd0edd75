#pragma once

#include <cstddef>

namespace Zelvan {

class Route;

/// What the deliveries of one thread have in common: a scene belongs to one thread.
struct Cascade {
    char* floor;           ///< deliveries below this address go on on another stack; null while nothing is delivered
    Route* removed;        ///< routes removed since the outermost delivery began, linked by _nextIn
    std::size_t leftovers; ///< nodes and processors that wait for the end of their handling
};
extern constinit thread_local Cascade cascade [[gnu::tls_model("initial-exec")]]; // every event asks

} // namespace Zelvan
