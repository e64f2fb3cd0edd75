#include "player/editing/KeyTrack.h"

#include "base/Context.h"
#include "base/Fields.h"
#include "base/NodeNameSpace.h"
#include "player/scene/Scene.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

namespace Zelvan::play {

namespace {

// Of values that are nothing but floats, in the order of a file.
template <class Value>
void assign(std::vector<Value>& list, std::span<float const> numbers)
{
    list.resize(numbers.size() / (sizeof(Value) / sizeof(float)));
    if (!list.empty())
        std::memcpy(static_cast<void*>(list.data()), numbers.data(), list.size() * sizeof(Value));
}

// The angle between two rotations, exact where the cosine alone is not: near 0.
double angleBetween(Rotation const& from, Rotation const& to)
{
    float const* const a = from.quaternion().getValues();
    float const* const b = to.quaternion().getValues();
    double squareA = 0, squareB = 0, minus = 0, plus = 0;
    for (int c = 0; c < 4; ++c) {
        squareA += double(a[c]) * a[c];
        squareB += double(b[c]) * b[c];
    }
    double const ratio = std::sqrt(squareA / squareB); // blends are not of unit length
    for (int c = 0; c < 4; ++c) {
        minus += (a[c] - ratio * b[c]) * (a[c] - ratio * b[c]);
        plus += (a[c] + ratio * b[c]) * (a[c] + ratio * b[c]);
    }
    return 4 * std::atan2(std::sqrt(std::min(minus, plus)), std::sqrt(std::max(minus, plus)));
}

double difference(float const* a, float const* b, std::size_t count)
{
    double largest = 0;
    for (std::size_t i = 0; i < count; ++i) {
        double const d = std::abs(double(a[i]) - b[i]);
        if (d > largest)
            largest = d;
        else if (std::isnan(d) && !(std::isnan(a[i]) && std::isnan(b[i])) && a[i] != b[i])
            return std::numeric_limits<double>::infinity();
    }
    return largest;
}

template <class Value>
double difference(std::vector<Value> const& a, std::vector<Value> const& b)
{
    if (a.size() != b.size())
        return std::numeric_limits<double>::infinity();
    return difference(reinterpret_cast<float const*>(a.data()), reinterpret_cast<float const*>(b.data()),
                      a.size() * sizeof(Value) / sizeof(float));
}

Motion motionOf(std::string const& type)
{
    return type == "NormalInterpolator"                                               ? Motion::normals
        : type == "OrientationInterpolator" || type == "SquadOrientationInterpolator" ? Motion::rotation
        : type == "ColorInterpolator"                                                 ? Motion::color
                                                                                      : Motion::linear;
}

} // namespace

void assignNumbers(Field& field, std::span<float const> numbers)
{
    switch (field.dataType()) {
    case MFFloatType: static_cast<MFFloat&>(field)._value.assign(numbers.begin(), numbers.end()); break;
    case MFVec2fType: assign(static_cast<MFVec2f&>(field)._value, numbers); break;
    case MFVec3fType: assign(static_cast<MFVec3f&>(field)._value, numbers); break;
    case MFColorType: assign(static_cast<MFColor&>(field)._value, numbers); break;
    case MFMatrix4fType: assign(static_cast<MFMatrix4f&>(field)._value, numbers); break;
    case MFRotationType: {
        auto& list = static_cast<MFRotation&>(field)._value;
        list.clear();
        for (std::size_t i = 0; i + 3 < numbers.size(); i += 4)
            list.emplace_back(osg::Vec3f(numbers[i], numbers[i + 1], numbers[i + 2]), numbers[i + 3]);
        break;
    }
    default: break;
    }
}

KeyTrack KeyTrack::only(std::vector<std::size_t> const& kept) const
{
    KeyTrack part{type, motion, width, components, {}, {}};
    for (std::size_t const key : kept) {
        part.keys.push_back(keys[key]);
        part.values.insert(part.values.end(), at(key).begin(), at(key).end());
    }
    return part;
}

double KeyTrack::range() const
{
    if (motion == Motion::rotation)
        return std::numbers::pi;
    double range = 0;
    for (std::size_t c = 0; c < width; ++c) {
        float low = std::numeric_limits<float>::infinity(), high = -low;
        for (std::size_t i = c; i < values.size(); i += width) {
            low = std::min(low, values[i]);
            high = std::max(high, values[i]);
        }
        range = std::max(range, double(high) - low);
    }
    return range;
}

Field& valuesOf(SceneNode const& node)
{
    Field* const values = fieldOf(node, "keyValue");
    return values != nullptr ? *values : *fieldOf(node, "easeInEaseOut");
}

KeyTrack trackOf(SceneNode const& node)
{
    KeyTrack track;
    track.type = &node.node->type();
    track.motion = motionOf(track.type->_name);
    track.keys = static_cast<MFFloat const*>(fieldOf(node, "key"))->_value;
    Field const& values = valuesOf(node);
    std::vector<double> numbers;
    appendNumbers(values, numbers);
    track.components = componentsOf(values.dataType()).count;
    std::size_t const count = std::min<std::size_t>(track.keys.size(), values.size());
    std::size_t const perKey = isList(outputOf(node)->dataType()) && count > 0 ? values.size() / count : 1;
    track.width = static_cast<unsigned>(perKey * track.components);
    track.keys.resize(count);
    track.values.assign(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(count * track.width));
    return track;
}

std::string faultOf(KeyTrack const& track)
{
    auto const finite = [](float number) { return std::isfinite(number); };
    if (!std::ranges::all_of(track.keys, finite))
        return "a key is not a finite number";
    if (!std::ranges::all_of(track.values, finite))
        return "a value is not a finite number";
    if (!std::ranges::is_sorted(track.keys))
        return "the keys are not in order";
    return "";
}

struct PlayedTrack::Stage {
    Context context;
    NodeNameSpace nodes{context};
};

PlayedTrack::PlayedTrack(KeyTrack const& track)
    : _stage(std::make_unique<Stage>()), _node(track.type->createNodeWithProc(_stage->nodes, nullptr))
{
    _stage->nodes.add(*_node);
    _node->_state = Node::live;
    _fraction = static_cast<SFFloat*>(_node->findField("set_fraction"));
    Field* const values = _node->findField("keyValue");
    _output = _node->findField(values != nullptr ? "value_changed" : "modifiedFraction_changed");
    assignNumbers(*_node->findField("key"), track.keys);
    assignNumbers(values != nullptr ? *values : *_node->findField("easeInEaseOut"), track.values);
}

PlayedTrack::~PlayedTrack() = default;

Field const& PlayedTrack::play(float fraction)
{
    _fraction->_value = fraction;
    _node->fieldChanged(*_fraction, 0, nullptr);
    return *_output;
}

double differenceOf(Field const& a, Field const& b)
{
    auto const both = [&]<class FieldClass>(FieldClass const*) {
        return std::pair<typename FieldClass::ValueType const&, typename FieldClass::ValueType const&>(
            static_cast<FieldClass const&>(a)._value, static_cast<FieldClass const&>(b)._value);
    };
    auto const fixed = [](auto const& values, std::size_t width) {
        return difference(reinterpret_cast<float const*>(&values.first), reinterpret_cast<float const*>(&values.second), width);
    };
    auto const lists = [](auto const& values) { return difference(values.first, values.second); };
    switch (a.dataType()) {
    case SFFloatType: return fixed(both(static_cast<SFFloat*>(nullptr)), 1);
    case SFVec2fType: return fixed(both(static_cast<SFVec2f*>(nullptr)), 2);
    case SFVec3fType: return fixed(both(static_cast<SFVec3f*>(nullptr)), 3);
    case SFColorType: return fixed(both(static_cast<SFColor*>(nullptr)), 3);
    case MFFloatType: return lists(both(static_cast<MFFloat*>(nullptr)));
    case MFVec2fType: return lists(both(static_cast<MFVec2f*>(nullptr)));
    case MFVec3fType: return lists(both(static_cast<MFVec3f*>(nullptr)));
    case SFMatrix4fType: return fixed(both(static_cast<SFMatrix4f*>(nullptr)), 16);
    case SFRotationType: {
        auto const [from, to] = both(static_cast<SFRotation*>(nullptr));
        double const angle = angleBetween(from, to);
        return std::isnan(angle) ? difference(from.quaternion().getValues(), to.quaternion().getValues(), 4) : angle;
    }
    default: return std::numeric_limits<double>::infinity();
    }
}

std::vector<float> merged(std::vector<float> const& a, std::vector<float> const& b)
{
    std::vector<float> all;
    std::ranges::merge(a, b, std::back_inserter(all));
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

PlayedDifference largestDifference(Playable& a, Playable& b, std::vector<float> const& keys, int steps)
{
    PlayedDifference found;
    eachFraction(keys, steps, [&](float fraction) {
        double const difference = differenceOf(a.play(fraction), b.play(fraction));
        if (difference > found.largest)
            found = {difference, fraction};
    });
    return found;
}

PlayedDifference largestDifference(KeyTrack const& a, KeyTrack const& b)
{
    // Between two keys of both, what is blended number by number differs most at one of the two.
    PlayedTrack first(a), second(b);
    return largestDifference(first, second, merged(a.keys, b.keys), a.motion == Motion::linear ? 3 : 12);
}

} // namespace Zelvan::play
