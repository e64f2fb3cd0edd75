#pragma once

#include "base/BaseObject.h"
#include "base/Log.h"
#include "base/Node.h"
#include "base/NodePart.h"
#include "base/TimeStamp.h"

#include <string>

namespace Zelvan {

class Field;
class Route;

/// Sees every value that a field of a live node sends, before it travels: for hosts that record. It may throw: that
/// ends the cascade of events, and reaches whoever started it.
class ZELVAN_BASE_API SendObserver {
public:
    virtual void sent(Field& field, TimeStamp const& timeStamp) = 0;

protected:
    ~SendObserver() = default;
};

/// Why a text was refused by a field: the place in the text, what was expected there, what was found.
struct FieldTextError {
    std::size_t position = 0;
    std::string expected;
    std::string found;
};

/// Base of all fields: a value that belongs to a node and travels along routes.
/// The virtual operations are part of the binary contract with plug-ins: keep their order.
class ZELVAN_BASE_API Field : public BaseObject {
public:
    enum Cardinality : unsigned { single = 0, multiple = 1 };
    /// Who asks for a value to be published; callers in node pools pass `byProcessor`.
    enum CallerType : unsigned { byProcessor = 0, byHost = 1 };

    explicit Field(Node* node = nullptr) : _node(node) {}
    /// Removes the routes from and to this field.
    virtual ~Field();

    /// Name in the description; "" while the field has none.
    virtual char const* findName() const;
    virtual NodePartDataType dataType() const = 0;
    /// Takes over the value of a field of the same data type. The caller has compared the types: routes do so
    /// once, when they are made.
    virtual void assignValue(Field const& other) = 0;
    /// Access kind in the description; initializeOnly while the field has none.
    virtual NodePartType type() const { return _desc ? _desc->_type : initializeOnly; }
    virtual std::string const& typeName() const { return _typeName; }

    /// Sets the value from X3D attribute text. False, with `textError()` saying why and the value
    /// untouched, when the text does not fit. `single` asks for one element of a list field.
    virtual bool setValueByStr(char const* text, Cardinality cardinality) = 0;
    /// As `setValueByStr`, after checking the text against the description's allowed values;
    /// `report` also logs a refusal.
    virtual bool setAndValidateValueByStr(char const* text, bool report);
    /// The value as X3D attribute text: numbers separated by single spaces, the shortest that read back
    /// to the same bits.
    virtual std::string getValueAsStr() const = 0;
    /// One element of a list as text (empty when there is none); the whole value of a single field.
    virtual std::string get1ValueAsStr(int index) const = 0;

    /// Sets the value from its binary form; false, without change, when the length does not fit.
    virtual bool setValueByBin(std::string const& bin) = 0;
    /// Back to the description's default text, or the value type's default.
    virtual void setToDefault();
    /// Replaces one element; false, without change, when there is no such element or the text is bad.
    virtual bool set1ValueByStr(int index, char const* text) = 0;
    /// Bytes of one element's binary form; 0 when elements differ in length.
    virtual unsigned elementSize() const = 0;
    /// The words of the value, little-endian, one element after the other. -1: the whole value.
    virtual std::string getValueAsBin(int index) const = 0;
    virtual std::string get1ValueAsBin(int index) const = 0;
    /// Lists: appends the elements of the text and returns how many; single fields set their value, return 0.
    virtual int addValueByStr(char const* text, Cardinality cardinality) = 0;
    virtual bool set1ValueByBin(int index, std::string const& bin) = 0;

    virtual Cardinality cardinality() const = 0;
    virtual unsigned size() const = 0;
    virtual bool empty() const = 0;
    virtual void resize(unsigned size) = 0;
    virtual void reserve(unsigned size) = 0;
    virtual void clear() = 0;
    virtual void free() = 0;
    virtual bool equalValue(Field const& other) const = 0;

    /// Sends the value along the field's routes. `recordOnly` stores it at the receivers without waking them.
    void send(TimeStamp const& timeStamp, bool alongRoutes, bool recordOnly);
    /// Whether the field takes a change now; see `refuseChanges`.
    bool receive(TimeStamp const&) { return (_flags & refusing) == 0; }
    void refuseChanges(bool refuse) { _flags = refuse ? _flags | refusing : _flags & ~refusing; }

    /// The observer of all fields in this thread; null for none, and what was set before is returned.
    static SendObserver* observe(SendObserver* observer);
    /// A number that the observer may give a field to know it by; 0 at first.
    unsigned tag() const { return static_cast<unsigned>(_flags >> tagShift); }
    void setTag(unsigned tag) { _flags = (_flags & ((1ul << tagShift) - 1)) | static_cast<unsigned long>(tag) << tagShift; }

    /// Marks the field, its node and the node's parents changed.
    inline void markChanged();
    /// Publishes a value that was just written: marks it and sends it, or only records it while the node
    /// is not live.
    inline void processValueChange(TimeStamp const& timeStamp, CallerType callerType);

    /// The last refusal of a text in this thread.
    static FieldTextError const& textError();
    static std::string const _typeName;

    Node* _node;
    NodePartDesc const* _desc = nullptr;
    Route* _routesOut = nullptr;
    Route* _routesIn = nullptr;
    unsigned long _flags = 0;

    // The owner and the routes belong to the object, not to its value.
    Field(Field const&) = delete;
    Field& operator=(Field const&) = delete;

protected:
    /// Remembers the error for `textError()`; always false.
    static bool refuseText(FieldTextError error);

private:
    static constexpr unsigned long refusing = 1;
    static constexpr unsigned tagShift = 32;
};

/// Index in the description; a value no description has while there is none.
constexpr unsigned noFieldIndex = ~0u;
inline unsigned indexOf(Field const& field)
{
    return field._desc ? field._desc->_index : noFieldIndex;
}

inline void Field::markChanged()
{
    if (_desc == nullptr) {
        if (logs(osg::LOG_INFO))
            writeLog(osg::LOG_INFO, "base/Field", 92, "void Zelvan::Field::markChanged()",
                     "Field without desc in XField::markChanged()\n");
        return;
    }
    if ((_node->_flags & Node::parentMarked) == 0) {
        _node->markParent(1);
        _node->_flags |= Node::parentMarked;
    }
    _node->_changedMask |= _desc->_mask;
}

/// Writes "type/node.field: text" as if from processValueChange at that line of this file.
ZELVAN_BASE_API void writeFieldLog(osg::LogLevel level, unsigned line, Field const& field, char const* text);

inline void Field::processValueChange(TimeStamp const& timeStamp, CallerType callerType)
{
    if (_desc == nullptr)
        return;
    Node& node = *_node;
    bool const sendAlways = (_desc->_flags & NodePartDesc::flagSendAlways) != 0;
    if ((node._traceFlags & Node::trace) != 0) [[unlikely]]
        writeFieldLog(osg::LOG_LOG, 152, *this, "processValueChange()\n");
    if (sendAlways && (node._isChangingMask & _desc->_mask).bits() != 0) [[unlikely]]
        if (logs(osg::LOG_WARNING))
            writeFieldLog(osg::LOG_WARNING, 159, *this, "processValueChange() && _isChangingMask set\n");

    if (!node.isLive()) {
        markChanged();
        send(0.0, true, true);
        return;
    }
    switch (_desc->_type) {
    case initializeOnly:
    case outputOnly:
        markChanged();
        send(timeStamp, true, false);
        return;
    case inputOnly:
        markChanged();
        if (receive(timeStamp))
            send(timeStamp, true, false);
        return;
    case inputOutput:
        markChanged();
        if (receive(timeStamp) && (sendAlways || callerType == byHost))
            send(timeStamp, true, false);
        return;
    }
}

} // namespace Zelvan
