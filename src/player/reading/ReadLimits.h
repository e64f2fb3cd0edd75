#pragma once

#include <cstddef>
#include <string>

namespace Zelvan::play {

/// What a scene may cost to read, and what it may reach. Files come from strangers.
struct ReadLimits {
    std::size_t bytes = std::size_t(128) << 20; ///< of one file, uncompressed; below 4 GiB
    unsigned depth = 500;                       ///< elements, PROTO instances and inlined files inside each other
    unsigned elements = 1'000'000;              ///< of one file, each with a beginning and an end; an eighth of its lines
    unsigned nodes = 300'000;                   ///< kept nodes: those that can be routed to
    unsigned expanded = 300'000;                ///< nodes that PROTOs and repeated Inlines stand for, or what costs as much
    unsigned files = 100;                       ///< with all that is inlined
    std::size_t values = 8'000'000;             ///< numbers of a recording that is kept for curves and tables
    std::string root{};                         ///< folder that no file is read outside of; empty: the scene's own
};

} // namespace Zelvan::play
