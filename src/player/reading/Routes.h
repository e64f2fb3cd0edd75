#pragma once

#include "player/reading/Protos.h"

namespace Zelvan::play {

/// When all names of a file or a PROTO's body are known: IMPORTs, and ROUTEs from field to field.
class Routes {
public:
    Routes(Reading& reading, Nodes& nodes, Protos& protos) : _reading(reading), _nodes(nodes), _protos(protos) {}

    static void addExport(Reading const& reading, Element const& element, Scope& scope);
    void resolve(Scope& scope);
    /// At the very end: routes between nodes without classes take the type of what they lead to.
    void connectUntyped();

private:
    void reportDuplicates(Scope const& scope) const;
    static void markExports(Scope const& scope);
    void import(Element const& element, Scope& scope);
    void route(Element const& element, Scope const& scope);
    void connect(SceneRoute& route);
    void warn(SceneRoute const& route, std::string const& why) const;

    Reading& _reading;
    Nodes& _nodes;
    Protos& _protos;
    std::vector<SceneRoute*> _untyped;
};

} // namespace Zelvan::play
