#include "base/Leftovers.h"

#include "base/Cascade.h"
#include "base/NodeProc.h"

#include <new>

namespace Zelvan {

struct Leftovers::Entry {
    Node* node;
    NodeProc* proc; ///< null: the node itself
    std::size_t size;
};

std::vector<Leftovers::Entry>& Leftovers::entries()
{
    thread_local std::vector<Entry> all;
    return all;
}

bool Leftovers::remember(Entry const& entry) noexcept
{
    try {
        entries().push_back(entry);
    } catch (std::bad_alloc const&) {
        return false;
    }
    ++cascade.leftovers;
    return true;
}

bool Leftovers::add(Node& node, std::size_t size) noexcept
{
    return remember({&node, nullptr, size});
}

bool Leftovers::add(NodeProc& proc, Node& node) noexcept
{
    return remember({&node, &proc, 0});
}

void Leftovers::end(Node& node)
{
    for (std::size_t i = cascade.leftovers; i-- > 0;)
        if (Entry const entry = entries()[i]; entry.node == &node && entry.proc != nullptr) {
            entries().erase(entries().begin() + static_cast<std::ptrdiff_t>(i));
            --cascade.leftovers;
            entry.proc->unref();
            i = cascade.leftovers;
        }
}

void Leftovers::collect()
{
    // Processors before their nodes; whatever goes may leave more behind.
    for (bool const procs : {true, false})
        for (std::size_t i = 0; i < cascade.leftovers;) {
            Entry const entry = entries()[i];
            if ((entry.proc != nullptr) != procs || entry.node->isHandled()) {
                ++i;
                continue;
            }
            entries().erase(entries().begin() + static_cast<std::ptrdiff_t>(i));
            --cascade.leftovers;
            if (procs)
                entry.proc->unref();
            else
                Node::destroy(*entry.node, entry.size);
            i = 0;
        }
}

} // namespace Zelvan
