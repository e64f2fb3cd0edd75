#pragma once

#include "interpolationNodePool/Export.h"
#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/PoolLog.h"

#include <iterator>

// What all node and processor classes of the pool have in common. The functions work; the macros at the end
// only declare, or forward in one line, where a class name must be stamped.

namespace Zelvan {

// What the framework gives numbers for.

/// How a field may be used.
namespace Access {
constexpr auto inputOnly = static_cast<NodePartType>(2);
constexpr auto outputOnly = static_cast<NodePartType>(4);
constexpr auto inputOutput = static_cast<NodePartType>(7);
} // namespace Access

/// The type of a field's value.
namespace Holds {
constexpr auto SFBool = static_cast<NodePartDataType>(1);
constexpr auto SFColor = static_cast<NodePartDataType>(3);
constexpr auto MFColor = static_cast<NodePartDataType>(4);
constexpr auto SFFloat = static_cast<NodePartDataType>(9);
constexpr auto MFFloat = static_cast<NodePartDataType>(10);
constexpr auto SFMatrix4f = static_cast<NodePartDataType>(21);
constexpr auto MFMatrix4f = static_cast<NodePartDataType>(22);
constexpr auto SFRotation = static_cast<NodePartDataType>(25);
constexpr auto MFRotation = static_cast<NodePartDataType>(26);
constexpr auto SFString = static_cast<NodePartDataType>(27);
constexpr auto SFVec2f = static_cast<NodePartDataType>(33);
constexpr auto MFVec2f = static_cast<NodePartDataType>(34);
constexpr auto SFVec3f = static_cast<NodePartDataType>(37);
constexpr auto MFVec3f = static_cast<NodePartDataType>(38);
} // namespace Holds

/// Who publishes the pool's values.
constexpr auto byProcessor = static_cast<Field::CallerType>(0);

/// The field's index in its description; a value that no description has while there is none.
inline unsigned fieldIndex(Field const& field)
{
    return field._desc ? field._desc->_index : ~0u;
}

/// What the type records differ in; see NodeType for the meanings.
struct TypeRecord {
    char const* name;
    char const* parent;
    char const* aliasName = nullptr;
    char const* status = "stable";
    char const* standard;
    char const* description;
};

/// The record of a type with `partCount` own fields; `createNode` and `createProc` are null for abstract types.
/// Returned as a prvalue: the record is built, and registered, in its final place.
inline NodeType nodeType(TypeRecord const& record, bool (*isType)(Node*),
                         Node* (*createNode)(NodeType&, NodeNameSpace&, char const*), NodeProc* (*createProc)(NodeType&, Node&),
                         NodePartDesc* parts, unsigned partCount)
{
    return NodeType(theSceneNodeTypeFactory(), record.name, "InterpolationNodePool", record.parent, record.aliasName, nullptr,
                    "Interpolation", nullptr, record.status, record.description, record.standard, false, false, isType,
                    createNode, createProc, parts, partCount);
}

template <class Class>
NodeType fieldlessType(TypeRecord const& record)
{
    return nodeType(record, &Class::isType, nullptr, nullptr, nullptr, 0);
}

template <class Class>
NodeType abstractType(TypeRecord const& record)
{
    return nodeType(record, &Class::isType, nullptr, nullptr, Class::_desc, std::size(Class::_desc));
}

template <class Class>
NodeType creatableType(TypeRecord const& record)
{
    return nodeType(record, &Class::isType, &Class::createNode, &Class::createProc, Class::_desc, std::size(Class::_desc));
}

/// Declares a context parameter while the library is loaded, where nothing can be thrown: a failure is remembered.
unsigned declareAtLoad(char const* name, char const* description, char const* group) noexcept;
/// False, with a message, when memory was short while the library was loaded.
bool loadedWhole(LogPlace const& place);

/// Looks the class's type up again and logs the outcome; see `initInterpolationNodePool`.
bool initType(NodeType const& type, LogPlace const& place);

/// Registers or unregisters a class's own fields, in index order.
template <class Class, class... Fields>
void registerFields(Class& node, Fields&... fields)
{
    static_assert(std::size(Class::_desc) == sizeof...(fields), "one description for each field of the class");
    NodePartDesc const* desc = Class::_desc;
    (node.regField(fields, Class::_type, (desc++)->_index, true), ...);
}
template <class Class>
void unregisterFields(Class& node)
{
    for (NodePartDesc const& desc : Class::_desc)
        node.unregField(desc._index);
}

/// Reports a field that changed again while its node was handling its change.
void logReentry(Node const& node, Field const& field, LogPlace const& place);

/// The re-entry guard: hands the change to the processor, unless the same field of the same node is being
/// handled further up the call stack. That breaks cycles of routes: the second arrival is dropped, the first
/// completes.
template <class Class, class Proc>
inline void guardedFieldChanged(Class& node, Proc* proc, Field& field, TimeStamp const& timeStamp, Field* from,
                                LogPlace const& place)
{
    BitVector<unsigned long> const& mask = field._desc ? field._desc->_mask : NodePart::_nullMask;
    if (BitVector<unsigned long> const none(0); (node._isChangingMask & mask) != none) [[unlikely]] {
        if (PoolLog::takes(osg::LOG_INFO))
            logReentry(node, field, place);
        return;
    }
    struct Changing {
        Changing(Node& changing, BitVector<unsigned long> const& bits) : _node(changing), _bits(bits)
        {
            _node._isChangingMask |= _bits;
        }
        ~Changing() { _node._isChangingMask &= ~_bits; }
        Node& _node;
        BitVector<unsigned long> const& _bits;
    } const changing(node, mask);
    if (proc != nullptr)
        proc->fieldChanged(node, field, timeStamp, from);
}

/// What every processor does on `set_fraction`: while the node is enabled, compute into the stored output
/// value and publish it when there is one.
template <class Proc, class NodeClass, class Output>
inline void evaluate(Proc& proc, NodeClass& node, Output& output, TimeStamp const& timeStamp)
{
    if (node.enabled() && proc.calculateValue(node._set_fraction._value, output._value))
        output.processValueChange(timeStamp, byProcessor);
}

/// `fieldChanged` of the processors whose node has one list of values and one output: new values take effect
/// at the next `set_fraction`.
template <class Parent, class Proc, class NodeClass>
inline void dispatchValueField(Proc& proc, NodeClass& node, Field& field, TimeStamp const& timeStamp, Field* from)
{
    switch (fieldIndex(field)) {
    case NodeClass::set_fractionIndex: return evaluate(proc, node, node._value_changed, timeStamp);
    case NodeClass::keyValueIndex:
    case NodeClass::value_changedIndex: return;
    default: proc.Parent::fieldChanged(node, field, timeStamp, from);
    }
}

} // namespace Zelvan

/// In the class of an abstract node type.
#define ZELVAN_ABSTRACT_NODE(Class)                                    \
public:                                                                \
    static NodeType _type;                                             \
    static bool init();                                                \
    static bool isType(Node* node);                                    \
    Class(NodeType& type, NodeNameSpace& nameSpace, char const* name); \
    ~Class() override;                                                 \
    Class##Proc* get##Class##Proc();                                   \
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override;

/// In the class of a node type that scenes can create.
#define ZELVAN_CREATABLE_NODE(Class)                                                     \
    ZELVAN_ABSTRACT_NODE(Class)                                                          \
    Class(NodeNameSpace& nameSpace, char const* name);                                   \
    static Node* createNode(NodeType& type, NodeNameSpace& nameSpace, char const* name); \
    static NodeProc* createProc(NodeType& type, Node& node);

// Shared by the two bodies below.
#define ZELVAN_NODE_BODY(Class)                                                       \
    bool Class::init()                                                                \
    {                                                                                 \
        return initType(_type, ZELVAN_HERE);                                          \
    }                                                                                 \
    bool Class::isType(Node* node)                                                    \
    {                                                                                 \
        return dynamic_cast<Class*>(node) != nullptr;                                 \
    }                                                                                 \
    Class##Proc* Class::get##Class##Proc()                                            \
    {                                                                                 \
        return static_cast<Class##Proc*>(_proc);                                      \
    }                                                                                 \
    void Class::fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from)   \
    {                                                                                 \
        static constexpr LogPlace here = ZELVAN_HERE;                                 \
        guardedFieldChanged(*this, get##Class##Proc(), field, timeStamp, from, here); \
    }

/// In the source file of an abstract node type without fields of its own.
#define ZELVAN_FIELDLESS_NODE_BODY(Class, Parent)                                                               \
    Class::Class(NodeType& type, NodeNameSpace& nameSpace, char const* name) : Parent(type, nameSpace, name) {} \
    Class::~Class() = default;                                                                                  \
    ZELVAN_NODE_BODY(Class)

/// In the source file of an abstract node type; its own field members follow, in index order.
#define ZELVAN_ABSTRACT_NODE_BODY(Class, Parent, ...)                                                        \
    Class::Class(NodeType& type, NodeNameSpace& nameSpace, char const* name) : Parent(type, nameSpace, name) \
    {                                                                                                        \
        registerFields(*this, __VA_ARGS__);                                                                  \
    }                                                                                                        \
    Class::~Class()                                                                                          \
    {                                                                                                        \
        unregisterFields(*this);                                                                             \
    }                                                                                                        \
    ZELVAN_NODE_BODY(Class)

/// In the source file of a node type that scenes can create.
#define ZELVAN_CREATABLE_NODE_BODY(Class, Parent, ...)                                          \
    ZELVAN_ABSTRACT_NODE_BODY(Class, Parent, __VA_ARGS__)                                       \
    Class::Class(NodeNameSpace& nameSpace, char const* name) : Class(_type, nameSpace, name) {} \
    Node* Class::createNode(NodeType& type, NodeNameSpace& nameSpace, char const* name)         \
    {                                                                                           \
        return new Class(type, nameSpace, name);                                                \
    }                                                                                           \
    NodeProc* Class::createProc(NodeType& type, Node& node)                                     \
    {                                                                                           \
        return new Class##Proc(type, node);                                                     \
    }

/// In a processor class; `Class` is the node class it serves.
#define ZELVAN_PROC(Class)                   \
public:                                      \
    Class##Proc(NodeType& type, Node& node); \
    ~Class##Proc() override;                 \
    Class& node() const;                     \
    void fieldChanged(Class& node, Field& field, TimeStamp const& timeStamp, Field* from);

/// In a processor's source file: everything but `fieldChanged`.
#define ZELVAN_PROC_BODY(Class, Parent)                                                \
    Class##Proc::Class##Proc(NodeType& type, Node& node) : Parent##Proc(type, node) {} \
    Class##Proc::~Class##Proc() = default;                                             \
    Class& Class##Proc::node() const                                                   \
    {                                                                                  \
        return static_cast<Class&>(_node);                                             \
    }

/// In the source file of a processor without fields to handle: all go to the parent.
#define ZELVAN_FORWARDING_PROC_BODY(Class, Parent)                                                     \
    ZELVAN_PROC_BODY(Class, Parent)                                                                    \
    void Class##Proc::fieldChanged(Class& node, Field& field, TimeStamp const& timeStamp, Field* from) \
    {                                                                                                  \
        Parent##Proc::fieldChanged(node, field, timeStamp, from);                                      \
    }

/// In the source file of a processor that computes `value_changed` from `keyValue`.
#define ZELVAN_VALUE_PROC_BODY(Class, Parent)                                                          \
    ZELVAN_PROC_BODY(Class, Parent)                                                                    \
    void Class##Proc::fieldChanged(Class& node, Field& field, TimeStamp const& timeStamp, Field* from) \
    {                                                                                                  \
        dispatchValueField<Parent##Proc>(*this, node, field, timeStamp, from);                         \
    }
