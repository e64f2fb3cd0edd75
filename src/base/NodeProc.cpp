#include "base/NodeProc.h"

#include "base/Fields.h"

namespace Zelvan {

NodeProc::NodeProc(NodeType& type, Node& node) : _type(type), _node(node), _context(node.nameSpace().context()) {}

NodeProc::NodeProc(NodeProc& other)
    : RefCountObject(other),
      _type(other._type),
      _node(other._node),
      _context(other._context),
      _childNameSpace(other._childNameSpace)
{}

NodeProc::~NodeProc() = default;

// A plain node needs nothing done at these moments.
void NodeProc::setup(TimeStamp const&) {}
void NodeProc::initialize(TimeStamp const&) {}
void NodeProc::attach(TimeStamp const&) {}
void NodeProc::detach(TimeStamp const&) {}
void NodeProc::shutdown(TimeStamp const&) {}
void NodeProc::dispose(TimeStamp const&) {}
void NodeProc::childChanged(TimeStamp const&) {}
void NodeProc::nodeChanged(TimeStamp const&, BitVector<unsigned long> const&) {}
void NodeProc::childAdded(NodeLink&) {}
void NodeProc::childRemoved(NodeLink&) {}
void NodeProc::parentAdded(NodeLink&) {}
void NodeProc::parentRemoved(NodeLink&) {}
void NodeProc::fieldAdded(Field&) {}
void NodeProc::fieldRemoved(Field&) {}
void NodeProc::routeAdded(Route&) {}
void NodeProc::routeRemoved(Route&) {}

bool NodeProc::addNodePart(NodePartType, NodePartDataType, char const*, char const*, char const*, char const*, bool, bool, bool,
                           char const*)
{
    return false;
}

bool NodeProc::addNodePart(NodePartDesc const&, BitVector<unsigned int>*)
{
    return false;
}

bool NodeProc::removeNodePart(unsigned int)
{
    return false;
}

Field* NodeProc::findField(std::string const& name, Node::FieldSearchOrder order)
{
    return _node.findField(name, order);
}

bool NodeProc::mergeNode(Node& other, NodeType* type)
{
    if (type != nullptr && !other.type().isDerivedFrom(*type))
        return false;
    for (Field* const from : other.fields())
        if (from != nullptr)
            if (Field* const to = _node.findField(from->findName()); to && to->dataType() == from->dataType())
                to->assignValue(*from);
    return true;
}

NodeNameSpace* NodeProc::nameSpace()
{
    return &_node.nameSpace();
}

NodeNameSpace* NodeProc::childNameSpace()
{
    return _childNameSpace ? _childNameSpace : nameSpace();
}

void NodeProc::setChildNameSpace(NodeNameSpace* nameSpace)
{
    _childNameSpace = nameSpace;
}

void NodeProc::getInfoStr(std::string& info)
{
    info = _type._name;
}

int NodeProc::findDic(StringDic const* dictionary, SFString const& field)
{
    for (; !dictionary->_name.empty(); ++dictionary)
        if (dictionary->_name == field._value)
            return dictionary->_value;
    return 0;
}

SceneBaseNodeProc::~SceneBaseNodeProc() = default;

void SceneBaseNodeProc::attach(TimeStamp const&)
{
    _node._state = Node::attached;
}

void SceneBaseNodeProc::detach(TimeStamp const&)
{
    _node._state = Node::initialized;
}

void SceneBaseNodeProc::nodeChanged(TimeStamp const&, BitVector<unsigned long> const&)
{
    _node.clearChanged();
}

void SceneBaseNodeProc::getInfoStr(std::string& info)
{
    info = _node.type()._name + '/' + _node.displayName();
}

} // namespace Zelvan
