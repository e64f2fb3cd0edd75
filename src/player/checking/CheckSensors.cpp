#include "player/checking/CheckRules.h"

#include "coreNodePool/TimeSensor.h"
#include "coreNodePool/TimeSensorProc.h"
#include "player/playing/Clock.h"

#include <algorithm>

namespace Zelvan::play {

void checkSensors(Scene& scene, FindingCollector& findings)
{
    Clock const clock(scene);
    auto const drives = [](TimeSensor const& node) {
        return std::ranges::any_of(node.fields(), [](Field const* field) { return field && field->_routesOut != nullptr; });
    };
    for (Clock::Sensor const& sensor : clock.sensors()) {
        auto const& node = static_cast<TimeSensor const&>(*sensor.node->node);
        bool const runs = node.sensorProc().isDue(0);
        double const interval = node._cycleInterval._value;
        bool const held = sensor.node->holder != nullptr;
        if (!(interval > 0)) {
            if (node._cycleInterval._routesIn == nullptr && !held)
                findings.add(
                    "cycle-interval", *sensor.node, &node._cycleInterval,
                    [&] { return ".cycleInterval is " + shortNumber(interval) + ": the sensor cannot run"; },
                    "write the seconds that a cycle lasts", drives(node) ? Severity::error : Severity::note);
        } else if (!runs && node._fraction_changed._routesOut != nullptr) {
            bool const started = held || isOffered(*sensor.node) || node._startTime._routesIn != nullptr
                || node._enabled._routesIn != nullptr || node._loop._routesIn != nullptr;
            findings.add(
                "idle-sensor", *sensor.node, nullptr,
                [&] { return ' ' + clock.waitsFor(sensor) + (started ? "" : ", and nothing in the scene starts it"); }, "",
                started ? Severity::hint : Severity::note);
        }
    }
}

} // namespace Zelvan::play
