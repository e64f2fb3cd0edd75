#include "player/playing/Clock.h"

#include "coreNodePool/TimeSensor.h"
#include "coreNodePool/TimeSensorProc.h"
#include "player/scene/DidYouMean.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace Zelvan::play {

namespace {

TimeSensor& timeSensor(Clock::Sensor const& sensor)
{
    return static_cast<TimeSensor&>(*sensor.node->node);
}

} // namespace

std::vector<Timing::Frame> Timing::frames() const
{
    constexpr double most = 1e7;
    std::vector<double> exact = at;
    std::sort(exact.begin(), exact.end());
    double const last = exact.empty() ? to : exact.back();
    bool const finite = std::isfinite(from) && std::isfinite(last) && std::isfinite(fps);
    if (!finite || from < 0 || (exact.empty() && last < from) || !(fps > 0) || (!exact.empty() && exact.front() < 0))
        throw Failure(exitUsage,
                      exact.empty() && last < from ? "--to " + roundNumber(last) + " is before --from " + roundNumber(from)
                                                   : "expected times that are not negative and fps above 0");
    if (last * fps > most)
        throw Failure(exitUsage, "more than " + roundNumber(most, 9) + " frames; choose a shorter time or a lower --fps");

    std::vector<Frame> frames;
    // The end counts as reached when only rounding keeps the last frame from it.
    double const rounding = 1e-9;
    auto const count = static_cast<std::size_t>(std::floor(last * fps + rounding));
    frames.reserve(count + 1 + exact.size());
    auto next = exact.begin();
    for (std::size_t k = 0; k <= count; ++k) {
        double const time = static_cast<double>(k) / fps;
        for (; next != exact.end() && *next < time; ++next)
            frames.push_back({*next, true});
        bool const hit = next != exact.end() && *next == time;
        while (next != exact.end() && *next == time)
            ++next;
        frames.push_back({time, exact.empty() ? time >= from - rounding / fps : hit});
    }
    for (; next != exact.end(); ++next)
        frames.push_back({*next, true});
    return frames;
}

Clock::Clock(Scene& scene, std::optional<double> now) : _scene(scene)
{
    for (SceneNode& node : scene.sceneNodes)
        if (node.known && TimeSensor::isType(node.node)) {
            _byNode[node.node] = _sensors.size();
            _sensors.emplace_back(node);
        }
    scene.goLive();
    _awake.resize((_sensors.size() + 63) / 64);
    for (std::size_t i = 0; i < _sensors.size(); ++i) {
        TimeSensorProc& proc = timeSensor(_sensors[i]).sensorProc();
        if (now)
            proc.open(0, *now);
        else
            proc.open(0);
        proc.watch(&_awake[i / 64], i % 64);
        _awake[i / 64] |= std::uint64_t(1) << i % 64;
    }
}

Clock::~Clock()
{
    for (Sensor const& sensor : _sensors)
        timeSensor(sensor).sensorProc().watch(nullptr, 0);
}

void Clock::limitTo(std::size_t frames, std::size_t most)
{
    _mostLooks = most;
    // What does not loop may end long before the last frame.
    auto const running = static_cast<std::size_t>(std::ranges::count_if(_sensors, [](Sensor const& sensor) {
        return timeSensor(sensor)._loop._value && timeSensor(sensor).sensorProc().isDue(0);
    }));
    if (running > 0 && frames > most / running)
        refuseSensors(most);
}

void Clock::refuseSensors(std::size_t most) const
{
    char const* const what = _sensors.size() == 1 ? " TimeSensor" : " TimeSensors";
    throw Failure(exitScene,
                  "error: " + std::to_string(_sensors.size()) + what + " would be asked more than " + std::to_string(most)
                      + " times: fewer frames or a shorter time are less (--max-values "
                        "raises the limit)");
}

// In the order of the file, those included that an earlier one wakes.
template <class Look>
void Clock::eachAwake(Look look)
{
    for (std::size_t word = 0; word < _awake.size(); ++word)
        for (unsigned bit = 0; bit < 64; ++bit) {
            std::uint64_t const rest = _awake[word] >> bit;
            if (rest == 0)
                break;
            bit += static_cast<unsigned>(std::countr_zero(rest));
            look(_sensors[word * 64 + bit]);
        }
}

void Clock::startSensor(std::string const& name, double time)
{
    SceneNode* const node = _scene.find(name);
    if (node == nullptr || !node->known || !TimeSensor::isType(node->node)) {
        DidYouMean meant(name);
        std::string known;
        for (Sensor const& sensor : _sensors) {
            meant.offer(sensor.node->name);
            known += (known.empty() ? "" : ", ") + sensor.node->name;
        }
        throw Failure(exitUsage,
                      "--start: no TimeSensor is named \"" + name + '"'
                          + (known.empty()                 ? "; there are none"
                                 : meant.nearest().empty() ? "; there are: " + known
                                                           : meant.text()));
    }
    start(*node, time);
}

void Clock::startAll(double time)
{
    for (Sensor const& sensor : _sensors)
        if (TimeSensorProc const& proc = timeSensor(sensor).sensorProc(); !proc.isActive() && !proc.isDue(time))
            start(*sensor.node, time);
}

void Clock::start(SceneNode& sensor, double time)
{
    auto& node = static_cast<TimeSensor&>(*sensor.node);
    add(time, node._enabled, "true");
    add(time, node._startTime, shortNumber(time));
}

void Clock::add(double time, Field& field, std::string const& value)
{
    auto const first = _events.begin() + static_cast<std::ptrdiff_t>(_nextEvent);
    _events.insert(std::upper_bound(first, _events.end(), time, [](double t, Event const& e) { return t < e.time; }),
                   {time, &field, value});
}

void Clock::inject(Injection const& injection)
{
    std::string const what = "--inject " + injection.node + '.' + injection.field + ": ";
    SceneNode* const node = _scene.find(injection.node);
    if (node == nullptr) {
        DidYouMean meant(injection.node);
        for (SceneNode const& other : _scene.sceneNodes)
            meant.offer(other.name);
        throw Failure(exitUsage, what + "no node is named \"" + injection.node + '"' + meant.text());
    }
    Field* field = _scene.field(*node, injection.field, Node::asInput);
    if (field == nullptr && !node->known) // plays the part of a Script
        field = _scene.field(*node, injection.field, Node::asOutput);
    if (field == nullptr)
        throw Failure(exitUsage,
                      what
                          + (node->known ? withArticle(node->typeName) + " has no such field"
                                         : "no route starts there, so nothing would happen"));
    if (node->known && (field->type() & inputOnly) == 0)
        throw Failure(exitUsage, what + "expected a field that takes events, this one is " + accessName(field->type()));
    // Tried on a field of its own now, so that a bad value is refused before the run.
    auto const trial = makeField(field->dataType());
    trial->_desc = field->_desc;
    bool const fits = trial->setAndValidateValueByStr(injection.value.c_str(), false);
    trial->_desc = nullptr;
    if (!fits) {
        FieldTextError const& error = Field::textError();
        throw Failure(exitUsage, what + "expected " + error.expected + ", found \"" + error.found + '"');
    }
    add(injection.time, *field, injection.value);
}

void Clock::frame(double time)
{
    // A sensor that another one starts begins in the same frame, whatever their order in the file.
    constexpr int chains = 16;
    eachAwake([&](Sensor& sensor) {
        ++_looks;
        timeSensor(sensor).sensorProc().startIfDue(time);
        timeSensor(sensor).sensorProc().tick(time);
    });
    if (_looks > _mostLooks)
        refuseSensors(_mostLooks);
    for (int pass = 0; pass < chains; ++pass) {
        bool started = false;
        eachAwake([&](Sensor& sensor) {
            if (timeSensor(sensor).sensorProc().startIfDue(time)) {
                timeSensor(sensor).sensorProc().tick(time);
                started = true;
            }
        });
        if (!started)
            break;
    }
    eachAwake([&](Sensor& sensor) {
        TimeSensorProc const& proc = timeSensor(sensor).sensorProc();
        if (proc.isActive() && (!sensor.active || sensor.runs.back().start != proc.startTime()))
            sensor.runs.push_back({proc.startTime(), time, proc.interval()});
        if (proc.isActive() || sensor.active)
            sensor.runs.back().end = time;
        sensor.active = proc.isActive();
        if (!proc.mayChange(time)) {
            auto const i = static_cast<std::size_t>(&sensor - _sensors.data());
            _awake[i / 64] &= ~(std::uint64_t(1) << i % 64);
        }
    });
    _scene.nodes().finishFrame(time);
}

void Clock::advance(double time, std::function<void()> const& begin)
{
    for (; _nextEvent < _events.size() && _events[_nextEvent].time <= time; ++_nextEvent) {
        if (begin)
            begin();
        Event const& event = _events[_nextEvent];
        event.field->setAndValidateValueByStr(event.value.c_str(), false);
        NodeHold const hold(*event.field->_node);
        event.field->_node->fieldChanged(*event.field, event.time, nullptr);
    }
    if (begin)
        begin();
    _time = time;
    frame(time);
}

Clock::Sensor const* Clock::sensorOf(SceneNode const& node) const
{
    Field* const fraction = fieldOf(node, "set_fraction");
    Route const* const in = fraction ? fraction->_routesIn : nullptr;
    if (in == nullptr || in->nextIn() != nullptr || in->from().dataType() != SFFloatType)
        return nullptr;
    auto const found = _byNode.find(in->from()._node);
    return found == _byNode.end() ? nullptr : &_sensors[found->second];
}

std::optional<std::vector<double>> Clock::timesOf(Sensor const& sensor, std::vector<float> fractions, std::size_t most)
{
    std::erase_if(fractions, [](float fraction) { return !(fraction >= 0 && fraction <= 1); });
    std::vector<double> times;
    if (fractions.empty())
        return times;
    for (Run const& run : sensor.runs) {
        double const before = std::max(0.0, std::floor(-run.start / run.cycle)); // cycles before the opening
        if (!((run.end - run.start) / run.cycle - before < static_cast<double>(most)))
            return std::nullopt;
        double const first = run.start + before * run.cycle;
        for (std::size_t n = 0; n <= most; ++n) {
            double const cycle = first + static_cast<double>(n) * run.cycle;
            if (!(cycle <= run.end))
                break;
            if (times.size() + fractions.size() > most)
                return std::nullopt;
            for (float const fraction : fractions)
                if (double const time = cycle + fraction * run.cycle; time >= 0 && time <= run.end)
                    times.push_back(time);
        }
    }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

std::vector<double> Clock::seamsOf(Sensor const& sensor, std::size_t most)
{
    std::vector<double> seams = timesOf(sensor, {0.f}, most).value_or(std::vector<double>());
    std::erase_if(seams, [&](double time) { // runs follow each other
        return std::ranges::binary_search(sensor.runs, time, {}, &Run::start);
    });
    return seams;
}

std::vector<Clock::Sensor> Clock::planned(double until) const
{
    std::vector<std::vector<Event const*>> injected(_sensors.size());
    for (Event const& event : _events)
        if (auto const found = _byNode.find(event.field->_node); found != _byNode.end() && event.time <= until)
            injected[found->second].push_back(&event);
    std::vector<Sensor> plan;
    for (std::size_t i = 0; i < _sensors.size(); ++i) {
        Sensor& copy = plan.emplace_back(*_sensors[i].node);
        TimeSensor& node = timeSensor(_sensors[i]);
        double const cycle = node._cycleInterval._value;
        std::optional<double> start; // of the run that is not in the plan yet
        auto const end = [&] { return node._loop._value ? until : std::min(until, *start + cycle); };
        auto const run = [&] {
            if (start && cycle > 0)
                copy.runs.push_back({*start, end(), cycle});
        };
        TimeSensorProc const& proc = node.sensorProc();
        if (proc.startTime() <= until && proc.isDue(std::max(0.0, proc.startTime())))
            start = proc.startTime();
        bool undisturbed = !(node._stopTime._value > node._startTime._value) // only its cycle ends a run
            && std::ranges::none_of(node.fields(), [](Field const* field) { return field->_routesIn != nullptr; });
        for (Event const* const event : injected[i]) {
            if (event->field != &node._startTime) {
                undisturbed = undisturbed && event->field == &node._enabled && event->value == "true";
                continue;
            }
            if (start && std::max(0.0, *start) < event->time) { // it has begun
                if (undisturbed && event->time <= end())        // and runs
                    continue;
                run();
            }
            start = event->time;
        }
        run();
    }
    return plan;
}

double Clock::cycleEnd() const
{
    constexpr double longest = 60, otherwise = 5;
    double end = 0;
    for (Sensor const& sensor : planned(longest))
        for (Run const& run : sensor.runs)
            end = std::max(end, std::min(std::max(run.start, 0.) + run.cycle, run.end));
    return end > 0 ? end : otherwise;
}

std::string Clock::waitsFor(Sensor const& sensor) const
{
    std::string const start = " (--start " + sensor.node->name + ')';
    double const ahead = timeSensor(sensor).sensorProc().startTime();
    if (ahead > _time && std::isfinite(ahead) && timeSensor(sensor).enabled())
        return "starts at " + roundNumber(ahead, 9) + " s";
    // Whoever sets the field is what the author meant to do so.
    auto const by = [&](Field const& field, char const* before) {
        std::string names;
        for (Route* route = field._routesIn; route != nullptr; route = route->nextIn())
            if (SceneNode const* const from = _scene.sceneNode(*route->from()._node))
                names += (names.empty() ? before : ", ") + from->name + '.' + route->from().findName();
        return names;
    };
    std::string why;
    switch (timeSensor(sensor).sensorProc().idle()) {
    case TimeSensorProc::Idle::no: return "";
    case TimeSensorProc::Idle::disabled: return "waits to be enabled" + by(timeSensor(sensor)._enabled, " by ") + start;
    case TimeSensorProc::Idle::badInterval: return "cannot run: cycleInterval is not above 0";
    case TimeSensorProc::Idle::ended: return "has ended";
    case TimeSensorProc::Idle::stopAfterStart:
        why = ": its stopTime " + roundNumber(timeSensor(sensor)._stopTime._value, 9) + " is after its startTime "
            + roundNumber(timeSensor(sensor)._startTime._value, 9);
        break;
    case TimeSensorProc::Idle::notLooping: break;
    }
    std::string const starters = by(timeSensor(sensor)._startTime, "");
    return "waits for " + (starters.empty() ? "a startTime event" : starters) + start + why;
}

} // namespace Zelvan::play
