#include "tests/interpolationNodePool/MuseumRunner.h"
#include "tests/interpolationNodePool/PlainSlerp.h"
#include "tests/interpolationNodePool/PoolNodes.h"

namespace Zelvan::test {

// The linear family written down plainly.

template <class Value>
Value lerp(Value const& a, Value const& b, float t)
{
    if constexpr (std::is_same_v<Value, float>) {
        return (b - a) * t + a;
    } else {
        Value value;
        for (unsigned c = 0; c < sizeof value / sizeof(float); ++c)
            value[c] = lerp(a[c], b[c], t);
        return value;
    }
}

struct PlainLerp {
    template <class Value>
    static Value at(std::vector<Value> const& values, Found const& found, unsigned j)
    {
        Value const& a = values[found.index + j];
        return found.type == InterpolatorProc::FractionKey ? a
                                                           : lerp(a, values[found.index + found.valuesPerKey + j], found.alpha);
    }
    template <class Value>
    static bool calculate(std::vector<float> const&, std::vector<Value> const& values, Found const& found, Value& out)
    {
        if (found.type != InterpolatorProc::FractionNone)
            out = at(values, found, 0);
        return found.type != InterpolatorProc::FractionNone;
    }
    template <class Value>
    static bool calculate(std::vector<float> const&, std::vector<Value> const& values, Found const& found,
                          std::vector<Value>& out)
    {
        if (found.type == InterpolatorProc::FractionNone)
            return false;
        out.clear();
        for (unsigned j = 0; j < found.valuesPerKey; ++j)
            out.push_back(at(values, found, j));
        return true;
    }
};
template <>
struct Plain<ScalarInterpolator> : PlainLerp {};
template <>
struct Plain<PositionInterpolator2D> : PlainLerp {};
template <>
struct Plain<PositionInterpolator3D> : PlainLerp {};
template <>
struct Plain<CoordinateInterpolator2D> : PlainLerp {};
template <>
struct Plain<CoordinateInterpolator3D> : PlainLerp {};
template <>
struct Plain<VectorInterpolator> : PlainLerp {};

template <>
struct Plain<NormalInterpolator> {
    static bool calculate(std::vector<float> const& keys, std::vector<osg::Vec3f> const& values, Found const& found,
                          std::vector<osg::Vec3f>& out)
    {
        if (!PlainLerp::calculate(keys, values, found, out))
            return false;
        for (osg::Vec3f& v : out) {
            float const length = std::sqrt((v[0] * v[0] + v[1] * v[1]) + v[2] * v[2]);
            float const factor = length < 1e-6f ? 1.f : 1.f / length;
            for (unsigned c = 0; c < 3; ++c)
                v[c] *= factor;
        }
        return true;
    }
};

template <>
struct Plain<OrientationInterpolator> {
    static bool calculate(std::vector<float> const&, std::vector<Rotation> const& values, Found const& found, Rotation& out)
    {
        if (found.type == InterpolatorProc::FractionKey)
            out = values[found.index];
        else if (found.type == InterpolatorProc::FractionInterval)
            out.setQuaternion(plainSlerp(values[found.index].quaternion(), values[found.index + 1].quaternion(), found.alpha,
                                         [](double distance) { return !(distance > 1e-5); }));
        return found.type != InterpolatorProc::FractionNone;
    }
};

// In double precision and by other formulas: hue, saturation and value from the distances to the largest component,
// and each component back from its place on the circle of hues.
template <>
struct Plain<ColorInterpolator> {
    struct HSV {
        double h, s, v;
    };
    static HSV hsv(osg::Color3<float> const& color)
    {
        double const c[3] = {color[0], color[1], color[2]};
        double const largest = *std::max_element(c, c + 3), span = largest - *std::min_element(c, c + 3);
        if (span == 0)
            return {0, 0, largest};
        auto const k = std::max_element(c, c + 3) - c;
        double const turn = 2.0 * static_cast<double>(k) + (c[(k + 1) % 3] - c[(k + 2) % 3]) / span;
        return {60 * (turn < 0 ? turn + 6 : turn), span / largest, largest};
    }
    static bool calculate(std::vector<float> const&, std::vector<osg::Color3<float>> const& values, Found const& found,
                          osg::Color3<float>& out)
    {
        if (found.type == InterpolatorProc::FractionKey)
            out = values[found.index];
        if (found.type != InterpolatorProc::FractionInterval)
            return found.type != InterpolatorProc::FractionNone;
        HSV const a = hsv(values[found.index]), b = hsv(values[found.index + 1]);
        double const t = found.alpha;
        HSV const blend = {(b.h - a.h) * t + a.h, (b.s - a.s) * t + a.s, (b.v - a.v) * t + a.v};
        if (blend.s != 0 && !(blend.h >= 0 && blend.h <= 360))
            return true; // no such hue: the colour stays, and is sent again
        for (unsigned c = 0; c < 3; ++c) {
            double const k = std::fmod(5 - 2 * c + blend.h / 60, 6);
            double const share = std::max(0.0, std::min({k, 4 - k, 1.0}));
            out[c] = static_cast<float>(blend.v - (blend.s == 0 ? 0 : blend.v * blend.s * share));
        }
        return true;
    }
    static osg::Color3<float> value(std::mt19937& random)
    {
        auto const component = [&random] { return static_cast<float>(random() % 5) / 4; }; // often grey, often equal
        return {component(), component(), component()};
    }
    static constexpr float tolerance = 3e-6f; // the hue is rounded to 2^-15 degrees, and 60 of them are a component
};

namespace {

TEST(Museum, OfTheLinearNodes)
{
    visitMuseum<ScalarInterpolator>();
    visitMuseum<PositionInterpolator2D>();
    visitMuseum<PositionInterpolator3D>();
    visitMuseum<CoordinateInterpolator2D>();
    visitMuseum<CoordinateInterpolator3D>();
    visitMuseum<VectorInterpolator>();
    visitMuseum<NormalInterpolator>();
    visitMuseum<OrientationInterpolator>();
    testing::internal::CaptureStderr();
    visitMuseum<ColorInterpolator>();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("ERROR i not in [0, 5] in Color::setHSV()!\n"))
        << "weights beyond 0 and 1";
}

/// The text of what arrives at the end of a route after one event.
template <class NodeClass>
std::string played(char const* key, char const* keyValue, char const* fraction)
{
    Scene scene;
    NodeClass& node = scene.add<NodeClass>();
    Sink<OutputOf<NodeClass>> sink(scene._nodes);
    Scene::route(node._value_changed, sink._in);
    Scene::send(node, "key", key);
    Scene::send(node, "keyValue", keyValue);
    EXPECT_TRUE(sink._received.empty()) << "new lists take effect at the next fraction";
    Scene::send(node, "set_fraction", fraction, 2.5);
    if (sink._received.empty())
        return "nothing";
    EXPECT_EQ(sink._received.size(), 1u);
    EXPECT_EQ(sink._received[0].first, 2.5);
    EXPECT_EQ(sink._from, &node._value_changed);
    return sink._in.getValueAsStr();
}

TEST(Linear, GivesTheKnownValues)
{
    auto const scalar = played<ScalarInterpolator>;
    auto const position2D = played<PositionInterpolator2D>, position3D = played<PositionInterpolator3D>;
    auto const coordinates2D = played<CoordinateInterpolator2D>, coordinates3D = played<CoordinateInterpolator3D>;
    auto const floats = played<VectorInterpolator>, color = played<ColorInterpolator>;
    auto const normals = played<NormalInterpolator>, rotation = played<OrientationInterpolator>;
    char const *redBlue = "1 0 0 0 0 1", *seven = "0 0 1 1 2 2 10 20 11 21 12 22 99 99";
    struct {
        std::string (*play)(char const*, char const*, char const*);
        char const *key, *keyValue, *fraction, *expected;
    } const cases[] = {
        {scalar, "0 1", "10 20", ".25", "12.5"},
        {scalar, "0 1", "10 20", "-1", "10"},
        {scalar, "0 1", "10 20", "2", "20"},
        {scalar, "0 .5 1", "0 10", ".75", "10"},
        {scalar, "0", "7", "5", "7"},
        {scalar, "0 1", "", ".5", "nothing"},
        {scalar, "0 1", "3e38 -3e38", ".5", "-inf"},     // the difference overflows first
        {scalar, "0 1", "16777216 1", ".99999994", "2"}, // (b - a) t + a, not a (1 - t) + b t
        {position3D, "0 1", "0 0 0 2 4 8", ".25", "0.5 1 2"},
        {position3D, "0 1", "0 0 0 2 4 8", "3", "2 4 8"},
        {position2D, "0 .5 1", "0 0 1 1 1 3", ".75", "1 2"},
        {position2D, "0 .5 1", "0 0 1 1 2 2 3 3 4 4 5 5", "1", "2 2"},
        {coordinates3D, "0 1", "0 0 0 0 0 0 2 2 2 4 4 4", ".5", "1 1 1 2 2 2"},
        {coordinates3D, "0 1", "0 0 0 0 0 0 2 2 2 4 4 4", "1", "2 2 2 4 4 4"},
        {coordinates3D, "0 .5 1", "0 0 0 1 2 3", ".75", "1 2 3"},
        {coordinates2D, "0 1", seven, ".5", "5 10 6 11 7 12"},
        {coordinates2D, "0 1", seven, "9", "10 20 11 21 12 22"},
        {floats, "0 1", "0 10 100 20 30 300", ".5", "10 20 200"},
        {floats, "0 1", "0 10 100 20 30 300", "2", "20 30 300"},
        {color, "0 1", redBlue, ".5", "0 1 0"},       // hues 0 and 240 meet at 120
        {color, "0 1", "1 0 0 1 0 1", ".6", "0 1 1"}, // from hue 0 to hue 300 the long way round
        {color, "0 1", "0 0 0 0 0 1", ".5", "0.25 0.5 0.25"},
        {color, "0 1", ".25 .25 .25 .75 .75 .75", ".5", "0.5 0.5 0.5"},
        {color, "0 1", "2 -1 0 0 0 1", "0", "2 -1 0"},      // stored colours go out untouched
        {color, "0 1", "1 0 1e-9 1 0 1e-9", ".5", "1 0 0"}, // hue 360 is hue 0
        {normals, "0 1", "1 0 0 0 1 0", ".5", "0.70710677 0.70710677 0"},
        {normals, "0 1", "1 0 0 0 1 0", ".25", "0.94868326 0.31622776 0"},
        {normals, "0 1", "1 0 0 -1 0 0", ".5", "0 0 0"},
        {normals, "0 1", "1 0 0 0 0 2 0 1 0 0 0 4 9 9 9", ".5", "0.70710677 0.70710677 0 0 0 1"},
        {normals, "0 1", "0 0 2 0 3 0", "-1", "0 0 1"},
        {normals, "0 1", "9e-7 0 0 0 3 0", "0", "9e-07 0 0"},
        {rotation, "0 1", "0 1 0 0 0 1 0 1", ".5", "0 1 0 0.5"},
        {rotation, "0 1", "0 2 0 0 0 2 0 1", "7", "0 2 0 1"},           // a stored rotation keeps its axis
        {rotation, "0 1", "0 0 0 3 0 1 0 1", ".5", "0 1 0 0.5"},        // no axis: no rotation
        {rotation, "0 1", "1 0 0 3 -1 0 0 3", ".5", "1 0 0 3.1415927"}, // the shorter arc, through the half turn
    };
    LogCapture quiet(osg::LOG_LOG);
    for (auto const& [play, key, keyValue, fraction, expected] : cases)
        EXPECT_EQ(play(key, keyValue, fraction), expected) << key << " / " << keyValue << " at " << fraction;
}

TEST(Linear, CyclesEndAndChangesOfOtherFieldsNest)
{
    Scene scene;
    LogCapture log(osg::LOG_INFO);
    auto& scalar = scene.add<ScalarInterpolator>();
    Scene::route(scalar._value_changed, scalar._set_fraction);
    Scene::send(scalar, "key", "0 1");
    Scene::send(scalar, "keyValue", "10 20");
    for (int round = 0; round < 2; ++round) {
        Scene::send(scalar, "set_fraction", ".5");
        EXPECT_EQ(scalar._value_changed._value, 15) << "the second arrival is dropped";
        EXPECT_EQ(scalar._isChangingMask.bits(), 0u);
    }
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1].text, "Field ScalarInterpolator/node.set_fraction is already changing; break loop\n");
    log.clear();

    auto& floats = scene.add<VectorInterpolator>();
    Scene::route(floats._value_changed, floats._keyValue);
    Scene::send(floats, "key", "0 1");
    Scene::send(floats, "keyValue", "0 0 8 4");
    for (char const* const expected : {"4 2", "3"}) { // what was sent is the next list of values
        Scene::send(floats, "set_fraction", ".5");
        EXPECT_EQ(floats._keyValue.getValueAsStr(), expected);
    }
    EXPECT_EQ(log.size(), 0u);
}

} // namespace
} // namespace Zelvan::test
