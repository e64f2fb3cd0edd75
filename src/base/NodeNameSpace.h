#pragma once

#include "base/Export.h"
#include "base/TimeStamp.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Zelvan {

class Context;
class Node;

/// The nodes of one scene and the names they are known by. Holds a reference to each of its nodes. Outlives all nodes
/// that were made for it, and its context outlives it.
class ZELVAN_BASE_API NodeNameSpace {
public:
    explicit NodeNameSpace(Context& context);
    NodeNameSpace(NodeNameSpace const&) = delete;
    NodeNameSpace& operator=(NodeNameSpace const&) = delete;
    /// Ends the nodes, last first.
    ~NodeNameSpace();

    Context& context() const { return _context; }

    /// Takes a reference. A name given before now means this node.
    void add(Node& node);
    /// Gives the reference back. A node that is deleted leaves by itself.
    void remove(Node& node);
    /// The node last added under that name; null when there is none.
    Node* find(std::string const& name) const;
    std::vector<Node*> const& nodes() const { return _nodes; }

    /// A frame is over: the processors of all nodes that have changed since the last one are told (`childChanged`,
    /// `nodeChanged`), and what has changed is forgotten.
    void finishFrame(TimeStamp const& timeStamp);

    /// Number for the next node of this scene, from 1.
    unsigned nextSerial() { return ++_lastSerial; }

private:
    friend class Node;
    void nodeMade() { ++_living; }
    void nodeGone(Node& node);
    void nodeChanged(Node& node);
    /// Takes a node out, with its reference. False if it was not in.
    bool forget(Node& node);

    Context& _context;
    std::vector<Node*> _nodes;
    std::unordered_map<std::string, Node*> _byName;
    unsigned _lastSerial = 0;
    unsigned _living = 0;
    std::vector<Node*> _changed; ///< since the last frame; null where one has gone
    std::size_t _lastGone = 0;
    bool _ending = false;
};

} // namespace Zelvan
