// Events of the linear interpolators.

#include "bench/Events.h"
#include "bench/PlainLoops.h"

#include "interpolationNodePool/ColorInterpolator.h"
#include "interpolationNodePool/CoordinateInterpolator3D.h"
#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/NormalInterpolator.h"
#include "interpolationNodePool/OrientationInterpolator.h"
#include "interpolationNodePool/PositionInterpolator2D.h"
#include "interpolationNodePool/PositionInterpolator3D.h"
#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/Slerp.h"
#include "interpolationNodePool/VectorInterpolator.h"

#include <cmath>

namespace Zelvan::bench {
namespace {

constexpr unsigned frames = 600; // ten seconds of sixty

/// What a scalar event is about: find the interval, near the last one first and key by key, and blend.
[[gnu::noinline]] float searchAndLerp(float const* key, float const* value, unsigned n, float fraction, unsigned& last)
{
    if (fraction <= key[0])
        return value[0];
    if (fraction >= key[n - 1])
        return value[n - 1];
    unsigned i = last < n - 1 && key[last] <= fraction ? last : 0;
    while (!(key[i] <= fraction && fraction < key[i + 1]))
        ++i;
    last = i;
    float const alpha = (fraction - key[i]) / (key[i + 1] - key[i]);
    return lerp(value[i], value[i + 1], alpha);
}

auto bareScalar(std::shared_ptr<Animation<ScalarInterpolator>> animation, Steps steps)
{
    return [animation, steps, last = 0u]() mutable {
        ScalarInterpolator const& node = animation->_node;
        return searchAndLerp(node._key._value.data(), node._keyValue._value.data(),
                             static_cast<unsigned>(node._key._value.size()), steps.next().fraction, last);
    };
}

Steps randomSteps(std::vector<float> const& keys)
{
    std::mt19937 random(2);
    std::uniform_real_distribution<float> part(0.1f, 0.9f);
    std::vector<Step> steps(4096);
    for (Step& step : steps)
        step = stepInto(keys, static_cast<unsigned>(random() % (keys.size() - 1)), part(random));
    return Steps(std::move(steps));
}

auto scalarEvents(unsigned keys, Steps const& steps)
{
    return events(animate<ScalarInterpolator>(evenKeys(keys), randomFloats(keys)), steps);
}

/// `blend(list, index, alpha)`, without the search.
template <class NodeClass, class Blend>
auto bareBlend(std::shared_ptr<Animation<NodeClass>> animation, Steps steps, Blend blend)
{
    return [animation, steps, blend]() mutable {
        Step const& step = steps.next();
        return blend(animation->values(), step.interval, step.alpha);
    };
}

using Loop = void (*)(float const* a, float const* b, float t, float* out, std::size_t count);

/// Blocks of `count` values at each of three keys, beside `loop` on the same lists, since times depend on addresses.
/// Where there is a route the bare code copies the block, as every receiver has its own.
template <class NodeClass, class Values>
void measureBlocks(std::string const& name, double limit, bool routed, std::size_t count, Values values, Loop loop,
                   std::size_t countForLoop)
{
    measure(name, limit, [=] {
        auto const animation = animate<NodeClass>(evenKeys(3), values(3 * count), routed);
        auto steps = playback(evenKeys(3), frames);
        animation->send(0.1f);
        auto& block = animation->_node._value_changed._value;
        auto& received = routed ? animation->_sink._in._value : block;
        auto const whole = [ =, &received ]() mutable -> auto const&
        {
            animation->send(steps.next().fraction);
            return received;
        };
        auto const bare = [ =, &block, &received ]() mutable -> auto const&
        {
            auto const [fraction, interval, alpha] = steps.next();
            auto const* const a = animation->values().data() + interval * count;
            loop(reinterpret_cast<float const*>(a), reinterpret_cast<float const*>(a + count), alpha, flat(block),
                 countForLoop);
            if (routed)
                received = block;
            return received;
        };
        return std::pair(whole, bare);
    });
}

[[maybe_unused]] bool const added = [] {
    measure("ScalarInterpolator, 10 keys, playback : search and lerp", 5, [] {
        auto const keys = evenKeys(10);
        auto const animation = animate<ScalarInterpolator>(keys, randomFloats(10));
        auto const steps = playback(keys, frames);
        return std::pair(events(animation, steps), bareScalar(animation, steps));
    });
    measure("ScalarInterpolator, 10000 keys, random fractions : plain scan and lerp", 0.25, [] {
        auto const keys = evenKeys(10'000);
        auto const animation = animate<ScalarInterpolator>(keys, randomFloats(10'000));
        auto const steps = randomSteps(keys);
        return std::pair(events(animation, steps), bareScalar(animation, steps));
    });

    measureUnlike("PositionInterpolator2D, 10 keys, playback : ScalarInterpolator", 1.3, [] {
        auto const steps = playback(evenKeys(10), frames);
        auto const values = randomValues(10, [](auto& number) { return osg::Vec2f(number(), number()); });
        return std::pair(events(animate<PositionInterpolator2D>(evenKeys(10), values), steps), scalarEvents(10, steps));
    });
    measureUnlike("PositionInterpolator3D, 10 keys, playback : ScalarInterpolator", 1.3, [] {
        auto const steps = playback(evenKeys(10), frames);
        return std::pair(events(animate<PositionInterpolator3D>(evenKeys(10), randomVectors(10)), steps),
                         scalarEvents(10, steps));
    });

    Loop const lerpLoop = activePlainLoops().lerp, normalsLoop = activePlainLoops().lerpNormals;
    for (bool const routed : {false, true}) {
        std::string const beside = routed ? ", routed : loop and copy" : " : loop";
        auto const coordinates = [&](std::size_t count, double limit, std::string const& number) {
            measureBlocks<CoordinateInterpolator3D>("CoordinateInterpolator3D, " + number + " vectors" + beside, limit, routed,
                                                    count, randomVectors, lerpLoop, 3 * count);
        };
        coordinates(1'000, 1.15, "1000");
        coordinates(100'000, 1.1, "100000");
        measureBlocks<VectorInterpolator>("VectorInterpolator, 10000000 floats" + beside, 1.1, routed, 10'000'000, randomFloats,
                                          lerpLoop, 10'000'000);
        measureBlocks<NormalInterpolator>("NormalInterpolator, 1000 vectors" + beside, 1.2, routed, 1'000, randomVectors,
                                          normalsLoop, 1'000);
    }

    measure("OrientationInterpolator, 10 keys, playback : slerp", 1.4, [] {
        auto const animation = animate<OrientationInterpolator>(evenKeys(10), randomRotations(10));
        auto const steps = playback(evenKeys(10), frames);
        return std::pair(events(animation, steps), bareBlend(animation, steps, [](auto& list, unsigned i, float t) {
                             KeptAngle none;
                             return slerp(list[i].quaternion(), list[i + 1].quaternion(), t, none);
                         }));
    });
    measure("ColorInterpolator, 10 keys, playback : conversions and lerp", 1.5, [] {
        auto const colors = randomValues(
            10, [](auto& number) { return osg::Color3f(std::abs(number()), std::abs(number()), std::abs(number())); });
        auto const animation = animate<ColorInterpolator>(evenKeys(10), colors);
        auto const steps = playback(evenKeys(10), frames);
        return std::pair(events(animation, steps), bareBlend(animation, steps, [](auto& list, unsigned i, float t) {
                             float a[3], b[3];
                             list[i].getValuesHSV(a[0], a[1], a[2]);
                             list[i + 1].getValuesHSV(b[0], b[1], b[2]);
                             osg::Color3f color;
                             color.setValuesHSV(lerp(a[0], b[0], t), lerp(a[1], b[1], t), lerp(a[2], b[2], t));
                             return color;
                         }));
    });
    return true;
}();

} // namespace
} // namespace Zelvan::bench
