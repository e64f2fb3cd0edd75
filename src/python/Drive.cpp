#include "python/Drive.h"

#include "player/editing/KeyTrack.h"
#include "player/scene/DidYouMean.h"
#include "player/scene/Scene.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Zelvan::python {

using play::Failure;

namespace {

void append(Rotation const& rotation, float* to)
{
    osg::Vec3f const& axis = rotation.axis();
    std::copy_n(axis.getValues(), 3, to);
    to[3] = rotation.angle();
}

// All others are nothing but floats, in the order of a file.
template <class Value>
void append(Value const& value, float* to)
{
    std::memcpy(to, &value, sizeof value);
}

template <class Value>
constexpr std::size_t widthOf = sizeof(Value) / sizeof(float);
template <>
constexpr std::size_t widthOf<Rotation> = 4;
static_assert(widthOf<osg::Vec3f> == 3 && widthOf<osg::Color3<float>> == 3 && widthOf<osg::Matrix> == 16);

/// The stored fraction, the event, and whether a value came of it; without routes, nothing else.
struct Events {
    Events(Node& driven, Field& out)
        : node(driven), fraction(static_cast<SFFloat&>(*driven.findField("set_fraction"))), mask(out._desc->_mask)
    {}
    bool send(float value) const
    {
        fraction._value = value;
        node._changedMask = 0;
        node.fieldChanged(fraction, 0, nullptr);
        return (node._changedMask & mask).bits() != 0;
    }
    Node& node;
    SFFloat& fraction;
    BitVector<unsigned long> mask;
};

constexpr std::size_t numbersBetweenLooks = 1 << 18;
constexpr float nothing = std::numeric_limits<float>::quiet_NaN();

template <class Output>
void driveSingle(Events const& events, Output const& output, std::span<float const> fractions, DrivenValues& values,
                 Patience& patience)
{
    constexpr std::size_t width = widthOf<typename Output::ValueType>;
    values.numbers.resize(fractions.size() * width);
    float* to = values.numbers.data();
    std::size_t left = 0;
    for (float const fraction : fractions) {
        if (left-- == 0) {
            patience();
            left = numbersBetweenLooks / width;
        }
        if (events.send(fraction))
            append(output._value, to);
        else
            std::fill_n(to, width, nothing);
        to += width;
    }
}

// How many elements a value has is known when the first one comes.
template <class Output>
void driveList(Events const& events, Output const& output, std::span<float const> fractions, DrivenValues& values,
               Patience& patience)
{
    constexpr std::size_t width = widthOf<typename Output::ValueType::value_type>;
    values.elements = 0;
    std::size_t numbers = 0, left = 0;
    for (std::size_t i = 0; i < fractions.size(); ++i) {
        if (left < numbers || left == 0) {
            patience();
            left = numbersBetweenLooks;
        }
        left -= std::max<std::size_t>(numbers, 1);
        if (!events.send(fractions[i]))
            continue;
        if (numbers == 0) {
            values.elements = output._value.size();
            numbers = values.elements * width;
            values.numbers.assign(fractions.size() * numbers, nothing);
        }
        std::memcpy(values.numbers.data() + i * numbers, output._value.data(), numbers * sizeof(float));
    }
}

} // namespace

DrivenValues drive(Node& node, Field& output, std::span<float const> fractions, Patience& patience)
{
    DrivenValues values{output.dataType(), fractions.size(), 1, {}};
    Events const events(node, output);
    auto const single = [&]<class Out>(Out const* out) { driveSingle(events, *out, fractions, values, patience); };
    auto const list = [&]<class Out>(Out const* out) { driveList(events, *out, fractions, values, patience); };
    switch (output.dataType()) {
    case SFFloatType: single(static_cast<SFFloat*>(&output)); break;
    case SFVec2fType: single(static_cast<SFVec2f*>(&output)); break;
    case SFVec3fType: single(static_cast<SFVec3f*>(&output)); break;
    case SFColorType: single(static_cast<SFColor*>(&output)); break;
    case SFRotationType: single(static_cast<SFRotation*>(&output)); break;
    case SFMatrix4fType: single(static_cast<SFMatrix4f*>(&output)); break;
    case MFFloatType: list(static_cast<MFFloat*>(&output)); break;
    case MFVec2fType: list(static_cast<MFVec2f*>(&output)); break;
    case MFVec3fType: list(static_cast<MFVec3f*>(&output)); break;
    default: throw Failure(play::exitUsage, std::string(output.findName()) + ": values of this type are not taken out");
    }
    return values;
}

namespace {

bool takesFractions(NodeType& type)
{
    NodeType* const creatable = type.creatableType();
    return creatable != nullptr && creatable->_poolName == "InterpolationNodePool";
}

} // namespace

std::vector<std::string> interpolatorTypes()
{
    std::vector<std::string> names;
    for (NodeType* const type : theSceneNodeTypeFactory().types())
        if (type->_createNode != nullptr && takesFractions(*type))
            names.push_back(type->_name);
    std::ranges::sort(names);
    return names;
}

LoneNode::LoneNode(std::string const& name)
{
    NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), name, searchExact);
    if (type == nullptr || !takesFractions(*type))
        throw Failure(play::exitUsage,
                      "no interpolator has the type \"" + name + '"' + play::didYouMean(name, interpolatorTypes()));
    _node = type->createNodeWithProc(_nodes, nullptr);
    _nodes.add(*_node);
    _node->_state = Node::live;
}

LoneNode::~LoneNode() = default;

void LoneNode::searchBinary()
{
    _context.setBValue(Context::findParamID("binSearchKeyIndex"), true);
}

Field& LoneNode::settable(std::string const& name) const
{
    Field* const field = _node->findField(name);
    if (field != nullptr && (field->type() & initializeOnly) != 0)
        return *field;
    std::vector<std::string> names;
    for (Field const* const each : _node->fields())
        if (each != nullptr && (each->type() & initializeOnly) != 0)
            names.push_back(each->findName());
    throw Failure(play::exitUsage,
                  _node->type()._name + " has no field \"" + name + "\" that can be set" + play::didYouMean(name, names));
}

void LoneNode::setText(std::string const& name, std::string const& text)
{
    Field& field = settable(name);
    if (!field.setAndValidateValueByStr(text.c_str(), false))
        throw Failure(play::exitUsage,
                      name + ": expected " + Field::textError().expected + ", found \"" + Field::textError().found + '"');
    _node->fieldChanged(field, 0, nullptr);
}

void LoneNode::setNumbers(std::string const& name, std::span<float const> numbers)
{
    Field& field = settable(name);
    unsigned const width = play::componentsOf(field.dataType()).count;
    if (!play::isList(field.dataType()))
        throw Failure(play::exitUsage, name + " is no list of numbers");
    if (numbers.size() % width != 0)
        throw Failure(play::exitUsage,
                      name + ": expected a multiple of " + std::to_string(width) + " numbers, found "
                          + std::to_string(numbers.size()));
    play::assignNumbers(field, numbers);
    _node->fieldChanged(field, 0, nullptr);
}

char const* LoneNode::valuesName() const
{
    return _node->findField("keyValue") != nullptr ? "keyValue" : "easeInEaseOut";
}

DrivenValues LoneNode::play(std::span<float const> fractions, Patience& patience)
{
    for (Field* const field : _node->fields())
        if (field != nullptr && field->type() == outputOnly)
            return drive(*_node, *field, fractions, patience);
    throw Failure(play::exitUsage, _node->type()._name + " sends nothing");
}

} // namespace Zelvan::python
