#pragma once

#include "player/reading/Scope.h"

namespace Zelvan {
class NodeType;
}

namespace Zelvan::play {

/// From elements to nodes and fields.
class Nodes {
public:
    explicit Nodes(Reading& reading) : _reading(reading) {}

    /// A node for an element that is not a USE, with the fields its attributes set; null when nothing can be routed to it.
    SceneNode* read(Element const& element, Scope& scope);
    /// A node of no class, which takes any event.
    SceneNode& add(Element const& element, Scope const& scope);
    /// Gives a DEF name; an empty one is none.
    void define(std::string const& name, Target target, Scope& scope, Location where);
    /// Sets a field from a text.
    void setField(SceneNode& node, Field& field, Attribute const& value, Location where);

private:
    void create(NodeType& type, Element const& element, SceneNode& node, Scope const& scope);
    void setAttributes(Element const& element, SceneNode& node, Scope const& scope);
    void addScriptFields(Element const& element, SceneNode& node, Scope const& scope);

    Reading& _reading;
};

/// A few names for a message: "key, keyValue, set_fraction".
std::string fieldNames(Node const& node, unsigned access);

} // namespace Zelvan::play
