#include "player/playing/NotRun.h"

#include "player/scene/SceneParts.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace Zelvan::play {

namespace {

/// What the routes of a scene say about nodes without a class.
class RouteMap {
public:
    explicit RouteMap(Scene const& scene)
    {
        for (SceneRoute const& route : scene.routes) {
            if (route.refused())
                continue;
            _out[route.from].push_back(&route);
            _in[route.to].push_back(&route);
            if (!route.to->known)
                _inputs.insert({route.to, baseName(route.toField)});
        }
        for (SceneNode const& node : scene.sceneNodes)
            if (node.known) {
                spread(node, _out, &SceneRoute::to, _reached);
                spread(node, _in, &SceneRoute::from, _leading);
            }
    }

    /// Routes on which a node sends what it has not been sent itself.
    std::vector<SceneRoute const*> own(SceneNode const& node) const
    {
        std::vector<SceneRoute const*> routes;
        if (auto const found = _out.find(&node); found != _out.end())
            std::ranges::copy_if(found->second, std::back_inserter(routes), [&](SceneRoute const* route) {
                return node.decides || !_inputs.contains({&node, baseName(route->fromField)});
            });
        return routes;
    }
    bool hasInputs(SceneNode const& node) const { return _in.contains(&node); }
    /// Whether events of nodes that are run may come there, whatever lies between.
    bool reached(SceneNode const& node) const { return _reached.contains(&node); }
    bool leads(SceneNode const& node) const { return _leading.contains(&node); }

private:
    using Routes = std::unordered_map<SceneNode const*, std::vector<SceneRoute const*>>;
    using Nodes = std::unordered_set<SceneNode const*>;

    static void spread(SceneNode const& start, Routes const& routes, SceneNode* SceneRoute::*end, Nodes& seen)
    {
        std::vector<SceneNode const*> open = {&start};
        while (!open.empty()) {
            auto const found = routes.find(open.back());
            open.pop_back();
            if (found == routes.end())
                continue;
            for (SceneRoute const* const route : found->second)
                if (SceneNode const* const next = route->*end; !next->known && seen.insert(next).second)
                    open.push_back(next);
        }
    }

    Routes _out, _in;
    std::set<std::pair<SceneNode const*, std::string_view>> _inputs; ///< fields that something is routed to
    Nodes _reached, _leading;
};

// Sends events of its own; all others pass on what they get.
bool acts(SceneNode const& node)
{
    constexpr std::string_view kinds[] = {"Sensor", "Filter", "Trigger",  "Sequencer",   "Toggle",
                                          "Damper", "Chaser", "Follower", "Interpolator"};
    return node.decides || std::ranges::any_of(kinds, [&](std::string_view kind) { return node.typeName.ends_with(kind); });
}

} // namespace

std::string NotRun::targetText() const
{
    constexpr std::size_t most = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(most, targets.size()); ++i)
        text += (i == 0 ? "" : i + 1 == targets.size() ? " and " : ", ") + targets[i];
    return targets.size() > most ? text + " and " + std::to_string(targets.size() - most) + " more" : text;
}

std::vector<NotRun> nodesNotRun(Scene const& scene)
{
    // Most scenes have nothing of the kind, large ones among them.
    if (std::ranges::none_of(scene.routes, [](SceneRoute const& route) { return !route.refused() && !route.from->known; })
        && std::ranges::none_of(scene.sceneNodes, &SceneNode::decides))
        return {};
    RouteMap const map(scene);
    std::unordered_map<SceneNode const*, std::vector<SceneNode const*>> held;
    for (SceneNode const& node : scene.sceneNodes)
        if (node.holder != nullptr && node.known)
            held[node.holder].push_back(&node);

    std::vector<NotRun> found;
    for (SceneNode const& node : scene.sceneNodes) {
        if (node.known)
            continue;
        auto routes = map.own(node);
        auto const holds = held.find(&node);
        bool const between = map.reached(node) || (map.leads(node) && (node.decides || map.hasInputs(node)));
        if (!acts(node) || !between) // then only what moves an interpolator itself counts
            std::erase_if(routes, [](SceneRoute const* route) { return !isInterpolator(*route->to); });
        bool const decision = node.decides && (map.reached(node) || holds != held.end());
        if (routes.empty() && !decision)
            continue;
        NotRun& entry = found.emplace_back(NotRun{&node, {}});
        for (SceneRoute const* const route : routes)
            entry.targets.push_back(route->to->name + '.' + route->toField);
        if (holds != held.end())
            for (SceneNode const* const other : holds->second)
                entry.targets.push_back(other->name);
    }
    return found;
}

} // namespace Zelvan::play
