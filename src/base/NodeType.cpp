#include "base/NodeType.h"

#include "base/Field.h"
#include "base/Node.h"
#include "base/NodeProc.h"

#include <algorithm>
#include <strings.h>

namespace Zelvan {

namespace {

constexpr unsigned maxDepth = 64; // a class chain longer than this is a cycle of names

bool sameName(std::string const& a, std::string const& b, SearchCaseType searchCase)
{
    return searchCase == searchIgnoreCase ? strcasecmp(a.c_str(), b.c_str()) == 0 : a == b;
}

std::string orEmpty(char const* text)
{
    return text ? text : "";
}

} // namespace

NodeType* NodeTypeNameSpace::findType(NodeTypeNameSpace const* nameSpace, std::string const& name,
                                      SearchCaseType searchCase)
{
    if (nameSpace == nullptr || name.empty())
        return nullptr;
    for (NodeType* const type : nameSpace->_types)
        if (sameName(type->_name, name, searchCase))
            return type;
    for (NodeType* const type : nameSpace->_types)
        if (sameName(type->_aliasName, name, searchCase))
            return type;
    return nullptr;
}

NodeTypeNameSpace& theSceneNodeTypeFactory()
{
    static NodeTypeNameSpace factory;
    return factory;
}

NodeType::NodeType(NodeTypeNameSpace& nameSpace, char const* name, char const* poolName, char const* parentName,
                   char const* aliasName, char const*, char const* componentName, char const*,
                   char const* status, char const* description, char const* standard, bool, bool,
                   IsType isType, CreateNode createNode, CreateProc createProc, NodePartDesc* parts,
                   unsigned partCount)
    : _nameSpace(nameSpace), _name(orEmpty(name)), _poolName(orEmpty(poolName)),
      _parentName(orEmpty(parentName)), _aliasName(orEmpty(aliasName)), _componentName(orEmpty(componentName)),
      _status(orEmpty(status)), _description(orEmpty(description)), _standard(orEmpty(standard)),
      _isType(isType), _createNode(createNode), _createProc(createProc), _parts(parts), _ownPartCount(partCount)
{
    nameSpace._types.push_back(this);
}

NodeType::~NodeType()
{
    std::erase(_nameSpace._types, this);
}

NodeType* NodeType::parent() const
{
    return NodeTypeNameSpace::findType(&_nameSpace, _parentName, searchExact);
}

bool NodeType::isDerivedFrom(NodeType const& ancestor) const
{
    NodeType const* type = this;
    for (unsigned depth = 0; type != nullptr && depth < maxDepth; ++depth, type = type->parent())
        if (type == &ancestor)
            return true;
    return false;
}

NodePartDesc const* NodeType::findOwnPart(unsigned index) const
{
    for (unsigned i = 0; i < _ownPartCount; ++i)
        if (_parts[i]._index == index)
            return &_parts[i];
    return nullptr;
}

unsigned NodeType::partCount() const
{
    unsigned count = 0;
    NodeType const* type = this;
    for (unsigned depth = 0; type != nullptr && depth < maxDepth; ++depth, type = type->parent())
        count += type->_ownPartCount;
    return count;
}

std::vector<NodePartDesc const*> NodeType::allParts() const
{
    std::vector<NodePartDesc const*> parts;
    NodeType const* type = this;
    for (unsigned depth = 0; type != nullptr && depth < maxDepth; ++depth, type = type->parent())
        for (unsigned i = 0; i < type->_ownPartCount; ++i)
            parts.push_back(&type->_parts[i]);
    std::sort(parts.begin(), parts.end(), [](auto a, auto b) { return a->_index < b->_index; });
    return parts;
}

NodeType* NodeType::creatableType()
{
    if (_createNode != nullptr)
        return this;
    for (NodeType* const type : _nameSpace._types)
        if (type->_aliasName == _name && type->_createNode != nullptr)
            return type;
    return nullptr;
}

Node* NodeType::createNodeWithProc(NodeNameSpace& nameSpace, char const* name)
{
    NodeType* const concrete = creatableType();
    if (concrete == nullptr)
        return nullptr;
    Node* const node = concrete->_createNode(*concrete, nameSpace, name);
    try {
        if (concrete->_createProc != nullptr)
            node->setProc(concrete->_createProc(*concrete, *node));
        for (Field* const field : node->fields())
            if (field != nullptr)
                field->setToDefault();
    } catch (...) {
        delete node;
        throw;
    }
    return node;
}

} // namespace Zelvan
