#pragma once

#include "base/BaseObject.h"
#include "base/BitVector.h"
#include "base/NodePart.h"
#include "base/NodeType.h"
#include "base/TimeStamp.h"

#include <string>
#include <vector>

namespace Zelvan {

class Field;
class Node;
class NodeNameSpace;
class NodeProc;

/// A parent-child connection between two nodes.
struct NodeLink {
    Node* _parent = nullptr;
    Node* _child = nullptr;
    Field* _field = nullptr; ///< the parent's field that holds the child; null when none is known
};

/// Base of all nodes. A node owns its fields (as members) and its processor. Nodes may be created and deleted
/// at any time. One that is deleted while it is being handled, by something its own output reaches, is off its routes
/// and out of its scene at once, and is destroyed when the handling is over.
/// The virtual operations are part of the binary contract with plug-ins: keep their order.
class ZELVAN_BASE_API Node : public RefCountObject {
public:
    /// Which way a name is meant when a field is looked up: "translation" may stand for
    /// "set_translation" as an input and for "translation_changed" as an output.
    enum FieldSearchOrder : unsigned { exactName = 0, asInput = 1, asOutput = 2 };

    // Bits of _flags.
    static constexpr unsigned childMarked = 1;  ///< a node below has changed
    static constexpr unsigned parentMarked = 4; ///< markParent(1) has been called
    // Bits of _traceFlags.
    static constexpr unsigned char trace = 0x20; ///< log every processValueChange
    // States from 2 on deliver changes at once.
    static constexpr unsigned created = 0, initialized = 1, live = 2, attached = 3;

    /// `name` may be null: an unnamed node.
    Node(NodeType& type, NodeNameSpace& nameSpace, char const* name);
    Node(Node const&) = delete;
    Node& operator=(Node const&) = delete;
    ~Node() override;

    using DenseMemory::operator delete;
    static void operator delete(Node* node, std::destroying_delete_t, std::size_t size);
    /// Whether one of the node's operations is running, or one of its fields being handled.
    bool isHandled() const;

    /// The node enters the running scene, which initialises it the first time: changes are delivered at once from now on.
    void enter(TimeStamp const& timeStamp);
    /// The node leaves the running scene: changes are only recorded.
    void leave(TimeStamp const& timeStamp);

    /// Takes the node's fields off their routes, so that no event reaches a node that is going away.
    void shutdown() const override;
    /// Called after a value has been stored in `field`; `from` is the field that sent it, null for the host.
    virtual void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) = 0;

    /// Attaches a field object under the description with that index in `type`'s own descriptions; `type`
    /// is the class that declares the field. An index it does not hold leaves the field without description.
    void regField(Field& field, NodeType& type, unsigned index, bool own);
    void unregField(unsigned index);

    /// A printable identification of a node without a name, the same on every run: "#12".
    std::string getIDStr() const;
    /// The node's name, or getIDStr() when it has none.
    std::string displayName() const { return _name.empty() ? getIDStr() : _name; }
    /// Marks the nodes above this one: a node below them has changed. The namespace remembers all that are marked.
    void markParent(int level);
    /// Either end of a link takes it off when it goes.
    void addParent(Node& parent, Field* field = nullptr);
    void removeParent(Node& parent);
    /// Forgets recorded changes: the host has seen them.
    void clearChanged();

    NodeType& type() const { return _type; }
    NodeNameSpace& nameSpace() const { return _nameSpace; }
    bool hasName() const { return !_name.empty(); }
    std::string const& name() const { return _name; }
    bool isLive() const { return _state == live || _state == attached; }

    /// Fields by index; null where an index is not (or no longer) taken.
    std::vector<Field*> const& fields() const { return _fields; }
    /// Null when there is none.
    Field* findField(std::string const& name, FieldSearchOrder order = exactName) const;

    /// Attaches the processor, which the node owns from then on.
    void setProc(NodeProc* proc);

    NodeType& _type;
    NodeNameSpace& _nameSpace;
    std::string _name;
    NodeProc* _proc = nullptr;
    BitVector<unsigned long> _isChangingMask;
    BitVector<unsigned long> _changedMask;
    unsigned _state = created;
    unsigned _flags = 0;
    unsigned char _traceFlags = 0;

private:
    friend class Leftovers;
    friend class NodeNameSpace;
    /// What an end begins with; once.
    void end();
    void unlink();
    static void destroy(Node& node, std::size_t size);

    bool _named = false;  ///< held by the namespace
    bool _listed = false; ///< among those that it tells at the end of the frame
    unsigned const _serial;
    std::vector<Field*> _fields;
    std::vector<NodeLink> _links; ///< to parents and to children
};

/// Keeps a node while one of its operations runs, for whoever calls it: a node that is deleted meanwhile goes when the
/// last hold does.
class ZELVAN_BASE_API NodeHold {
public:
    explicit NodeHold(Node& node) : _node(node) { take(node); }
    NodeHold(NodeHold const&) = delete;
    ~NodeHold() { give(_node); }

    static void take(Node& node) { ++node._holds; }
    static void give(Node& node)
    {
        if (--node._holds == 0 && node._doomed) [[unlikely]]
            release();
    }

private:
    static void release();
    Node& _node;
};

} // namespace Zelvan
