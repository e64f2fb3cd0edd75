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
#include "interpolationNodePool/NormalInterpolator.h"

#include <cmath>
#include <iostream>

namespace Zelvan::fuzz {
namespace {

std::vector<NodeType*> creatableTypes()
{
    osg::osgLog().setLogType(osg::LOG_NONE);
    osg::osgLog().setLogLevel(osg::LOG_DEBUG); // messages are made, and go nowhere
    std::cerr.rdbuf(nullptr);
    std::vector<NodeType*> types = theSceneNodeTypeFactory().types();
    std::erase_if(types, [](NodeType* type) { return !type->isDerivedFrom(Interpolator::_type) || !type->_createNode; });
    require(initInterpolationNodePool() && types.size() == 15, "there are 15 types");
    return types;
}

/// Counts what is sent, and watches that no disabled node sends a result.
struct Watch : SendObserver {
    void sent(Field& field, TimeStamp const&) override
    {
        ++_sent;
        require(field.type() != outputOnly || static_cast<Interpolator*>(field._node)->enabled(), "disabled, but sends");
    }
    unsigned _sent = 0;
};

struct Animated {
    std::size_t usable() const { return std::min<std::size_t>(node->_key.size(), values->size()); }

    /// Where both searches must find the same interval.
    bool unambiguous(float fraction) const
    {
        float const* const key = node->_key._value.data();
        bool clear = !std::isnan(fraction);
        for (std::size_t i = 0; i < usable(); ++i)
            clear = clear && key[i] != fraction && (i == 0 || key[i - 1] < key[i]);
        return clear;
    }

    /// What a fraction at or beyond an end key must send, in binary form; empty elsewhere.
    std::string endValue(float fraction) const
    {
        float const* const key = node->_key._value.data();
        std::size_t const n = usable();
        if (n == 0 || (n > 1 && !(fraction <= key[0]) && !(fraction >= key[n - 1])))
            return "";
        bool const blocks = output->cardinality() == Field::multiple, eased = node->type()._name == "EaseInEaseOut";
        std::size_t const k = n == 1 || fraction <= key[0] ? 0 : n - 1, perKey = blocks ? values->size() / n : 1;
        std::string bits;
        for (std::size_t i = k * perKey; i < (k + 1) * perKey; ++i)
            bits += (eased ? node->_key : *values).get1ValueAsBin(static_cast<int>(i));
        return bits;
    }

    /// Normals are brought to unit length, and vector code may give a NaN other bits.
    bool sent(std::string const& bits) const
    {
        auto const* const normals = dynamic_cast<NormalInterpolator const*>(node);
        if (normals == nullptr)
            return output->getValueAsBin(-1) == bits;
        std::vector<float> in(bits.size() / 4), unit(in.size());
        std::memcpy(in.data(), bits.data(), bits.size());
        Kernels::baseline.normalise(in.data(), unit.data(), in.size() / 3);
        return std::equal(unit.begin(), unit.end(), normals->_value_changed._value.data()->getValues(), [](float a, float b) {
            return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
        });
    }

    Interpolator* node;
    Field* values = node->findField(node->findField("keyValue") ? "keyValue" : "easeInEaseOut");
    Field* output = node->findField(node->findField("keyValue") ? "value_changed" : "modifiedFraction_changed");
};

/// The scan with the vectors of every level beside a plain loop.
void compareScans(std::vector<float> const& keys, float fraction)
{
    auto const n = static_cast<unsigned>(keys.size());
    for (Kernels const* const kernels : Kernels::supported())
        for (unsigned start = 0; start + 1 < n && Kernels::use(kernels->name); ++start) {
            unsigned at = start;
            while (at < n - 1 && !(keys[at] <= fraction && fraction < keys[at + 1]))
                ++at;
            require(linearInterval(keys.data(), n, fraction, start) == at, "the wide scan is the plain scan");
        }
}

class World {
public:
    explicit World(Input& input) : _input(input)
    {
        static std::vector<NodeType*> const types = creatableTypes();
        Field::observe(&_watch);
        for (unsigned count = 1 + input.below(3); count > 0; --count) {
            Animated const& a = _animated.emplace_back(
                Animated{static_cast<Interpolator*>(types[input.below(15)]->createNodeWithProc(_nodes, "n"))});
            _nodes.add(*a.node);
            a.node->_state = Node::live;
            fill(a.node->_key);
            fill(*a.values);
        }
    }
    ~World() { Field::observe(nullptr); }

    void step()
    {
        Animated const& a = any();
        float const key = a.node->_key.empty() ? 0.f : a.node->_key._value.back();
        switch (unsigned const operation = _input.below(12)) {
        case 0: case 1: case 2: return fire(a, _input.number());
        case 3: return fire(a, key);
        case 4: return fire(a, std::nextafter(key, -1e9f));
        case 5: return fire(a, a.node->_key.empty() ? 0.f : a.node->_key._value[_input.below(a.node->_key.size())]);
        case 6: case 7: { // told or not
            Field& field = anyField(a);
            fill(field);
            return operation == 6 ? tell(field) : void();
        }
        case 8: return connect();
        case 9: return setBinary(_input.below(2) != 0);
        case 10: a.node->_state = _input.below(4); return;
        default: return compareScans(_input.numbers(_input.below(80)), _input.number());
        }
    }

private:
    Animated const& any() { return _animated[_input.below(static_cast<unsigned>(_animated.size()))]; }
    Field& anyField(Animated const& a) { return *a.node->fields()[_input.below(static_cast<unsigned>(a.node->fields().size()))]; }
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
            unsigned const state = size == sizeof(Rotation) ? _input.below(3) : 3; // which form of a rotation counts
            if (state < 3)
                std::memcpy(&element.back(), &state, 4);
            bin.append(reinterpret_cast<char const*>(element.data()), size / 4 * 4);
        }
        if (size == 0)
            bin = _input.below(2) ? "matrix" : "component";
        require(field.setValueByBin(size == 1 ? std::string(1, static_cast<char>(_input.below(2))) : bin), "a value is taken");
        if (&field == &static_cast<Interpolator*>(field._node)->_key && _input.below(4) != 0) {
            auto& key = static_cast<MFFloat&>(field)._value;
            std::erase_if(key, [](float k) { return std::isnan(k); });
            std::sort(key.begin(), key.end());
        }
    }

    /// Joins two fields if they fit; a few routes lead to loops soon enough.
    void connect()
    {
        Field &from = anyField(any()), &to = anyField(any());
        std::string error;
        if (_routes < 8)
            _routes += Route::add(from, to, error) != nullptr;
        else if (from._routesOut != nullptr)
            Route::remove(*from._routesOut);
    }

    void fire(Animated const& a, float fraction)
    {
        Interpolator& node = *a.node;
        auto const state = [&] {
            std::string all;
            for (Field const* const field : node.fields())
                all += field == a.output ? "|" : field->getValueAsBin(-1) + '|';
            return all;
        };
        bool const enabled = node.enabled(), clear = a.unambiguous(fraction);
        std::string const output = a.output->getValueAsBin(-1), expected = a.endValue(fraction);
        node._set_fraction._value = fraction;
        std::string const before = state();
        _watch._sent = 0;
        tell(node._set_fraction);
        std::string const sent = a.output->getValueAsBin(-1);
        require(enabled || (_watch._sent == 0 && sent == output), "a disabled node sends nothing");
        require(!enabled || expected.empty() || a.sent(expected), "at or beyond an end key the stored value comes out");
        if (!clear || state() != before)
            return;
        setBinary(!_binary);
        tell(node._set_fraction);
        require(a.output->getValueAsBin(-1) == sent || node._set_fraction._value != fraction, "both searches agree");
    }

    Input& _input;
    Watch _watch;
    Context _context;
    NodeNameSpace _nodes{_context};
    std::vector<Animated> _animated;
    TimeStamp _time = 0;
    unsigned _routes = 0;
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
