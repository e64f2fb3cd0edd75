#include "Framework.h"

#include "Host.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Zelvan {

/// A pool hands it on, and that is all.
class NodeNameSpace {
public:
    Context& _context;
};

char const* LogModuleName = "zelvan";
unsigned BaseObject::_objCount = 0;
BitVector<unsigned long> const NodePart::_nullMask;
std::string const Field::_typeName = "field";

NodePartDesc::NodePartDesc(unsigned index, BitVector<unsigned long> mask, NodePartType type, NodePartDataType dataType,
                           unsigned flags, char const* name, char const*, char const* defaultValue, char const*, char const*,
                           unsigned)
    : _default(defaultValue ? defaultValue : ""),
      _dataType(dataType),
      _name(name),
      _flags(flags),
      _type(type),
      _mask(mask),
      _index(index)
{}
NodePartDesc::~NodePartDesc() = default;

NodeTypeNameSpace& theSceneNodeTypeFactory()
{
    static NodeTypeNameSpace types;
    return types;
}

NodeType* NodeTypeNameSpace::findType(NodeTypeNameSpace const* nameSpace, std::string const& name, SearchCaseType)
{
    auto const found = nameSpace->_types.find(name);
    return found == nameSpace->_types.end() ? nullptr : found->second;
}

NodeType::NodeType(NodeTypeNameSpace& nameSpace, char const* name, char const*, char const*, char const*, char const*,
                   char const*, char const*, char const*, char const*, char const*, bool, bool, bool (*)(Node*),
                   Node* (*createNode)(NodeType&, NodeNameSpace&, char const*), NodeProc* (*createProc)(NodeType&, Node&),
                   NodePartDesc* parts, unsigned partCount)
    : _createNode(createNode), _createProc(createProc), _nameSpace(nameSpace), _name(name)
{
    for (unsigned i = 0; i < partCount; ++i)
        _parts.push_back(parts + i);
    nameSpace._types[name] = this;
}
NodeType::~NodeType()
{
    _nameSpace._types.erase(_name);
}

unsigned Context::createParamID(std::string const& name, std::string const&, std::string const&, bool)
{
    static std::map<std::string, unsigned> ids;
    return ids.emplace(name, 100 + ids.size()).first->second;
}

Node::Node(NodeType& type, NodeNameSpace& nameSpace, char const* name)
    : _nameSpace(nameSpace), _name(name ? name : ""), _type(type)
{}
Node::~Node()
{
    delete _proc;
}
void Node::shutdown() const {}
std::string Node::getIDStr() const
{
    return "#1";
}
void Node::markParent(int) {}
void Node::unregField(unsigned index)
{
    _fields.erase(index);
}
void Node::regField(Field& field, NodeType& type, unsigned index, bool)
{
    auto const part = std::find_if(type._parts.begin(), type._parts.end(), [&](auto p) { return p->_index == index; });
    field._desc = part == type._parts.end() ? nullptr : *part;
    _fields[index] = &field;
}

NodeProc::NodeProc(NodeType&, Node& node) : _node(node) {}
NodeProc::~NodeProc() = default;
bool NodeProc::contextBValue(unsigned id) const
{
    auto const& values = _node._nameSpace._context._values;
    auto const found = values.find(id);
    return found != values.end() && found->second;
}
int NodeProc::findDic(StringDic const* dictionary, SFString const& field)
{
    while (!dictionary->_name.empty() && dictionary->_name != field._value)
        ++dictionary;
    return dictionary->_value;
}
void SceneBaseNodeProc::nodeChanged(TimeStamp const&, BitVector<unsigned long> const&) {}

Field::~Field()
{
    --_objCount;
}
char const* Field::findName() const
{
    return _desc ? _desc->_name : "";
}
bool Field::setAndValidateValueByStr(char const* text, bool)
{
    return setValueByStr(text, {});
}

void Field::markChanged()
{
    if ((_node->_marks & 4) == 0)
        _node->markParent(1);
    _node->_marks |= 4;
    _node->_changedMask |= _desc->_mask;
}

void Field::processValueChange(TimeStamp const& timeStamp, CallerType callerType)
{
    if (_desc == nullptr)
        return;
    bool const live = _node->_state == 2 || _node->_state == 3, always = (_desc->_flags & 8) != 0;
    markChanged();
    if (!live)
        send(0, true, true);
    else if (_desc->_type != 7u || always || callerType == 1u)
        send(timeStamp, true, false);
}

// Nothing is routed here: the host sees what is sent.
void Field::send(TimeStamp const& timeStamp, bool, bool recordOnly)
{
    recordOnly ? void() : Host::sent(findName(), timeStamp, getValueAsBin(-1));
}

osg::Quaternion const& Rotation::quaternion() const
{
    if (_state == 1) {
        float const length = std::sqrt(_axis[0] * _axis[0] + _axis[1] * _axis[1] + _axis[2] * _axis[2]);
        float const scale = std::sin(_angle * 0.5f) / length;
        if (length > 1e-6f)
            _quaternion.setValueAsQuat(_axis[0] * scale, _axis[1] * scale, _axis[2] * scale, std::cos(_angle * 0.5f));
        else
            _quaternion.setIdentity();
        _state = 0;
    }
    return _quaternion;
}

void Words<Rotation>::read(Rotation& value, char const* words)
{
    std::memcpy(&value._quaternion, words, 16);
    std::memcpy(&value._axis, words + 16, 12);
    std::memcpy(&value._angle, words + 28, 4);
    std::memcpy(&value._state, words + 32, 4);
}
void Words<Rotation>::write(Rotation const& value, std::string& words)
{
    for (auto const& [part, size] : std::initializer_list<std::pair<void const*, std::size_t>>{
             {&value._quaternion, 16}, {&value._axis, 12}, {&value._angle, 4}, {&value._state, 4}})
        words.append(static_cast<char const*>(part), size);
}

Host::Host(bool binarySearch) : _nameSpace(new NodeNameSpace{*new Context})
{
    _nameSpace->_context._values[Context::createParamID("binSearchKeyIndex", "", "", false)] = binarySearch;
}
Host::~Host()
{
    delete _node;
    delete &_nameSpace->_context;
    delete _nameSpace;
}

void Host::create(char const* typeName)
{
    delete _node;
    NodeType& type = *NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), typeName, {});
    _node = type._createNode(type, *_nameSpace, "node");
    _node->_proc = type._createProc(type, *_node);
    _node->_state = 3;
    for (auto const& [index, field] : _node->_fields)
        if (!field->_desc->_default.empty())
            field->setValueByStr(field->_desc->_default.c_str(), {});
}

void Host::change(unsigned index, std::string const& bin, double time)
{
    Field& field = *_node->_fields.at(index);
    if (!field.setValueByBin(bin))
        field.setValueByStr(bin.c_str(), {});
    _node->fieldChanged(field, time, nullptr);
}

} // namespace Zelvan
