#pragma once

#include <cstddef>
#include <vector>

namespace Zelvan {

class Node;
class NodeProc;

/// What was given up while it was being handled: it goes when that is over. One list for each thread.
class Leftovers {
public:
    /// A node; its memory is of that size. False when there is no memory to remember it.
    static bool add(Node& node, std::size_t size) noexcept;
    /// A processor that its node has let go.
    static bool add(NodeProc& proc, Node& node) noexcept;
    /// The node is destroyed: its processors go before it.
    static void end(Node& node);
    /// Ends what is no longer handled.
    static void collect();

private:
    struct Entry;
    static std::vector<Entry>& entries();
    static bool remember(Entry const& entry) noexcept;
};

} // namespace Zelvan
