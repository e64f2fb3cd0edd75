#include "base/Node.h"

#include "base/Field.h"
#include "base/Leftovers.h"
#include "base/NodeNameSpace.h"
#include "base/NodeProc.h"
#include "base/Route.h"

#include <algorithm>
#include <utility>

namespace Zelvan {

Node::Node(NodeType& type, NodeNameSpace& nameSpace, char const* name)
    : _type(type), _nameSpace(nameSpace), _name(name ? name : ""), _serial(nameSpace.nextSerial())
{
    type.nodeMade();
    nameSpace.nodeMade();
}

Node::~Node()
{
    // The fields have gone with the classes that have them.
    unlink();
    setProc(nullptr);
    Leftovers::end(*this);
    _nameSpace.nodeGone(*this);
    _type.nodeGone();
}

bool Node::isHandled() const
{
    return _holds > 0 || _isChangingMask.bits() != 0
        || std::ranges::any_of(_fields, [](Field const* field) { return field != nullptr && Route::isPassingTo(*field); });
}

void Node::end()
{
    if (_ended)
        return;
    _ended = true;
    if (isLive())
        leave(0);
    if (_proc != nullptr)
        _proc->shutdown(0);
    shutdown();
    unlink();
    _nameSpace.forget(*this);
}

void Node::operator delete(Node* node, std::destroying_delete_t, std::size_t size)
{
    if (node->_doomed)
        return;     // deleted before
    ++node->_holds; // its end may reach itself
    node->end();
    --node->_holds;
    if (!node->isHandled() && !node->_doomed)
        return destroy(*node, size);
    if (!node->_doomed && !Leftovers::add(*node, size))
        return; // with no memory to remember it, it stays
    node->_doomed = true;
#ifndef NDEBUG
    writeLog(osg::LOG_WARNING, "base/Node", __LINE__, __PRETTY_FUNCTION__,
             node->_type._name + '/' + node->displayName()
                 + ": deleted while it is being handled; it goes when that is over\n");
#endif
}

void Node::destroy(Node& node, std::size_t size)
{
    node.setProc(nullptr); // while the node is whole
    void* const memory = dynamic_cast<void*>(&node);
    node.~Node();
    DenseMemory::operator delete(memory, size);
}

void NodeHold::release()
{
    Leftovers::collect();
}

void Node::enter(TimeStamp const& timeStamp)
{
    if (_state == created) {
        if (_proc != nullptr)
            _proc->initialize(timeStamp);
        _state = initialized;
    }
    if (_proc != nullptr && !isLive())
        _proc->attach(timeStamp);
    if (!isLive())
        _state = live;
}

void Node::leave(TimeStamp const& timeStamp)
{
    if (_proc != nullptr)
        _proc->detach(timeStamp);
    _state = initialized;
}

void Node::shutdown() const
{
    for (Field* const field : _fields)
        if (field != nullptr)
            Route::removeAll(*field);
}

void Node::regField(Field& field, NodeType& type, unsigned index, bool)
{
    field._node = this;
    field._desc = type.findOwnPart(index);
    if (field._desc == nullptr)
        return;
    if (_fields.empty())
        _fields.reserve(_type.partCount());
    if (_fields.size() <= index)
        _fields.resize(index + 1, nullptr);
    _fields[index] = &field;
    if (_proc != nullptr)
        _proc->fieldAdded(field);
}

void Node::unregField(unsigned index)
{
    if (index >= _fields.size() || _fields[index] == nullptr)
        return;
    if (_proc != nullptr && !_ended)
        _proc->fieldRemoved(*_fields[index]);
    Route::removeAll(*_fields[index]);
    _fields[index]->_desc = nullptr;
    _fields[index] = nullptr;
}

std::string Node::getIDStr() const
{
    return "#" + std::to_string(_serial);
}

void Node::markParent(int)
{
    if (!_listed) // the first event of a frame lists it
        _nameSpace.nodeChanged(*this);
    if (_links.empty())
        return;
    // Upwards level by level; a node marked before has marked those above it.
    std::vector<Node*> marked = {this};
    while (!marked.empty()) {
        Node* const node = marked.back();
        marked.pop_back();
        for (NodeLink const& link : node->_links) {
            Node& above = *link._parent;
            if (&above == node || (above._flags & childMarked) != 0)
                continue;
            above._nameSpace.nodeChanged(above);
            above._flags |= childMarked;
            marked.push_back(&above);
        }
    }
}

void Node::addParent(Node& parent, Field* field)
{
    NodeLink link{&parent, this, field};
    _links.reserve(_links.size() + 1);
    parent._links.push_back(link);
    if (&parent != this)
        _links.push_back(link);
    if (parent._proc != nullptr)
        parent._proc->childAdded(link);
    if (_proc != nullptr)
        _proc->parentAdded(link);
    if ((_flags & (parentMarked | childMarked)) != 0)
        markParent(1);
}

namespace {

void tellRemoved(NodeLink& link)
{
    if (link._parent->_proc != nullptr)
        link._parent->_proc->childRemoved(link);
    if (link._child->_proc != nullptr)
        link._child->_proc->parentRemoved(link);
}

} // namespace

void Node::removeParent(Node& parent)
{
    auto const joins = [&](NodeLink const& link) { return link._parent == &parent && link._child == this; };
    auto const found = std::find_if(_links.begin(), _links.end(), joins);
    if (found == _links.end())
        return;
    NodeLink link = *found;
    _links.erase(found);
    if (auto const other = std::find_if(parent._links.begin(), parent._links.end(), joins); other != parent._links.end())
        parent._links.erase(other);
    tellRemoved(link);
}

void Node::unlink()
{
    while (!_links.empty()) {
        NodeLink const link = _links.back();
        link._child->removeParent(*link._parent);
    }
}

void Node::clearChanged()
{
    _changedMask = {};
    _flags &= ~(parentMarked | childMarked);
}

Field* Node::findField(std::string const& name, FieldSearchOrder order) const
{
    auto const exact = [this](std::string const& wanted, unsigned access) -> Field* {
        for (Field* const field : _fields)
            if (field != nullptr && wanted == field->findName() && (field->type() & access) != 0)
                return field;
        return nullptr;
    };
    constexpr unsigned any = inputOutput;
    if (order == exactName)
        return exact(name, any);

    // set_x and x mean the same input, x and x_changed the same output.
    std::string const prefix = "set_", suffix = "_changed";
    unsigned const access = order == asInput ? inputOnly : outputOnly;
    if (Field* const field = exact(name, access))
        return field;
    if (order == asInput) {
        if (name.starts_with(prefix))
            return exact(name.substr(prefix.size()), access);
        if (Field* const field = exact(prefix + name, access))
            return field;
    } else {
        if (name.ends_with(suffix))
            return exact(name.substr(0, name.size() - suffix.size()), access);
        if (Field* const field = exact(name + suffix, access))
            return field;
    }
    // A field that exists but cannot be used this way: the route's check says so.
    return exact(name, any);
}

void Node::setProc(NodeProc* proc)
{
    if (proc != nullptr)
        proc->ref();
    NodeProc* const old = std::exchange(_proc, proc);
    if (old != nullptr) {
        old->dispose(0);
        if (!isHandled())
            old->unref();
        else
            Leftovers::add(*old, *this);
    }
    if (proc != nullptr) {
        proc->setup(0);
        for (Field* const field : _fields)
            if (field != nullptr)
                proc->fieldAdded(*field);
    }
}

} // namespace Zelvan
