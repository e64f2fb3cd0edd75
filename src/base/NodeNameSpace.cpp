#include "base/NodeNameSpace.h"

#include "base/Node.h"

namespace Zelvan {

NodeNameSpace::~NodeNameSpace()
{
    // All are taken off their routes before the first is gone.
    for (Node const* const node : _nodes)
        node->shutdown();
    while (!_nodes.empty()) {
        _nodes.back()->unref();
        _nodes.pop_back();
    }
}

void NodeNameSpace::add(Node& node)
{
    node.ref();
    try {
        _nodes.push_back(&node);
    } catch (...) {
        node.unref(); // gone, unless the caller holds it too
        throw;
    }
    if (node.hasName())
        _byName[node.name()] = &node;
}

Node* NodeNameSpace::find(std::string const& name) const
{
    auto const found = _byName.find(name);
    return found == _byName.end() ? nullptr : found->second;
}

} // namespace Zelvan
