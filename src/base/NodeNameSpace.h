#pragma once

#include "base/Export.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Zelvan {

class Context;
class Node;

/// The nodes of one scene and the names they are known by. Holds a reference to each of its nodes.
class ZELVAN_BASE_API NodeNameSpace {
public:
    explicit NodeNameSpace(Context& context) : _context(context) {}
    NodeNameSpace(NodeNameSpace const&) = delete;
    NodeNameSpace& operator=(NodeNameSpace const&) = delete;
    /// Releases the nodes, last first.
    ~NodeNameSpace();

    Context& context() const { return _context; }

    /// Takes a reference. A name given before now means this node.
    void add(Node& node);
    /// The node last added under that name; null when there is none.
    Node* find(std::string const& name) const;
    std::vector<Node*> const& nodes() const { return _nodes; }

    /// Number for the next node of this scene, from 1.
    unsigned nextSerial() { return ++_lastSerial; }

private:
    Context& _context;
    std::vector<Node*> _nodes;
    std::unordered_map<std::string, Node*> _byName;
    unsigned _lastSerial = 0;
};

} // namespace Zelvan
