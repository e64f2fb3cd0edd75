#pragma once

#include "player/scene/Scene.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Zelvan::play {

/// A value given to a field at a time of the scene.
struct Injection {
    std::string node, field, value;
    double time = 0;
};

/// When the frames of a run are: from 0 on at `fps`, so that what happens before is played too; recorded from
/// `from` to `to`, both ends included, or at the times `at` alone, which are frames of their own.
struct Timing {
    double from = 0;
    double to = 5;
    double fps = 60;
    std::vector<double> at;

    struct Frame {
        double time;
        bool recorded;
    };
    /// Rising. Frame k is at k / fps, so that no error adds up. Usage failure for times that make no sense.
    std::vector<Frame> frames() const;
};

/// Lets time pass in a scene: TimeSensors, and what is injected from outside. Goes before the scene does.
class Clock {
public:
    /// Opens the scene at time 0. `now` says what time that is, in seconds since 1970: sensors whose start lies in the past
    /// are in the middle of their cycle then.
    explicit Clock(Scene& scene, std::optional<double> now = {});
    ~Clock();
    Clock(Clock const&) = delete;
    Clock& operator=(Clock const&) = delete;

    /// A sensor starts at `time`, as if something had triggered it. Usage failure when there is no such sensor.
    void startSensor(std::string const& name, double time);
    /// All sensors that do not run now, disabled ones included.
    void startAll(double time);
    /// Usage failure when node, field or value do not fit.
    void inject(Injection const& injection);

    /// Lets time pass up to `time`: what is injected up to then at its own time, then one frame. `begin` is called before
    /// each of them.
    void advance(double time, std::function<void()> const& begin = {});
    /// Failure(exitScene) where the sensors that run from the opening on would be looked at more than `most` times in
    /// that many frames, and, while time passes, when they have been.
    void limitTo(std::size_t frames, std::size_t most);

    /// From a sensor's start to its end (or the last frame); times without pauses.
    struct Run {
        double start, end, cycle;
    };
    struct Sensor {
        explicit Sensor(SceneNode& sensor) : node(&sensor) {}

        SceneNode* node;
        bool active = false;
        std::vector<Run> runs;
    };
    std::vector<Sensor> const& sensors() const { return _sensors; }
    /// The sensor whose fraction a node gets directly; null when there is none, or more than one.
    Sensor const* sensorOf(SceneNode const& node) const;
    /// Times within a sensor's runs at which its fraction is that of one of `fractions` (0 to 1).
    /// Nothing when there are more than `most`, or about as many.
    static std::optional<std::vector<double>> timesOf(Sensor const& sensor, std::vector<float> fractions, std::size_t most);
    /// Times at which a sensor begins another cycle; none when there are more than `most`.
    static std::vector<double> seamsOf(Sensor const& sensor, std::size_t most);
    /// Runs that are known before time has passed: of sensors that run from the opening or that are to be started.
    std::vector<Sensor> planned(double until) const;
    /// When all sensors that will run have run through a cycle; 5 s when none will.
    double cycleEnd() const;
    /// What a sensor that does not run waits for, and the option that starts it; empty while it runs.
    std::string waitsFor(Sensor const& sensor) const;

private:
    struct Event {
        double time;
        Field* field;
        std::string value;
    };
    void frame(double time);
    template <class Look>
    void eachAwake(Look look);
    [[noreturn]] void refuseSensors(std::size_t most) const;
    void add(double time, Field& field, std::string const& value);
    void start(SceneNode& sensor, double time);

    Scene& _scene;
    std::vector<Sensor> _sensors;
    std::unordered_map<Node const*, std::size_t> _byNode; ///< sensors by their nodes
    /// A bit for each sensor that a frame has to look at: it runs, will start, or a field of it has got a value.
    std::vector<std::uint64_t> _awake;
    std::size_t _looks = 0, _mostLooks = ~std::size_t(0);
    std::vector<Event> _events; ///< by time, those to come last
    std::size_t _nextEvent = 0;
    double _time = 0; ///< of the last frame
};

} // namespace Zelvan::play
