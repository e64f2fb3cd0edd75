// The event path: up to three interpolators of any types, their lists, modes and routes, and a run of events.

#include "base/Context.h"
#include "base/NodeNameSpace.h"
#include "base/Route.h"
#include "fuzz/Input.h"
#include "interpolationNodePool/InterpolationNodePool.h"
#include "interpolationNodePool/Interpolator.h"
#include "interpolationNodePool/InterpolatorProc.h"
#include "interpolationNodePool/Kernels.h"
#include "interpolationNodePool/KeySearch.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <iostream>

namespace Zelvan::fuzz {
namespace {

std::vector<NodeType*> creatableTypes()
{
    osg::osgLog().setLogType(osg::LOG_NONE);
    osg::osgLog().setLogLevel(osg::LOG_DEBUG); // messages are made, and go nowhere
    std::cerr.rdbuf(nullptr);
    std::vector<NodeType*> types = theSceneNodeTypeFactory().types();
    std::erase_if(types, [](NodeType* t) { return !t->isDerivedFrom(Interpolator::_type) || !t->_createNode; });
    require(initInterpolationNodePool() && !types.empty(), "there are types");
    return types;
}

/// The scan with the vectors of every level, from every key, beside the nearest interval from there on.
void compareScans(std::vector<float> const& keys, float fraction)
{
    auto const n = static_cast<unsigned>(keys.size());
    for (Kernels const* const kernels : Kernels::supported()) {
        require(Kernels::use(kernels->name), "a level that is supported is used");
        unsigned nearest = n - 1;
        for (unsigned start = n - 1; start-- > 0;) {
            if (keys[start] <= fraction && fraction < keys[start + 1])
                nearest = start;
            require(linearInterval(keys.data(), n, fraction, start) == nearest, "the wide scan is the plain scan");
        }
    }
}

class World : SendObserver {
public:
    explicit World(Input& input) : _input(input)
    {
        static std::vector<NodeType*> const types = creatableTypes();
        Field::observe(this);
        for (unsigned count = 1 + input.below(3); count > 0; --count) {
            Node& node = *types[input.below(static_cast<unsigned>(types.size()))]->createNodeWithProc(_nodes, "n");
            _nodes.add(node);
            node._state = Node::live;
            for (char const* const list : {"key", "keyValue", "easeInEaseOut"})
                if (Field* const field = node.findField(list))
                    fill(*field);
        }
    }
    ~World() { Field::observe(nullptr); }

    void step()
    {
        auto& node = static_cast<Interpolator&>(any());
        std::vector<float> const& key = node._key._value;
        float const near = key.empty() ? 0.f : key[_input.below(node._key.size())];
        switch (unsigned const operation = _input.below(12)) {
        case 0:
        case 1:
        case 2: return fire(node, _input.numbers(1)[0]);
        case 3: return fire(node, near);
        case 4: return fire(node, std::nextafter(near, -1e9f));
        case 5:
        case 6: { // told or not
            Field& field = anyField(node);
            fill(field);
            return operation == 5 ? tell(field) : void();
        }
        case 7:
        case 8: return connect(anyField(any()), anyField(any()));
        case 9: return setBinary(_input.below(2) != 0);
        case 10: node._state = _input.below(4); return;
        default: return compareScans(_input.numbers(1 + _input.below(80)), near);
        }
    }

private:
    void sent(Field& field, TimeStamp const&) override
    {
        ++_sent;
        require(field.type() != outputOnly || static_cast<Interpolator*>(field._node)->enabled(), "disabled");
    }
    Node& any() { return *_nodes.nodes()[_input.below(unsigned(_nodes.nodes().size()))]; }
    Field& anyField(Node& node) { return *node.fields()[_input.below(unsigned(node.fields().size()))]; }
    void setBinary(bool binary) { _context.setBValue(InterpolatorProc::_binSearchKeyIndexID, _binary = binary); }
    void tell(Field& field)
    {
        if ((field.type() & inputOnly) != 0)
            field._node->fieldChanged(field, _time += 1, nullptr);
    }

    void fill(Field& field)
    {
        std::string bin;
        unsigned const size = field.elementSize();
        for (unsigned i = field.cardinality() == Field::multiple ? _input.below(12) : 1; i > 0; --i) {
            std::vector<float> element = _input.numbers(size / 4);
            if (unsigned const state = _input.below(3); size == sizeof(Rotation)) // which of its forms counts
                std::memcpy(&element.back(), &state, 4);
            bin.append(reinterpret_cast<char const*>(element.data()), size / 4 * 4);
        }
        bool const second = _input.below(2) != 0;
        bin = size == 1 ? std::string(1, second) : size == 0 ? (second ? "matrix" : "component") : bin;
        require(field.setValueByBin(bin), "a value is taken");
        if (std::string(field.findName()) == "key" && _input.below(4) != 0)
            std::ranges::sort(static_cast<MFFloat&>(field)._value,
                              [](float a, float b) { return std::strong_order(a, b) < 0; });
    }

    /// A few routes lead to loops soon enough; what does not fit is refused.
    void connect(Field& from, Field& to)
    {
        std::string error;
        if (_routes < 8)
            _routes += Route::add(from, to, error) != nullptr;
        else if (from._routesOut != nullptr)
            Route::remove(*from._routesOut);
    }

    void fire(Interpolator& node, float fraction)
    {
        bool const eased = node.type()._name == "EaseInEaseOut", enabled = node.enabled();
        Field& values = *node.findField(eased ? "easeInEaseOut" : "keyValue");
        Field& output = *node.findField(eased ? "modifiedFraction_changed" : "value_changed");
        float const* const key = node._key._value.data();
        std::size_t const n = std::min(node._key.size(), values.size());
        bool clear = !std::isnan(fraction); // both searches must find the same interval
        for (std::size_t i = 0; i < n; ++i)
            clear = clear && key[i] != fraction && (i == 0 || key[i - 1] < key[i]);

        std::string expected; // at or beyond an end key
        std::size_t const perKey = output.cardinality() == Field::multiple && n > 0 ? values.size() / n : 1;
        bool const first = n == 1 || (n > 1 && fraction <= key[0]), last = n > 1 && fraction >= key[n - 1];
        std::size_t const k = first ? 0 : last ? n - 1 : n;
        for (std::size_t i = k * perKey; k < n && i < (k + 1) * perKey; ++i)
            expected += (eased ? node._key : values).get1ValueAsBin(static_cast<int>(i));
        if (!expected.empty() && node.type()._name == "NormalInterpolator") {
            std::vector<float> in(expected.size() / 4), unit(in.size());
            std::memcpy(in.data(), expected.data(), expected.size());
            Kernels::baseline.normalise(in.data(), unit.data(), in.size() / 3);
            bool const number = std::ranges::none_of(unit, [](float f) { return std::isnan(f); }); // else any bits
            expected.assign(reinterpret_cast<char const*>(unit.data()), number ? expected.size() : 0);
        }

        // What no ROUTE leads to stays as it is.
        bool const steady = std::ranges::all_of(node.fields(), [](Field const* field) { return field->_routesIn == nullptr; });
        auto const state = [&] {
            std::string all;
            if (!steady)
                for (Field const* const field : node.fields())
                    all += field == &output ? "|" : field->getValueAsBin(-1) + '|';
            return all;
        };
        node._set_fraction._value = fraction;
        std::string const before = state(), old = output.getValueAsBin(-1);
        _sent = 0;
        tell(node._set_fraction);
        std::string const sent = output.getValueAsBin(-1);
        require(enabled || (_sent == 0 && sent == old), "a disabled node sends nothing");
        require(!enabled || expected.empty() || sent == expected, "at an end the stored value comes out");
        if (!clear || state() != before)
            return;
        setBinary(!_binary);
        tell(node._set_fraction);
        require(output.getValueAsBin(-1) == sent || state() != before, "both searches agree");
    }

    Input& _input;
    Context _context;
    NodeNameSpace _nodes{_context};
    TimeStamp _time = 0;
    unsigned _routes = 0, _sent = 0;
    bool _binary = false;
};

} // namespace
} // namespace Zelvan::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Zelvan::fuzz::Input input(data, size);
    Zelvan::fuzz::World world(input);
    while (!input.empty())
        world.step();
    return 0;
}
