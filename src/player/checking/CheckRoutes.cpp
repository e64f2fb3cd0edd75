#include "player/checking/CheckRules.h"

#include "base/Fields.h"

namespace Zelvan::play {

namespace {

// A node without a class, as a person would call it: "Script Brain.angle".
std::string foreignName(SceneNode const& node, Field const& field)
{
    return node.typeName + ' ' + node.name + '.' + field.findName();
}

} // namespace

void checkRoutesOf(Scene const& scene, SceneNode const& node, Drive const& drive, FailedEnds const& failed,
                   FindingCollector& findings)
{
    bool const tried = failed.contains(&node);
    Field const& output = *outputOf(node);
    bool const used = output._routesOut != nullptr;
    if (!drive.any && !tried)
        findings.add("undriven", node, nullptr,
                     [&] {
                         return std::string(" gets no fraction")
                             + (used ? ": no ROUTE leads to its set_fraction" : ", and its output goes nowhere");
                     },
                     "ROUTE a TimeSensor's fraction_changed to its set_fraction");
    else if (!used && !tried)
        findings.add("unrouted", node, nullptr,
                     [&] { return '.' + std::string(output.findName()) + " goes nowhere"; },
                     "ROUTE it to the field that it shall move");
    for (Field const* const field : node.node->fields())
        for (Route const* route = field ? field->_routesIn : nullptr; route != nullptr; route = route->nextIn()) {
            SceneNode const* const from = scene.sceneNode(*route->from()._node);
            // Most nodes only pass on what is routed to them.
            if (from == nullptr || from->known || (route->from()._routesIn != nullptr && from->typeName != "Script"))
                continue;
            findings.add("foreign-driver", node, nullptr,
                         [&] {
                             return '.' + std::string(field->findName()) + " depends on "
                                 + foreignName(*from, route->from()) + ", which is not run here";
                         },
                         "--inject gives it values");
        }
    for (char const* const name : {"closed", "normalizeVelocity"})
        if (auto const* const field = static_cast<SFBool const*>(fieldOf(node, name)); field && field->_value)
            findings.add("no-effect", node, field,
                         [&] { return '.' + std::string(name) + " has no effect: the curve is the same without it"; },
                         "leave it out");
}

} // namespace Zelvan::play
