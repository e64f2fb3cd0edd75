#include "coreNodePool/TimeSensorProc.h"

#include "coreNodePool/TimeSensor.h"

#include <algorithm>
#include <cmath>

namespace Zelvan {

namespace {

template <class FieldClass, class Value>
void publish(FieldClass& field, Value value, TimeStamp const& now)
{
    field._value = value;
    field.processValueChange(now, Field::byProcessor);
}

} // namespace

TimeSensorProc::TimeSensorProc(NodeType& type, Node& node) : TransCoderProc(type, node) {}

TimeSensorProc::~TimeSensorProc() = default;

TimeSensor& TimeSensorProc::sensor() const
{
    return static_cast<TimeSensor&>(_node);
}

void TimeSensorProc::open(TimeStamp const& now)
{
    TimeSensor const& s = sensor();
    bool const stopped = s._stopTime._value > s._startTime._value;
    if (s._loop._value && !stopped)
        _startAt = now;
    _atOpening = stopped ? Idle::stopAfterStart : Idle::notLooping;
}

void TimeSensorProc::open(TimeStamp const& now, double since1970)
{
    TimeSensor& s = sensor();
    bool const stopped = s._stopTime._value > s._startTime._value && s._stopTime._value <= since1970;
    _atOpening = stopped ? Idle::stopAfterStart : Idle::notLooping;
    for (SFTime* const time : {&s._startTime, &s._stopTime, &s._pauseTime, &s._resumeTime})
        time->_value += now - since1970;
    _startAt = s._startTime._value;
    _stopAt = s._stopTime._value;
    _pauseAt = s._pauseTime._value;
    _resumeAt = s._resumeTime._value;
}

TimeSensorProc::Idle TimeSensorProc::idle() const
{
    if (_active)
        return Idle::no;
    if (!sensor().enabled())
        return Idle::disabled;
    if (!(sensor()._cycleInterval._value > 0))
        return Idle::badInterval;
    return _hasRun ? Idle::ended : _atOpening;
}

void TimeSensorProc::fieldChanged(TimeSensor& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    if (_flags != nullptr)
        *_flags |= _flag;
    switch (indexOf(field)) {
    case TransCoder::enabledIndex:
        if (_active && !node.enabled())
            end(timeStamp);
        return;
    case TimeSensor::startTimeIndex:
        if (!_active)
            _startAt = node._startTime._value;
        return;
    case TimeSensor::stopTimeIndex: _stopAt = node._stopTime._value; return;
    case TimeSensor::loopIndex:
        // Its start lies in the past, so it is due at once.
        if (node._loop._value && _startAt == never && _atOpening == Idle::notLooping)
            _startAt = timeStamp;
        return;
    case TimeSensor::pauseTimeIndex: _pauseAt = node._pauseTime._value; return;
    case TimeSensor::resumeTimeIndex: _resumeAt = node._resumeTime._value; return;
    default: TransCoderProc::fieldChanged(node, field, timeStamp, from);
    }
}

bool TimeSensorProc::isDue(TimeStamp const& now) const
{
    TimeSensor const& s = sensor();
    double const interval = s._cycleInterval._value;
    bool const stopped = _stopAt > _startAt && now >= _stopAt;
    return !_active && s.enabled() && _startAt <= now && !stopped && interval > 0
        && (s._loop._value || now < _startAt + interval);
}

bool TimeSensorProc::startIfDue(TimeStamp const& now)
{
    if (!isDue(now))
        return false;
    NodeHold const hold(_node);
    TimeSensor& s = sensor();
    _active = _hasRun = true;
    _paused = false;
    _pausedTotal = 0;
    _interval = s._cycleInterval._value;
    _cycle = -1;
    publish(s._isActive, true, now);
    return true;
}

void TimeSensorProc::tick(TimeStamp const& now)
{
    NodeHold const hold(_node);
    TimeSensor& s = sensor();
    if (_active && !_paused && _pauseAt > _resumeAt && _pauseAt >= _startAt && now >= _pauseAt) {
        double const begin = _pauseAt; // which may be set anew
        progress(begin, now);
        _paused = _active; // its cycle may have ended before
        if (_paused) {
            _pausedTotal -= begin;
            publish(s._isPaused, true, now);
        }
    }
    if (_active && _paused && _resumeAt > _pauseAt && now >= _resumeAt) {
        _pausedTotal = std::max(_pausedTotal + _resumeAt, 0.0); // pauseTime may have been set anew
        _paused = false;
        publish(s._isPaused, false, now);
    }
    if (!_active || (_paused && !(_stopAt > _startAt && now >= _stopAt)))
        return;
    if (_stopAt > _startAt && now >= _stopAt) {
        if (!_paused)
            progress(_stopAt, now);
        if (_active)
            end(now);
        return;
    }
    progress(now, now);
}

void TimeSensorProc::progress(TimeStamp const& moment, TimeStamp const& now)
{
    TimeSensor& s = sensor();
    double const elapsed = moment - _startAt - _pausedTotal;
    double const cycles = elapsed / _interval;
    double cycle = std::floor(cycles);
    bool const over = !s._loop._value && cycle > std::max(_cycle, 0.0);
    // At the seam of two cycles the sensor is at the end of the first one, not at the start of the second.
    double fraction = cycles - cycle;
    if (over || (fraction == 0 && elapsed > 0))
        fraction = 1;
    if (!over && cycle > _cycle) {
        _cycle = cycle;
        publish(s._cycleTime, _startAt + cycle * _interval + _pausedTotal, now);
    }
    publish(s._elapsedTime, over ? (std::max(_cycle, 0.0) + 1) * _interval : elapsed, now);
    publish(s._time, moment, now);
    publish(s._fraction_changed, static_cast<float>(fraction), now);
    if (over && _active)
        end(now);
}

void TimeSensorProc::end(TimeStamp const& now)
{
    _active = false;
    publish(sensor()._isActive, false, now);
}

} // namespace Zelvan
