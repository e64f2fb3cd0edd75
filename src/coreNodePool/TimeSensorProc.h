#pragma once

#include "coreNodePool/TransCoderProc.h"

#include <cstdint>
#include <limits>

namespace Zelvan {

class TimeSensor;

/// Runs a TimeSensor. The host calls `open` once and `tick` with times that never go back.
class ZELVAN_CORE_API TimeSensorProc : public TransCoderProc {
public:
    /// Why a sensor is not running.
    enum class Idle {
        no,             ///< it runs
        disabled,       ///< `enabled` is FALSE
        stopAfterStart, ///< the file's stopTime follows its startTime: stopped until somebody sets startTime
        notLooping,     ///< the one cycle it had ended long ago
        badInterval,    ///< cycleInterval is not above 0
        ended           ///< it has run here, and ended
    };

    TimeSensorProc(NodeType& type, Node& node);
    ~TimeSensorProc() override;
    void fieldChanged(TimeSensor& node, Field& field, TimeStamp const& timeStamp, Field* from);

    /// The scene opens. Times in a file are seconds since 1970, so they all lie in the past: a looping sensor
    /// without a stopTime after its startTime runs from now on, at fraction 0; every other one is idle.
    void open(TimeStamp const& now);
    /// The same where it is known what time it is, in seconds since 1970: the times of the file become the host's, and
    /// a sensor whose start lies in the past is in the middle of its cycle.
    void open(TimeStamp const& now, double since1970);
    /// Whether it would start now.
    bool isDue(TimeStamp const& now) const;
    /// Starts if it is due; true when it did.
    bool startIfDue(TimeStamp const& now);
    /// Sends what is due at `now` while active, and ends when the time has come.
    void tick(TimeStamp const& now);

    /// Sets a bit of `flags` (null: no more) whenever a field of the sensor gets a value: between ticks, only that makes a sensor start that is not
    /// due at a time to come.
    void watch(std::uint64_t* flags, unsigned bit)
    {
        _flags = flags;
        _flag = std::uint64_t(1) << bit;
    }
    bool isActive() const { return _active; }
    /// Whether time alone may make it send something after `now`.
    bool mayChange(TimeStamp const& now) const { return _active || (_startAt > now && _startAt != never); }
    /// Of the run that lasts, of one that is to come, or of the last one; infinite when there is none.
    TimeStamp startTime() const { return _startAt; }
    double interval() const { return _interval; }
    Idle idle() const;

private:
    TimeSensor& sensor() const;
    /// Sends at `now` what holds at `moment`, which may lie before it.
    void progress(TimeStamp const& moment, TimeStamp const& now);
    void end(TimeStamp const& now);

    static constexpr double never = std::numeric_limits<double>::infinity();

    std::uint64_t* _flags = nullptr; ///< the host's
    std::uint64_t _flag = 0;
    bool _active = false;
    bool _paused = false;
    bool _hasRun = false;
    Idle _atOpening = Idle::notLooping;
    double _startAt = never;
    double _stopAt = -never;
    double _pauseAt = -never;
    double _resumeAt = -never;
    double _pausedTotal = 0; ///< of pauses; in one, less the time at which it began
    double _interval = 1;    ///< of the cycle that runs; changes of the field wait until the sensor has ended
    double _cycle = 0;       ///< number of the cycle at the last tick
};

} // namespace Zelvan
