#include "player/checking/CheckRules.h"

#include <algorithm>
#include <utility>

namespace Zelvan::play {

namespace {

/// Follows events from interpolator to interpolator and through nodes without a class.
class LoopFinder {
public:
    LoopFinder(Scene const& scene, FindingCollector& findings) : _scene(scene), _findings(findings) {}

    void follow(Field& start)
    {
        enter(start);
        while (!_path.empty())
            step();
    }

private:
    struct At {
        Field* field; ///< that an event arrives at
        Route* next;  ///< to follow
        SceneNode const* node;
    };
    enum class State : char { onPath, done };

    // The field that sends what arrives; null where events end.
    static Field* passedOn(Field& field, SceneNode const* node)
    {
        if (node == nullptr || !node->known)
            return node == nullptr || node->decides ? nullptr : &field;
        bool const fraction = std::string_view(field.findName()) == "set_fraction";
        return fraction && isInterpolator(*node) ? outputOf(*node) : nullptr;
    }
    void enter(Field& field)
    {
        SceneNode const* const node = _scene.sceneNode(*field._node);
        Field* const out = passedOn(field, node);
        if (out == nullptr || out->_routesOut == nullptr || !_states.try_emplace(&field, State::onPath).second)
            return;
        _path.push_back({&field, out->_routesOut, node});
    }
    void step()
    {
        At& at = _path.back();
        if (at.next == nullptr) {
            _states[at.field] = State::done;
            _path.pop_back();
            return;
        }
        Route* const route = std::exchange(at.next, at.next->nextOut());
        auto const known = _states.find(&route->to());
        if (known == _states.end())
            enter(route->to());
        else if (known->second == State::onPath)
            report(*route);
    }
    void report(Route const& closing)
    {
        if (_reported >= most || ++_closed > 10 * most)
            return;
        auto const first = std::find_if(_path.begin(), _path.end(), [&](At const& at) { return at.field == &closing.to(); });
        if (std::none_of(first, _path.end(), [](At const& at) { return isInterpolator(*at.node); }))
            return;
        constexpr std::ptrdiff_t shown = 6;
        std::string names, more = _path.end() - first > shown ? "... -> " : "";
        for (auto at = first; at != _path.end() && at - first < shown; ++at)
            names += at->node->name + " -> ";
        auto const place =
            std::find_if(_scene.routes.begin(), _scene.routes.end(), [&](SceneRoute const& r) { return r.route == &closing; });
        if (place == _scene.routes.end())
            return;
        ++_reported;
        // Two fields that are kept equal this way are meant.
        bool const direct = std::all_of(first, _path.end(), [](At const& at) { return at.node->known; });
        _findings.add("route-loop", *place, names + more + first->node->name + ": an event that comes round again is dropped",
                      "take one of the ROUTEs out", direct ? Severity::warning : Severity::note);
    }

    static constexpr unsigned most = 100; // each is looked for among all routes
    Scene const& _scene;
    FindingCollector& _findings;
    std::vector<At> _path;
    std::unordered_map<Field const*, State> _states;
    unsigned _reported = 0, _closed = 0; ///< loops, also those without interpolators
};

} // namespace

void checkRouteLoops(Scene const& scene, FindingCollector& findings)
{
    LoopFinder finder(scene, findings);
    for (SceneNode const& node : scene.sceneNodes)
        if (isInterpolator(node))
            finder.follow(*fieldOf(node, "set_fraction"));
}

} // namespace Zelvan::play
