#pragma once

#include "player/reading/Scope.h"

#include <functional>

namespace Zelvan {
class Field;
class NodePartDesc;
class NodeType;
} // namespace Zelvan

namespace Zelvan::play {

/// From elements to nodes and fields.
class Nodes {
public:
    explicit Nodes(Reading& reading) : _reading(reading) {}

    /// A node for an element that is not a USE, with the fields its attributes set; null when nothing can be routed to it.
    SceneNode* read(Element const& element, Scope& scope);
    /// A node of no class, which takes any event.
    SceneNode& add(Element const& element, Scope const& scope);
    SceneNode& add(Element const& element, Scope const& scope, std::string_view typeName);
    /// Gives a DEF name; an empty one is none.
    void define(std::string const& name, Target target, Scope& scope, Location where);
    /// Sets a field from a text that stands in `file`, in the units of that file.
    void setField(SceneNode& node, Field& field, Attribute const& value, SceneFile const& file);
    /// Gives a Script its fields.
    void declareFields(Element const& script, SceneNode& node, Scope const& scope);
    /// Gives a node those of an EXTERNPROTO that could not be read.
    void declareInterface(Element const& declaration, SceneNode& node, Scope const& scope);
    /// A field of a PROTO's interface, kept by a node that takes any event and sends it on. `isDeclared` tells of other
    /// names; null when it was declared before or has no field class.
    Field* declareKept(SceneNode& node, std::string const& name, std::string_view type,
                       std::function<bool(std::string const&)> const& isDeclared);
    /// Holds the fields of an instance that no node in it has.
    SceneNode& addStore(Instance const& instance);

private:
    SceneNode& add(std::string name, std::string_view typeName, Location where, std::size_t tenths);
    void create(NodeType& type, Element const& element, SceneNode& node, Scope const& scope);
    void reportMisspelled(SceneNode const& node);
    void setAttributes(Element const& element, SceneNode& node, Scope const& scope);

    Reading& _reading;
    /// A list that a PROTO or a file repeats: its second reading is kept for those that follow.
    struct Repeated {
        unsigned times = 0;
        NodePartDesc const* desc = nullptr;
        std::unique_ptr<Field> value;
        bool converted = false; ///< from units of the file
    };
    std::unordered_map<Attribute const*, Repeated> _repeated;
};

/// What a message says behind "has no field": the one that was probably meant, or those there are.
std::string otherFields(Node const& node, std::string_view name, unsigned access);

} // namespace Zelvan::play
