#pragma once

#include "base/Context.h"
#include "base/Fields.h"
#include "base/Node.h"
#include "base/NodeNameSpace.h"
#include "base/NodeType.h"
#include "base/Route.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace Zelvan::test {

/// A node that keeps every value that reaches its one field.
template <class FieldClass>
class Sink : public Node {
public:
    using Value = typename FieldClass::ValueType;

    Sink(NodeNameSpace& nameSpace, NodePartType access = inputOnly, unsigned flags = 1)
        : Node(record(), nameSpace, "sink"),
          _desc(3, 8, access, FieldClass().dataType(), flags, "in", nullptr, nullptr, nullptr, "", 0)
    {
        _in._desc = &_desc;
    }
    ~Sink() override { Route::removeAll(_in); }

    void fieldChanged(Field&, TimeStamp const& timeStamp, Field* from) override
    {
        _received.emplace_back(timeStamp, _in._value);
        _from = from;
    }

    NodePartDesc _desc;
    FieldClass _in{*this};
    std::vector<std::pair<TimeStamp, Value>> _received;
    Field* _from = nullptr;

private:
    static NodeType& record()
    {
        static NodeTypeNameSpace own;
        static NodeType type(own, "Sink", "Tests", nullptr, nullptr, nullptr, "Tests", nullptr, "", "", "", false, false,
                             nullptr, nullptr, nullptr, nullptr, 0);
        return type;
    }
};

/// A scene of live nodes, fed by hand.
class Scene {
public:
    /// A node of a registered type, live unless told otherwise.
    Node& add(std::string const& typeName, char const* name = "node")
    {
        NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), typeName, searchExact);
        if (type == nullptr)
            throw std::runtime_error("no type " + typeName);
        Node* const node = type->createNodeWithProc(_nodes, name);
        if (node == nullptr)
            throw std::runtime_error("abstract type " + typeName);
        _nodes.add(*node);
        node->_state = Node::live;
        return *node;
    }
    template <class NodeClass>
    NodeClass& add(char const* name = "node")
    {
        return static_cast<NodeClass&>(add(NodeClass::_type._name, name));
    }

    static Field& field(Node& node, std::string const& name)
    {
        Field* const found = node.findField(name);
        if (found == nullptr)
            throw std::runtime_error("no field " + name);
        return *found;
    }
    /// Stores a value given as text and tells the node, as an event does.
    static void send(Node& node, std::string const& name, std::string const& text, TimeStamp timeStamp = 1)
    {
        Field& target = field(node, name);
        ASSERT_TRUE(target.setValueByStr(text.c_str(), Field::multiple)) << name << " = " << text;
        node.fieldChanged(target, timeStamp, nullptr);
    }
    static void route(Field& from, Field& to)
    {
        std::string error;
        ASSERT_NE(Route::add(from, to, error), nullptr) << error;
    }

    Context _context;
    NodeNameSpace _nodes{_context};
};

/// The words of a value, for comparisons bit by bit.
template <class T>
std::vector<std::uint32_t> bits(T const& value)
{
    std::vector<std::uint32_t> words(sizeof(T) / 4);
    std::memcpy(words.data(), static_cast<void const*>(&value), sizeof(T));
    return words;
}

} // namespace Zelvan::test
