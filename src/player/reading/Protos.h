#pragma once

#include "player/reading/Nodes.h"

namespace Zelvan::play {

/// PROTO and EXTERNPROTO: declarations by name, instances with the values of their fields, and what IS what.
class Protos {
public:
    Protos(Reading& reading, SceneFiles& files, Nodes& nodes) : _reading(reading), _files(files), _nodes(nodes) {}

    void declare(Element const& element, Scope& scope);
    void declareExtern(Element const& element, Scope& scope);
    /// Null when nothing of that name was declared here or around. The file of an EXTERNPROTO is read when it is used.
    Proto const* find(Scope& scope, std::string const& name);

    /// An instance with its fields: the values that the element gives, or else the declaration.
    Instance& instantiate(Element const& element, Proto const& proto, Scope& scope);
    /// Those of its interface whose default stands, with the nodes in them.
    static std::vector<Element const*> defaultsOf(Element const& element, Proto const& proto);
    /// What the element's IS says of a node, or an instance, in the body of an instance.
    void connect(Element const& element, Target target, Scope& scope);

    /// The url of an Inline, which may be that of the instance around it, and the file in which it stands.
    static std::pair<std::string_view, SceneFile*> urlOf(Element const& element, Scope const& scope);

    /// A node that is not run has this node, or what the fields of this instance stand for, in a field of its own.
    void hold(Target target, SceneNode* holder, Location where);

    using End = std::pair<SceneNode*, std::string>;
    /// The fields of nodes that a field stands for; none when an instance has no such field.
    std::vector<End> ends(Target target, std::string const& field, Node::FieldSearchOrder order, Location where);

private:
    void follow(Proto& proto);
    void declareAll(SceneFile& file);
    SceneNode& store(Instance& instance, std::string const& name, InterfaceField const& field);
    /// False, with a message, when there is no such field.
    bool connectInstance(InterfaceField const& outer, Instance& inner, std::string const& field, Location where);
    bool connectNode(InterfaceField const& outer, SceneNode& node, std::string const& field, Location where);

    Reading& _reading;
    SceneFiles& _files;
    Nodes& _nodes;
};

} // namespace Zelvan::play
