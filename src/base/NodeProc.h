#pragma once

#include "base/BaseObject.h"
#include "base/BitVector.h"
#include "base/Context.h"
#include "base/Export.h"
#include "base/Node.h"
#include "base/NodeNameSpace.h"
#include "base/NodePart.h"
#include "base/TimeStamp.h"

#include <string>

namespace Zelvan {

class Route;
class SFString;

/// Base of all processors: the behaviour of one node, which owns it.
/// The virtual operations are part of the binary contract with plug-ins: keep their order.
class ZELVAN_BASE_API NodeProc : public RefCountObject {
public:
    /// One entry of a dictionary; a dictionary is an array that ends with an empty name.
    struct StringDic {
        std::string _name;
        int _value;
    };

    NodeProc(NodeType& type, Node& node);
    NodeProc(NodeProc& other);
    ~NodeProc() override;

    using RefCountObject::shutdown;

    /// The node has got this processor.
    virtual void setup(TimeStamp const& timeStamp);
    /// The node enters a running scene for the first time.
    virtual void initialize(TimeStamp const& timeStamp);
    /// The node enters and leaves the running scene.
    virtual void attach(TimeStamp const& timeStamp);
    virtual void detach(TimeStamp const& timeStamp);
    /// The node is given up, with its routes still there.
    virtual void shutdown(TimeStamp const& timeStamp);
    /// The node lets go of this processor.
    virtual void dispose(TimeStamp const& timeStamp);
    /// At the end of a frame in which a node below, or this one, has changed: `changed` has the fields' bits.
    virtual void childChanged(TimeStamp const& timeStamp);
    virtual void nodeChanged(TimeStamp const& timeStamp, BitVector<unsigned long> const& changed);
    /// At both ends of a link, a field and a route: when it is there, and before it goes.
    virtual void childAdded(NodeLink& link);
    virtual void childRemoved(NodeLink& link);
    virtual void parentAdded(NodeLink& link);
    virtual void parentRemoved(NodeLink& link);
    virtual void fieldAdded(Field& field);
    virtual void fieldRemoved(Field& field);
    virtual void routeAdded(Route& route);
    virtual void routeRemoved(Route& route);
    /// Adding or removing fields of a single node is not offered by this framework: false.
    virtual bool addNodePart(NodePartType type, NodePartDataType dataType, char const* name, char const* defaultValue,
                             char const* allowedValues, char const* description, bool flag1, bool flag2, bool flag3,
                             char const* text);
    virtual bool addNodePart(NodePartDesc const& desc, BitVector<unsigned int>* changed);
    virtual bool removeNodePart(unsigned int index);
    virtual Field* findField(std::string const& name, Node::FieldSearchOrder order);
    /// Copies the values of the other node's fields that have the same name and data type.
    virtual bool mergeNode(Node& other, NodeType* type);
    virtual NodeNameSpace* nameSpace();
    virtual NodeNameSpace* childNameSpace();
    virtual void setChildNameSpace(NodeNameSpace* nameSpace);
    virtual void getInfoStr(std::string& info);

    /// Value of the boolean context parameter `id` in this processor's context.
    bool contextBValue(unsigned id) const { return _context.bValue(id); }
    /// Value of the entry whose name is exactly the field's string; 0 when there is none.
    static int findDic(StringDic const* dictionary, SFString const& field);

    Node& node() const { return _node; }

    NodeType& _type;
    Node& _node;
    Context& _context;

private:
    NodeNameSpace* _childNameSpace = nullptr;
};

/// Processor of a node that is part of a scene.
class ZELVAN_BASE_API SceneBaseNodeProc : public NodeProc {
public:
    using NodeProc::NodeProc;
    SceneBaseNodeProc(SceneBaseNodeProc& other) : NodeProc(other) {}
    ~SceneBaseNodeProc() override;

    /// The node enters the running scene: changes are delivered at once from now on.
    void attach(TimeStamp const& timeStamp) override;
    /// The node leaves the running scene: changes are only recorded.
    void detach(TimeStamp const& timeStamp) override;
    /// What has changed is forgotten. What an override changes after calling this belongs to the next frame.
    void nodeChanged(TimeStamp const& timeStamp, BitVector<unsigned long> const& changed) override;
    /// "type/name" of the node.
    void getInfoStr(std::string& info) override;
};

} // namespace Zelvan
