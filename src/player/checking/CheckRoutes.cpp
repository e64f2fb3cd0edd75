#include "player/checking/CheckRules.h"

#include "coreNodePool/TimeSensor.h"
#include "coreNodePool/TimeSensorProc.h"
#include "player/playing/Clock.h"

#include <algorithm>
#include <utility>

namespace Zelvan::play {

namespace {

bool isSensor(SceneNode const& node)
{
    return node.known && TimeSensor::isType(node.node);
}

bool spansAll(SceneNode const& ease)
{
    auto const& keys = static_cast<MFFloat const*>(fieldOf(ease, "key"))->_value;
    return !keys.empty() && keys.front() == 0 && keys.back() == 1;
}

// A node without a class, as a person would call it: "Script Brain.angle".
std::string foreignName(SceneNode const& node, Field const& field)
{
    return node.typeName + ' ' + node.name + '.' + field.findName();
}

/// Follows events from interpolator to interpolator and through nodes without a class.
class LoopFinder {
public:
    LoopFinder(Scene const& scene, FindingCollector& findings) : _scene(scene), _findings(findings) {}

    void follow(Field& start)
    {
        if (enter(start))
            while (!_path.empty())
                step();
    }

private:
    struct At {
        Field* field; ///< that an event arrives at
        Route* next;  ///< to follow
        SceneNode const* node;
        std::size_t interpolators; ///< on the path up to here
    };
    enum class State : char { onPath, done };

    // The field that sends what arrives; null where events end.
    static Field* passedOn(Field& field, SceneNode const* node)
    {
        if (node == nullptr || !node->known)
            return node ? &field : nullptr;
        bool const fraction = std::string_view(field.findName()) == "set_fraction";
        return fraction && isInterpolator(*node) ? outputOf(*node) : nullptr;
    }
    bool enter(Field& field)
    {
        SceneNode const* const node = _scene.sceneNode(*field._node);
        Field* const out = passedOn(field, node);
        if (out == nullptr || !_states.try_emplace(&field, State::onPath).second)
            return false;
        std::size_t const before = _path.empty() ? 0 : _path.back().interpolators;
        _path.push_back({&field, out->_routesOut, node, before + isInterpolator(*node)});
        return true;
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
        auto const first = std::find_if(_path.begin(), _path.end(),
                                        [&](At const& at) { return at.field == &closing.to(); });
        if (_path.back().interpolators == first->interpolators - isInterpolator(*first->node))
            return;
        constexpr std::ptrdiff_t shown = 6;
        std::string names, more = _path.end() - first > shown ? "... -> " : "";
        for (auto at = first; at != _path.end() && at - first < shown; ++at)
            names += at->node->name + " -> ";
        auto const place = std::find_if(_scene.routes.begin(), _scene.routes.end(),
                                        [&](SceneRoute const& r) { return r.route == &closing; });
        if (place == _scene.routes.end())
            return;
        ++_reported;
        _findings.add("route-loop", *place,
                      names + more + first->node->name + ": an event that comes round again is dropped",
                      "take one of the ROUTEs out");
    }

    static constexpr unsigned most = 100; // each is looked for among all routes
    Scene const& _scene;
    FindingCollector& _findings;
    std::vector<At> _path;
    std::unordered_map<Field const*, State> _states;
    unsigned _reported = 0, _closed = 0; ///< loops, also those without interpolators
};

} // namespace

namespace {

void follow(Scene const& scene, SceneNode const& node, unsigned depth, unsigned& left, Drive& drive)
{
    constexpr unsigned deepest = 8;
    Route const* route = fieldOf(node, "set_fraction")->_routesIn;
    for (; route != nullptr && left > 0; route = route->nextIn()) {
        --left;
        SceneNode const* const from = scene.sceneNode(*route->from()._node);
        if (from == nullptr)
            continue;
        drive.any = true;
        if (isSensor(*from)) {
            if (static_cast<TimeSensor*>(from->node)->_loop._value)
                drive.looping = from;
        } else if (isInterpolator(*from) && from->node->type()._name == "EaseInEaseOut" && spansAll(*from)
                   && depth < deepest) {
            drive.eased = true;
            follow(scene, *from, depth + 1, left, drive);
        } else {
            drive.clocked = false;
        }
    }
}

} // namespace

Drive driveOf(Scene const& scene, SceneNode const& node)
{
    unsigned left = 64; // chains and fans of more routes are no animation
    Drive drive;
    follow(scene, node, 0, left, drive);
    return drive;
}

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

void checkRouteLoops(Scene const& scene, FindingCollector& findings)
{
    LoopFinder finder(scene, findings);
    for (SceneNode const& node : scene.sceneNodes)
        if (isInterpolator(node))
            finder.follow(*fieldOf(node, "set_fraction"));
}

void checkSensors(Scene& scene, FindingCollector& findings)
{
    Clock const clock(scene);
    for (Clock::Sensor const& sensor : clock.sensors()) {
        auto const& node = static_cast<TimeSensor const&>(*sensor.node->node);
        bool const runs = node.enabled() && node.sensorProc().startsAt(0);
        double const interval = node._cycleInterval._value;
        if (!(interval > 0))
            findings.add("cycle-interval", *sensor.node, &node._cycleInterval,
                         [&] { return ".cycleInterval is " + shortNumber(interval) + ": the sensor cannot run"; },
                         "write the seconds that a cycle lasts");
        else if (!runs && node._fraction_changed._routesOut != nullptr)
            findings.add("idle-sensor", *sensor.node, nullptr, [&] { return ' ' + clock.waitsFor(sensor); }, "");
    }
}

} // namespace Zelvan::play
