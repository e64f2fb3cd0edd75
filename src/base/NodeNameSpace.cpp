#include "base/NodeNameSpace.h"

#include "base/Context.h"
#include "base/Leftovers.h"
#include "base/NodeProc.h"
#include "base/NodeType.h"

#include <algorithm>
#include <cassert>
#include <iterator>

namespace Zelvan {

NodeNameSpace::NodeNameSpace(Context& context) : _context(context)
{
    context.nameSpaceMade();
}

NodeNameSpace::~NodeNameSpace()
{
    // All are taken off their routes before the first is gone.
    _ending = true;
    _changed.clear();
    for (Node* const node : _nodes)
        node->end();
    while (!_nodes.empty()) {
        Node* const node = _nodes.back();
        _nodes.pop_back();
        node->unref();
    }
    Leftovers::collect();
    assert(_living == 0 && "a node outlives its namespace");
    _context.nameSpaceGone();
    NodeType::releaseLibraries();
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
    node._named = true;
    if (node.hasName())
        _byName[node.name()] = &node;
}

bool NodeNameSpace::forget(Node& node)
{
    if (!node._named || _ending)
        return false;
    node._named = false;
    // Those that came last mostly go first.
    _nodes.erase(std::next(std::find(_nodes.rbegin(), _nodes.rend(), &node)).base());
    if (auto const found = _byName.find(node.name()); found != _byName.end() && found->second == &node) {
        auto const before =
            std::find_if(_nodes.rbegin(), _nodes.rend(), [&](Node const* other) { return other->name() == node.name(); });
        if (before == _nodes.rend())
            _byName.erase(found);
        else
            found->second = *before;
    }
    return true;
}

void NodeNameSpace::remove(Node& node)
{
    if (forget(node))
        node.unref();
}

// Whatever has been forgotten of its changes, a node is listed once, and leaves the list when it goes.
void NodeNameSpace::nodeChanged(Node& node)
{
    if (node._listed || _ending)
        return;
    _changed.push_back(&node);
    node._listed = true;
}

void NodeNameSpace::nodeGone(Node& node)
{
    forget(node);
    --_living;
    if (!node._listed || _ending)
        return;
    // Nodes mostly go in the order in which they were marked, or against it.
    std::size_t at = _changed.size();
    for (std::size_t const near : {_lastGone + 1, _lastGone - 1, _lastGone})
        if (near < _changed.size() && _changed[near] == &node)
            at = near;
    if (at == _changed.size())
        at = static_cast<std::size_t>(std::find(_changed.begin(), _changed.end(), &node) - _changed.begin());
    _changed[at] = nullptr;
    _lastGone = at;
}

namespace {

// Many thousands of nodes are cold when their frame is over: what the next ones are asked for comes ahead, a node's line
// first, then its processor's.
void fetchAhead(std::vector<Node*> const& nodes, std::size_t at)
{
    constexpr std::size_t node = 16, proc = 8;
    if (at >= node && nodes[at - node] != nullptr) {
        __builtin_prefetch(nodes[at - node]);
        __builtin_prefetch(&nodes[at - node]->_changedMask);
    }
    if (at >= proc && nodes[at - proc] != nullptr)
        __builtin_prefetch(nodes[at - proc]->_proc);
}

} // namespace

void NodeNameSpace::finishFrame(TimeStamp const& timeStamp)
{
    // What a processor changes here belongs to the next frame; a node that goes leaves the list.
    for (std::size_t i = _changed.size(); i-- > 0;) {
        if (i >= _changed.size())
            continue;
        fetchAhead(_changed, i);
        Node* const changed = _changed[i];
        _changed[i] = _changed.back();
        _changed.pop_back();
        if (changed == nullptr)
            continue;
        Node& node = *changed;
        node._listed = false;
        NodeHold const hold(node);
        bool const below = (node._flags & Node::childMarked) != 0;
        BitVector<unsigned long> const fields(node._changedMask);
        node.clearChanged();
        if (node._proc != nullptr && below)
            node._proc->childChanged(timeStamp);
        if (node._proc != nullptr && fields.bits() != 0)
            node._proc->nodeChanged(timeStamp, fields);
    }
}

Node* NodeNameSpace::find(std::string const& name) const
{
    auto const found = _byName.find(name);
    return found == _byName.end() ? nullptr : found->second;
}

} // namespace Zelvan
