#pragma once

// Whole events beside what they contain: a fraction is stored in set_fraction, the node told, the value computed and
// sent along one route into another node's field.

#include "base/Context.h"
#include "base/Fields.h"
#include "base/Node.h"
#include "base/NodeNameSpace.h"
#include "base/NodeType.h"
#include "base/Route.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Zelvan::bench {

/// The same bits in both: what two ways of computing one value must have.
template <class T>
bool sameBits(T const& a, T const& b)
{
    return std::memcmp(static_cast<void const*>(&a), static_cast<void const*>(&b), sizeof(T)) == 0;
}
template <class T>
bool sameBits(std::vector<T> const& a, std::vector<T> const& b)
{
    std::size_t const bytes = a.size() * sizeof(T);
    return a.size() == b.size()
        && std::memcmp(static_cast<void const*>(a.data()), static_cast<void const*>(b.data()), bytes) == 0;
}
inline bool sameBits(Rotation const& a, osg::Quaternion const& b)
{
    return sameBits(a.quaternion(), b);
}

/// Adds "<name>/whole" and "<name>/bare" to the program; scripts/bench prints the ratio of their times and whether
/// it keeps to `limit`. `prepare`, called when the first of them runs, returns a pair of functions without argument,
/// the whole and the bare one: each call is one step, and returns its value by copy or reference. A third one, between
/// them, is "<name>/less": its time is taken from the whole's before the ratio.
template <class Prepare>
void measureUnlike(std::string const& name, double limit, Prepare prepare)
{
    auto const made = std::make_shared<std::optional<decltype(prepare())>>();
    auto const both = [ prepare, made ]() -> auto const&
    {
        if (!*made)
            made->emplace(prepare());
        return **made;
    };
    auto const add = [&](char const* kind, auto select) {
        benchmark::RegisterBenchmark((name + '/' + kind).c_str(), [=](benchmark::State& state) {
            auto function = select(both());
            for (auto _ : state) {
                benchmark::DoNotOptimize(function());
                benchmark::ClobberMemory();
            }
            state.counters["limit"] = limit;
        });
    };
    constexpr std::size_t count = std::tuple_size_v<decltype(prepare())>;
    add("whole", [](auto const& functions) { return std::get<0>(functions); });
    if constexpr (count == 3)
        add("less", [](auto const& functions) { return std::get<1>(functions); });
    add("bare", [](auto const& functions) { return std::get<count - 1>(functions); });
}

/// As `measureUnlike`, for two ways to the same bits: if they differ in their first steps, the program ends.
template <class Prepare>
void measure(std::string const& name, double limit, Prepare prepare)
{
    measureUnlike(name, limit, [name, prepare] {
        auto const functions = prepare();
        auto [whole, bare] = functions;
        for (int step = 0; step < 20; ++step) {
            auto const value = whole(); // a copy: both may write to one place
            if (!sameBits(value, bare())) {
                std::cerr << name << ": the bare code computes something else in step " << step << '\n';
                std::exit(1);
            }
        }
        return functions;
    });
}

/// A node with one field, which events reach.
template <class FieldClass>
class Sink : public Node {
public:
    explicit Sink(NodeNameSpace& nameSpace) : Node(record(), nameSpace, "sink") { _in._desc = &_desc; }
    ~Sink() override { Route::removeAll(_in); }

    void fieldChanged(Field&, TimeStamp const&, Field*) override { ++_arrived; }

    NodePartDesc _desc{3, 8, inputOnly, FieldClass().dataType(), 1, "in", nullptr, nullptr, nullptr, "", 0};
    FieldClass _in{*this};
    unsigned long _arrived = 0;

private:
    static NodeType& record()
    {
        static NodeTypeNameSpace own;
        static NodeType type(own, "Sink", "Benchmarks", nullptr, nullptr, nullptr, "Benchmarks", nullptr, "", "", "", false,
                             false, nullptr, nullptr, nullptr, nullptr, 0);
        return type;
    }
};

/// Where a fraction lies among the keys.
struct Step {
    float fraction;
    unsigned interval;
    float alpha;
};

/// A list of steps that starts again at its end.
class Steps {
public:
    explicit Steps(std::vector<Step> steps) : _steps(std::make_shared<std::vector<Step> const>(std::move(steps))) {}
    std::size_t count() const { return _steps->size(); }
    Step const& next()
    {
        Step const& step = (*_steps)[_next];
        if (++_next == _steps->size())
            _next = 0;
        return step;
    }

private:
    std::shared_ptr<std::vector<Step> const> _steps;
    std::size_t _next = 0;
};

/// n keys, evenly spaced from 0 to 1.
inline std::vector<float> evenKeys(unsigned n)
{
    std::vector<float> keys(n);
    for (unsigned k = 0; k < n; ++k)
        keys[k] = static_cast<float>(k) / static_cast<float>(n - 1);
    return keys;
}

/// A step to `part` (0 to 1) of an interval.
inline Step stepInto(std::vector<float> const& keys, unsigned interval, float part)
{
    float const width = keys[interval + 1] - keys[interval];
    float const fraction = keys[interval] + width * part;
    return {fraction, interval, (fraction - keys[interval]) / width};
}

/// From the first key to the last in about `count` equal steps, the same number in every interval.
inline Steps playback(std::vector<float> const& keys, unsigned count)
{
    unsigned const intervals = static_cast<unsigned>(keys.size()) - 1;
    unsigned const each = count < intervals ? 1 : count / intervals;
    std::vector<Step> steps;
    for (unsigned interval = 0; interval < intervals; ++interval)
        for (unsigned i = 0; i < each; ++i)
            steps.push_back(stepInto(keys, interval, (static_cast<float>(i) + 0.5f) / static_cast<float>(each)));
    return Steps(std::move(steps));
}
/// To and fro between intervals, always into another one and never next to the one before.
inline Steps leaps(std::vector<float> const& keys, std::vector<unsigned> const& intervals)
{
    std::vector<Step> steps;
    for (unsigned i = 0; i < 100; ++i)
        for (unsigned const interval : intervals)
            steps.push_back(stepInto(keys, interval, (static_cast<float>(i) + 0.5f) / 100.f));
    return Steps(std::move(steps));
}
inline Steps within(std::vector<float> const& keys, unsigned interval)
{
    return leaps(keys, {interval});
}

/// A live node with keys and values and, unless told otherwise, a route from value_changed to a sink.
template <class NodeClass>
class Animation {
public:
    using List = decltype(std::declval<NodeClass&>()._keyValue._value);
    using Output = std::remove_reference_t<decltype((std::declval<NodeClass&>()._value_changed))>;

    Animation(std::vector<float> keys, List values, bool routed = true)
        : _node(static_cast<NodeClass&>(*NodeClass::_type.createNodeWithProc(_nodes, "animated"))), _sink(_nodes)
    {
        _nodes.add(_node);
        _node._key._value = std::move(keys);
        _node._keyValue._value = std::move(values);
        _node._state = Node::live;
        std::string error;
        if (routed && Route::add(_node._value_changed, _sink._in, error) == nullptr) {
            std::cerr << error << '\n';
            std::exit(1);
        }
    }

    List const& values() const { return _node._keyValue._value; }
    /// Tells the node that a field's value was just stored.
    void changed(Field& field) { static_cast<Node&>(_node).fieldChanged(field, _time += 1. / 60, nullptr); }
    /// One event; what has arrived.
    auto const& send(float fraction)
    {
        _node._set_fraction._value = fraction;
        changed(_node._set_fraction);
        return _sink._in._value;
    }

    Context _context;
    NodeNameSpace _nodes{_context};
    NodeClass& _node;
    Sink<Output> _sink;
    TimeStamp _time = 0;
};

template <class NodeClass>
std::shared_ptr<Animation<NodeClass>> animate(std::vector<float> keys, typename Animation<NodeClass>::List values,
                                              bool routed = true)
{
    return std::make_shared<Animation<NodeClass>>(std::move(keys), std::move(values), routed);
}

/// One event per step.
template <class NodeClass>
auto events(std::shared_ptr<Animation<NodeClass>> animation, Steps steps)
{
    return [ animation, steps ]() mutable -> auto const&
    {
        return animation->send(steps.next().fraction);
    };
}

/// `count` values made by `make(number)`, where `number` gives random numbers from -1 to 1.
template <class Make>
auto randomValues(std::size_t count, Make make)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> between(-1.f, 1.f);
    auto const number = [&] { return between(random); };
    std::vector<decltype(make(number))> values(count);
    for (auto& value : values)
        value = make(number);
    return values;
}
inline auto randomFloats(std::size_t count)
{
    return randomValues(count, [](auto& number) { return number(); });
}
inline auto randomVectors(std::size_t count)
{
    return randomValues(count, [](auto& number) { return osg::Vec3f(number(), number(), number()); });
}
inline auto randomRotations(std::size_t count)
{
    return randomValues(count, [](auto& number) { return Rotation(osg::Vec3f(number(), number(), number()), 3.f * number()); });
}

} // namespace Zelvan::bench
