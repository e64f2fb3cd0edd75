// The event path: up to three interpolators of any types, their lists, modes and routes, and a run of events.

#include "base/Context.h"
#include "base/NodeNameSpace.h"
#include "base/Route.h"
#include "fuzz/Input.h"
#include "interpolationNodePool/InterpolationNodePool.h"
#include "interpolationNodePool/Interpolator.h"
#include "interpolationNodePool/InterpolatorProc.h"
#include "interpolationNodePool/KeySearch.h"
#include "interpolationNodePool/Kernels.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>

namespace Zelvan::fuzz {
namespace {

std::vector<NodeType*> creatableTypes()
{
    require(initInterpolationNodePool(), "the pool is registered");
    std::vector<NodeType*> types;
    for (NodeType* const type : theSceneNodeTypeFactory().types())
        if (type->_poolName == "InterpolationNodePool" && type->_createNode != nullptr)
            types.push_back(type);
    require(types.size() == 15, "there are 15 types");
    osg::osgLog().setLogType(osg::LOG_NONE);
    osg::osgLog().setLogLevel(osg::LOG_DEBUG); // messages are made, and go nowhere
    std::cerr.rdbuf(nullptr);
    return types;
}

/// Counts what is sent, and watches that no disabled node sends a result.
struct Watch : SendObserver {
    void sent(Field& field, TimeStamp const&) override
    {
        ++_sent;
        require(field.type() != outputOnly || static_cast<Interpolator*>(field._node)->enabled(), "a disabled node sends nothing");
    }
    unsigned _sent = 0;
};

struct Animated {
    Interpolator* node;
    Field *values, *output;
};

/// The keys and values that count: as many as there are of both.
std::size_t usable(Animated const& a)
{
    return std::min<std::size_t>(a.node->_key._value.size(), a.values->size());
}

/// What a fraction at or beyond an end key must send, in binary form.
std::optional<std::string> endValue(Animated const& a, float fraction)
{
    std::vector<float> const& key = a.node->_key._value;
    std::size_t const n = usable(a);
    if (n == 0 || (n > 1 && !(fraction <= key[0]) && !(fraction >= key[n - 1])))
        return std::nullopt;
    std::size_t const k = n == 1 || fraction <= key[0] ? 0 : n - 1;
    if (a.node->type()._name == "EaseInEaseOut")
        return a.node->_key.get1ValueAsBin(static_cast<int>(k));
    std::size_t const perKey = a.output->cardinality() == Field::multiple ? a.values->size() / n : 1;
    std::string bits;
    for (std::size_t i = 0; i < perKey; ++i)
        bits += a.values->get1ValueAsBin(static_cast<int>(k * perKey + i));
    if (a.node->type()._name == "NormalInterpolator") {
        std::vector<float> in(bits.size() / 4), out(in.size());
        std::memcpy(in.data(), bits.data(), bits.size());
        Kernels::baseline.normalise(in.data(), out.data(), perKey);
        std::memcpy(bits.data(), out.data(), bits.size());
    }
    return bits;
}

/// Where both searches must find the same interval.
bool unambiguous(Animated const& a, float fraction)
{
    std::vector<float> const& key = a.node->_key._value;
    std::size_t const n = usable(a);
    bool clear = n < 2 || !std::isnan(fraction);
    for (std::size_t i = 0; i < n; ++i)
        clear = clear && key[i] != fraction && (i == 0 || key[i - 1] < key[i]);
    return clear;
}

/// The vector code of every level beside plain loops.
void compareKernels(std::vector<float> const& keys, std::vector<float> const& values, float t)
{
    unsigned const n = static_cast<unsigned>(keys.size());
    std::size_t const half = values.size() / 6 * 3;
    float const* const second = values.data() + half;
    auto const alike = [](float a, float b) { return std::memcmp(&a, &b, 4) == 0 || (std::isnan(a) && std::isnan(b)); };
    std::vector<float> blend(half), other(half);
    for (Kernels const* const kernels : Kernels::supported()) {
        Kernels::use(kernels->name);
        for (unsigned start = 0; start + 1 < n; ++start) {
            unsigned plain = start;
            while (plain < n - 1 && !(keys[plain] <= t && t < keys[plain + 1]))
                ++plain;
            require(linearInterval(keys.data(), n, t, start) == plain, "the wide scan finds what the plain scan finds");
        }
        kernels->lerp(values.data(), second, t, blend.data(), half);
        for (std::size_t i = 0; i < half; ++i)
            require(alike(blend[i], (second[i] - values[i]) * t + values[i]), "the wide blend is the plain blend");
        kernels->lerpNormals(values.data(), second, t, other.data(), half / 3);
        std::vector<float> unit(half);
        Kernels::baseline.normalise(blend.data(), unit.data(), half / 3);
        require(std::equal(unit.begin(), unit.end(), other.begin(), alike), "wide normals are plain normals");
        kernels->normalise(blend.data(), other.data(), half / 3);
        require(std::equal(unit.begin(), unit.end(), other.begin(), alike), "every level normalises alike");
    }
}

class World {
public:
    explicit World(Input& input) : _input(input)
    {
        static std::vector<NodeType*> const types = creatableTypes();
        _before = Field::observe(&_watch);
        unsigned const count = 1 + input.below(3);
        for (unsigned i = 0; i < count; ++i) {
            Node* const node = types[input.below(15)]->createNodeWithProc(_nodes, i == 0 ? nullptr : "n");
            _nodes.add(*node);
            node->_state = Node::live;
            Field* const values = node->findField("keyValue");
            Field* const output = node->findField("value_changed");
            _animated.push_back({static_cast<Interpolator*>(node), values ? values : node->findField("easeInEaseOut"),
                                 output ? output : node->findField("modifiedFraction_changed")});
            fill(*node->findField("key"));
            fill(*_animated.back().values);
        }
    }
    ~World() { Field::observe(_before); }

    void step()
    {
        Animated const& a = _animated[_input.below(static_cast<unsigned>(_animated.size()))];
        switch (unsigned const operation = _input.below(12)) {
        case 0: case 1: case 2: case 3: return fire(a, _input.number());
        case 4: case 5: { // a fraction close to a key
            float const key = a.node->_key.empty() ? 0.f : a.node->_key._value[_input.below(a.node->_key.size())];
            unsigned const where = _input.below(3);
            return fire(a, where == 0 ? key : std::nextafter(key, where == 1 ? -1e9f : 1e9f));
        }
        case 6: case 7: { // any field, told or not
            Field* const field = a.node->fields()[_input.below(static_cast<unsigned>(a.node->fields().size()))];
            fill(*field);
            if (operation == 6)
                tell(*field);
            return;
        }
        case 8: return connect();
        case 9: return setBinary(_input.below(2) != 0);
        case 10: a.node->_state = _input.below(4); return;
        default: return compareKernels(_input.numbers(_input.below(40)), _input.numbers(_input.below(120)), _input.number());
        }
    }

private:
    void tell(Field& field)
    {
        if ((field.type() & inputOnly) != 0)
            field._node->fieldChanged(field, _time += 1, nullptr);
    }

    void fill(Field& field)
    {
        if (field.dataType() == SFStringType) {
            char const* const texts[] = {"matrix", "component", "", "Matrix"};
            field.setValueByStr(texts[_input.below(4)], Field::single);
            return;
        }
        std::string bin;
        unsigned const count = field.cardinality() == Field::multiple ? _input.below(12) : 1;
        for (unsigned i = 0; i < count; ++i) {
            std::vector<float> element = _input.numbers(field.elementSize() / 4);
            if (field.dataType() == SFRotationType || field.dataType() == MFRotationType) {
                unsigned const state = _input.below(3); // which of its forms counts
                std::memcpy(&element.back(), &state, 4);
            }
            bin.append(reinterpret_cast<char const*>(element.data()), element.size() * 4);
        }
        if (field.dataType() == SFBoolType)
            bin = static_cast<char>(_input.below(2));
        require(field.setValueByBin(bin), "a value is taken");
        if (std::string(field.findName()) == "key" && _input.below(4) != 0) {
            auto& key = static_cast<MFFloat&>(field)._value;
            std::erase_if(key, [](float k) { return std::isnan(k); });
            std::sort(key.begin(), key.end());
        }
    }

    /// Joins two fields if they fit; a few routes lead to loops soon enough.
    void connect()
    {
        Field* ends[2];
        for (Field*& end : ends) {
            auto const& fields = _animated[_input.below(static_cast<unsigned>(_animated.size()))].node->fields();
            end = fields[_input.below(static_cast<unsigned>(fields.size()))];
        }
        std::string error;
        if (_routes < 8 && Route::add(*ends[0], *ends[1], error) != nullptr)
            ++_routes;
        else if (ends[0]->_routesOut != nullptr && _input.below(2) == 0)
            Route::remove(*ends[0]->_routesOut);
    }

    void setBinary(bool binary) { _context.setBValue(InterpolatorProc::_binSearchKeyIndexID, _binary = binary); }

    void fire(Animated const& a, float fraction)
    {
        Interpolator& node = *a.node;
        bool const enabled = node.enabled(), clear = unambiguous(a, fraction);
        auto const lists = [&] { return node._key.getValueAsBin(-1) + '|' + a.values->getValueAsBin(-1); };
        auto const other = [&](char const* name) { return node.findField(name) ? node.findField(name)->getValueAsStr() : ""; };
        std::string const before = lists(), mode = other("mode"), output = a.output->getValueAsBin(-1);
        auto const expected = endValue(a, fraction);
        _watch._sent = 0;
        node._set_fraction._value = fraction;
        tell(node._set_fraction);
        std::string const sent = a.output->getValueAsBin(-1);
        if (!enabled)
            return require(_watch._sent == 0 && sent == output, "a disabled node sends nothing");
        if (expected)
            require(sent == *expected, "at or beyond an end key the stored value comes out");
        if (!clear || lists() != before || other("mode") != mode || !node.enabled())
            return;
        setBinary(!_binary);
        node._set_fraction._value = fraction;
        tell(node._set_fraction);
        require(a.output->getValueAsBin(-1) == sent, "both searches lead to the same value");
    }

    Input& _input;
    Watch _watch;
    SendObserver* _before = nullptr;
    Context _context;
    NodeNameSpace _nodes{_context};
    std::vector<Animated> _animated;
    TimeStamp _time = 0;
    unsigned _routes = 0;
    bool _binary = false;
};

} // namespace
} // namespace Zelvan::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Zelvan::fuzz::Input input(data, size);
    Zelvan::fuzz::World world(input);
    while (!input.empty())
        world.step();
    return 0;
}
