#include "player/checking/CheckRules.h"

#include "coreNodePool/TimeSensor.h"
#include "coreNodePool/TimeSensorProc.h"
#include "player/playing/Clock.h"

namespace Zelvan::play {

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
