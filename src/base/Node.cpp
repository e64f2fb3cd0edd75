#include "base/Node.h"

#include "base/Field.h"
#include "base/NodeNameSpace.h"
#include "base/NodeProc.h"
#include "base/Route.h"

#include <algorithm>

namespace Zelvan {

Node::Node(NodeType& type, NodeNameSpace& nameSpace, char const* name)
    : _type(type), _nameSpace(nameSpace), _name(name ? name : ""), _serial(nameSpace.nextSerial())
{
}

Node::~Node()
{
    delete _proc;
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
}

void Node::unregField(unsigned index)
{
    if (index >= _fields.size() || _fields[index] == nullptr)
        return;
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
    // Upwards level by level; a node marked before has marked those above it.
    std::vector<Node*> above = _parents;
    while (!above.empty()) {
        Node* const node = above.back();
        above.pop_back();
        if ((node->_flags & childMarked) != 0)
            continue;
        node->_flags |= childMarked;
        above.insert(above.end(), node->_parents.begin(), node->_parents.end());
    }
}

void Node::removeParent(Node& parent)
{
    if (auto const found = std::find(_parents.begin(), _parents.end(), &parent); found != _parents.end())
        _parents.erase(found);
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
    delete _proc;
    _proc = proc;
}

} // namespace Zelvan
