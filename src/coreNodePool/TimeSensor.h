#pragma once

#include "coreNodePool/TransCoder.h"

namespace Zelvan {

class TimeSensorProc;

/// The clock of a scene's animations: while active it sends the fraction of the cycle that has passed. All times
/// are seconds of scene time, 0 being the opening of the scene. `enabled` is the field of TransCoder.
class ZELVAN_CORE_API TimeSensor : public TransCoder {
public:
    enum FieldIndex : unsigned {
        cycleIntervalIndex = 3,
        loopIndex,
        startTimeIndex,
        stopTimeIndex,
        pauseTimeIndex,
        resumeTimeIndex,
        cycleTimeIndex,
        elapsedTimeIndex,
        fraction_changedIndex,
        isActiveIndex,
        isPausedIndex,
        timeIndex
    };
    static NodePartDesc _desc[12];
    static NodeType _type;
    static bool isType(Node* node);
    static Node* createNode(NodeType& type, NodeNameSpace& nameSpace, char const* name);
    static NodeProc* createProc(NodeType& type, Node& node);

    TimeSensor(NodeType& type, NodeNameSpace& nameSpace, char const* name);
    ~TimeSensor() override;
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override;
    TimeSensorProc& sensorProc() const;

    SFTime _cycleInterval{*this};
    SFBool _loop{*this};
    SFTime _startTime{*this};
    SFTime _stopTime{*this};
    SFTime _pauseTime{*this};
    SFTime _resumeTime{*this};
    SFTime _cycleTime{*this};
    SFTime _elapsedTime{*this};
    SFFloat _fraction_changed{*this};
    SFBool _isActive{*this};
    SFBool _isPaused{*this};
    SFTime _time{*this};

private:
    template <class Visitor>
    void eachField(Visitor visit);
};

} // namespace Zelvan
