#include "base/NodeType.h"

#include "base/Field.h"
#include "base/Node.h"
#include "base/NodeProc.h"

#include <algorithm>
#include <atomic>
#include <dlfcn.h>
#include <mutex>
#include <new>
#include <strings.h>
#include <utility>

namespace Zelvan {

namespace {

constexpr unsigned maxDepth = 64; // a class chain longer than this is a cycle of names

bool sameName(std::string const& a, std::string const& b, SearchCaseType searchCase)
{
    return searchCase == searchIgnoreCase ? strcasecmp(a.c_str(), b.c_str()) == 0 : a == b;
}

char const* orEmpty(char const* text)
{
    return text ? text : "";
}

// Never destroyed: records and nodes may go when the program ends.
struct Kept {
    struct Library {
        NodeType* type;
        void* handle;
    };
    std::mutex mutex;
    std::vector<Library> libraries;
};
Kept& kept()
{
    static auto& all = *new Kept;
    return all;
}

bool registrationFailed = false;
constinit thread_local bool releasing = false; // what unloads now was kept by us alone

} // namespace

NodeType* NodeTypeNameSpace::findType(NodeTypeNameSpace const* nameSpace, std::string const& name, SearchCaseType searchCase)
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
                   char const* aliasName, char const*, char const* componentName, char const*, char const* status,
                   char const* description, char const* standard, bool, bool, IsType isType, CreateNode createNode,
                   CreateProc createProc, NodePartDesc* parts, unsigned partCount)
    : _nameSpace(nameSpace),
      _isType(isType),
      _createNode(createNode),
      _createProc(createProc),
      _parts(parts),
      _ownPartCount(partCount)
{
    try {
        _name = orEmpty(name);
        _poolName = orEmpty(poolName);
        _parentName = orEmpty(parentName);
        _aliasName = orEmpty(aliasName);
        _componentName = orEmpty(componentName);
        _status = orEmpty(status);
        _description = orEmpty(description);
        _standard = orEmpty(standard);
        auto const same = std::ranges::find(nameSpace._types, _name, &NodeType::_name);
        if (same == nameSpace._types.end())
            nameSpace._types.push_back(this);
        else if (logs(osg::LOG_FATAL))
            writeLog(osg::LOG_FATAL, "base/NodeType", __LINE__, __PRETTY_FUNCTION__,
                     "Type " + _name + " of " + _poolName + " is refused: " + (*same)->_poolName
                         + " has registered that name\n");
    } catch (std::bad_alloc const&) {
        registrationFailed = true;
    }
}

NodeType::~NodeType()
{
    std::erase(_nameSpace._types, this);
    if (!std::exchange(releasing, false)) // said once for a library
        return;
    try {
        writeLog(osg::LOG_WARNING, "base/NodeType", __LINE__, __PRETTY_FUNCTION__,
                 _poolName + " was closed while nodes of it lived; it was kept until the last had gone\n");
    } catch (std::bad_alloc const&) { // unsaid
    }
}

bool NodeType::takeFailure()
{
    return std::exchange(registrationFailed, false);
}

void NodeType::nodeMade()
{
    if (std::atomic_ref(_nodeCount).fetch_add(1) > 0)
        return;
    // The record may be in a library that is unloaded while the node lives: a handle of our own keeps it.
    std::lock_guard const lock(kept().mutex);
    auto& libraries = kept().libraries;
    if (std::ranges::find(libraries, this, &Kept::Library::type) != libraries.end())
        return;
    Dl_info library;
    if (::dladdr(this, &library) == 0 || library.dli_fname == nullptr)
        return;
    if (void* const handle = ::dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD); handle != nullptr) {
        try {
            libraries.push_back({this, handle});
        } catch (...) {
            ::dlclose(handle);
            std::atomic_ref(_nodeCount).fetch_sub(1);
            throw;
        }
    }
}

void NodeType::nodeGone()
{
    std::atomic_ref(_nodeCount).fetch_sub(1);
}

void NodeType::releaseLibraries()
{
    for (;;) {
        void* handle = nullptr;
        {
            std::lock_guard const lock(kept().mutex);
            auto& libraries = kept().libraries;
            auto const idle = std::ranges::find_if(
                libraries, [](auto const& library) { return std::atomic_ref(library.type->_nodeCount).load() == 0; });
            if (idle == libraries.end())
                return;
            handle = idle->handle;
            libraries.erase(idle);
        }
        releasing = true;
        ::dlclose(handle);
        releasing = false;
    }
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
