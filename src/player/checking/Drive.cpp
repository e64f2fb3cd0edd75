#include "player/checking/CheckRules.h"

#include "base/Fields.h"
#include "coreNodePool/TimeSensor.h"

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
            auto const& sensor = static_cast<TimeSensor const&>(*from->node);
            bool const runs = sensor._cycleInterval._value > 0 || sensor._cycleInterval._routesIn != nullptr;
            if (sensor._loop._value && runs) {
                drive.looping = from;
                drive.mayEnd = sensor._loop._routesIn != nullptr || sensor._stopTime._routesIn != nullptr;
            }
        } else if (isInterpolator(*from) && from->node->type()._name == "EaseInEaseOut" && spansAll(*from) && depth < deepest) {
            drive.eased = true;
            follow(scene, *from, depth + 1, left, drive);
        } else {
            drive.foreign = true;
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

} // namespace Zelvan::play
