// Events of the splines and of squad.

#include "bench/Events.h"

#include "interpolationNodePool/PositionInterpolator2D.h"
#include "interpolationNodePool/PositionInterpolator3D.h"
#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/SplinePositionInterpolator2D.h"
#include "interpolationNodePool/SplinePositionInterpolator3D.h"
#include "interpolationNodePool/SplineScalarInterpolator.h"
#include "interpolationNodePool/SquadOrientationInterpolator.h"
#include "interpolationNodePool/SquadOrientationInterpolatorProc.h"

namespace Zelvan::bench {
namespace {

/// Playback that meets two events in every interval of many keys, and as many events over few keys.
template <class NodeClass, class Values>
auto splineEvents(unsigned keys, Values values)
{
    return events(animate<NodeClass>(evenKeys(keys), values(keys)), playback(evenKeys(keys), 20'000));
}

template <class Spline, class Linear, class Values>
void measureSpline(std::string const& type, std::string const& linear, Values values)
{
    measureUnlike(type + ", 10000 keys, playback : 4 keys", 1.2,
                  [=] { return std::pair(splineEvents<Spline>(10'000, values), splineEvents<Spline>(4, values)); });
    for (unsigned const keys : {4, 10'000})
        measureUnlike(type + ", " + std::to_string(keys) + " keys, playback : " + linear, 1.6,
                      [=] { return std::pair(splineEvents<Spline>(keys, values), splineEvents<Linear>(keys, values)); });
}

auto squadAnimation()
{
    return animate<SquadOrientationInterpolator>(evenKeys(10), randomRotations(10));
}

[[maybe_unused]] bool const added = [] {
    measureSpline<SplineScalarInterpolator, ScalarInterpolator>("SplineScalarInterpolator", "ScalarInterpolator", randomFloats);
    measureSpline<SplinePositionInterpolator2D, PositionInterpolator2D>(
        "SplinePositionInterpolator2D", "PositionInterpolator2D",
        [](std::size_t count) { return randomValues(count, [](auto& number) { return osg::Vec2f(number(), number()); }); });
    measureSpline<SplinePositionInterpolator3D, PositionInterpolator3D>("SplinePositionInterpolator3D",
                                                                        "PositionInterpolator3D", randomVectors);

    measure("SquadOrientationInterpolator, one interval : three slerps", 1.3, [] {
        auto const animation = squadAnimation();
        auto steps = within(evenKeys(10), 4);
        auto const key = [animation](unsigned i) { return animation->values()[i].quaternion(); };
        osg::Quaternion const s1 = compute_innerQuadranglePoints(key(4), key(3), key(5));
        osg::Quaternion const s2 = compute_innerQuadranglePoints(key(5), key(4), key(6));
        return std::pair(events(animation, steps), [=, q1 = key(4), q2 = key(5)]() mutable {
            return squadQuaternions(q1, q2, s1, s2, steps.next().alpha);
        });
    });
    measure("SquadOrientationInterpolator, changing intervals : inner points and three slerps", 1.2, [] {
        auto const animation = squadAnimation();
        auto steps = leaps(evenKeys(10), {1, 5, 3, 7});
        return std::pair(events(animation, steps), [=]() mutable {
            auto const [fraction, i, t] = steps.next();
            Rotation const* const key = animation->values().data() + i;
            osg::Quaternion const &q0 = key[-1].quaternion(), &q1 = key[0].quaternion();
            osg::Quaternion const &q2 = key[1].quaternion(), &q3 = key[2].quaternion();
            return squadQuaternions(q1, q2, compute_innerQuadranglePoints(q1, q0, q2),
                                    compute_innerQuadranglePoints(q2, q1, q3), t);
        });
    });
    return true;
}();

} // namespace
} // namespace Zelvan::bench
