#include "coreNodePool/TimeSensor.h"

#include "coreNodePool/TimeSensorProc.h"

namespace Zelvan {

namespace {

NodePartDesc part(unsigned index, NodePartType access, NodePartDataType type, char const* name, char const* defaultValue,
                  char const* description)
{
    return {index, 1ul << index, access, type, 1, name, nullptr, defaultValue, nullptr, description, 0};
}

} // namespace

NodePartDesc TimeSensor::_desc[12] = {
    part(cycleIntervalIndex, inputOutput, SFTimeType, "cycleInterval", "1", "Length of a cycle in seconds, above 0."),
    part(loopIndex, inputOutput, SFBoolType, "loop", "FALSE", "Whether another cycle follows when one has ended."),
    part(startTimeIndex, inputOutput, SFTimeType, "startTime", "0", "When to start; ignored while active."),
    part(stopTimeIndex, inputOutput, SFTimeType, "stopTime", "0", "When to stop; ignored unless after startTime."),
    part(pauseTimeIndex, inputOutput, SFTimeType, "pauseTime", "0", "When to pause."),
    part(resumeTimeIndex, inputOutput, SFTimeType, "resumeTime", "0", "When to go on after a pause."),
    part(cycleTimeIndex, outputOnly, SFTimeType, "cycleTime", nullptr, "Sent when a cycle begins: its first moment."),
    part(elapsedTimeIndex, outputOnly, SFTimeType, "elapsedTime", nullptr, "Seconds since the start, pauses left out."),
    part(fraction_changedIndex, outputOnly, SFFloatType, "fraction_changed", nullptr,
         "How much of the cycle has passed, 0 to 1."),
    part(isActiveIndex, outputOnly, SFBoolType, "isActive", nullptr, "Sent when the sensor starts and stops."),
    part(isPausedIndex, outputOnly, SFBoolType, "isPaused", nullptr, "Sent when a pause begins and ends."),
    part(timeIndex, outputOnly, SFTimeType, "time", nullptr, "The current time, while active.")};

NodeType TimeSensor::_type(theSceneNodeTypeFactory(), "TimeSensor", "CoreNodePool", "TransCoder", nullptr, nullptr, "Time",
                           nullptr, "stable", "TimeSensor sends events as time passes", "X3D2.0", false, false,
                           &TimeSensor::isType, &TimeSensor::createNode, &TimeSensor::createProc, _desc, 12);

bool TimeSensor::isType(Node* node)
{
    return dynamic_cast<TimeSensor*>(node) != nullptr;
}

Node* TimeSensor::createNode(NodeType& type, NodeNameSpace& nameSpace, char const* name)
{
    return new TimeSensor(type, nameSpace, name);
}

NodeProc* TimeSensor::createProc(NodeType& type, Node& node)
{
    return new TimeSensorProc(type, node);
}

template <class Visitor>
void TimeSensor::eachField(Visitor visit)
{
    unsigned index = cycleIntervalIndex;
    for (Field* const field :
         {static_cast<Field*>(&_cycleInterval), static_cast<Field*>(&_loop), static_cast<Field*>(&_startTime),
          static_cast<Field*>(&_stopTime), static_cast<Field*>(&_pauseTime), static_cast<Field*>(&_resumeTime),
          static_cast<Field*>(&_cycleTime), static_cast<Field*>(&_elapsedTime), static_cast<Field*>(&_fraction_changed),
          static_cast<Field*>(&_isActive), static_cast<Field*>(&_isPaused), static_cast<Field*>(&_time)})
        visit(*field, index++);
}

TimeSensor::TimeSensor(NodeType& type, NodeNameSpace& nameSpace, char const* name) : TransCoder(type, nameSpace, name)
{
    _cycleInterval._value = 1;
    eachField([this](Field& field, unsigned index) { regField(field, _type, index, true); });
}

TimeSensor::~TimeSensor()
{
    eachField([this](Field&, unsigned index) { unregField(index); });
}

void TimeSensor::fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from)
{
    if (_proc != nullptr)
        sensorProc().fieldChanged(*this, field, timeStamp, from);
}

TimeSensorProc& TimeSensor::sensorProc() const
{
    return static_cast<TimeSensorProc&>(*_proc);
}

} // namespace Zelvan
