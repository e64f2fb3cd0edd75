#include "interpolationNodePool/SquadOrientationInterpolatorProc.h"
#include "tests/interpolationNodePool/MuseumRunner.h"
#include "tests/interpolationNodePool/PlainSlerp.h"
#include "tests/interpolationNodePool/PoolNodes.h"

namespace Zelvan {
namespace {

using test::bits;
using test::Scene;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();

// Of every type here the list of values is the last field but one, the output the last. Lists are read and
// written as the floats they store.
Field& values(Node& node)
{
    return *node.fields().end()[-2];
}

std::vector<float> output(Interpolator& node, float fraction)
{
    node._set_fraction._value = fraction;
    node.fieldChanged(node._set_fraction, 1, nullptr);
    std::string const bin = node.fields().back()->getValueAsBin(-1);
    std::vector<float> numbers(bin.size() / sizeof(float));
    std::memcpy(numbers.data(), bin.data(), bin.size());
    return numbers;
}

TEST(Nonlinear, GivesTheKnownValues)
{
    char const *scalar = "SplineScalarInterpolator", *position = "SplinePositionInterpolator3D", *ease = "EaseInEaseOut",
               *squad = "SquadOrientationInterpolator";
    struct Case {
        char const *type, *key, *values;
        float fraction;
        std::vector<float> expected; // empty: nothing is sent
        bool binarySearch = false;
    } const cases[] = {
        {scalar, "0 1 2 3", "0 1 2 3", 1.5f, {1.5f}},
        {scalar, "0 1 2 3", "0 1 2 3", .5f, {.375f}},
        {scalar, "0 1 2 3", "0 1 2 3", 2.5f, {2.625f}},
        {scalar, "0 1 3", "0 1 4", .5f, {.16666666f}},
        {scalar, "0 1 3", "0 1 4", 2, {2.6666665f}},
        {scalar, "0 1 2 3", "0 1", .25f, {.15625f}},
        {scalar, "0 1 2", "", .5f, {}},
        {scalar, "0 1 2", "0 1 2", nan, {}},
        {position, "0 1 2 3", "0 0 0 1 2 3 2 4 6 3 6 9", .5f, {.375f, .75f, 1.125f}},
        {ease, "0 1", "0 0 0 0", .3f, {.3f}},
        {ease, "0 1", "0 .5 .5 0", .25f, {.125f}},
        {ease, "0 1", "0 .5 .5 0", .75f, {.875f}},
        {ease, "0 1", "0 1 1 0", .25f, {.125f}},
        {ease, "0 1", "0 -.5 0 0", .3f, {.3f}},
        {ease, "0 .5 1", "0 0 0 .5 .5 0", 2, {1}},
        {ease, "-1 0 1", "0 0 0 0 0 0", -.5f, {inf}}, // before 0 a share of 0 divides
        {ease, "0 2", "0 0 0 0", 1.5f, {-inf}},       // and after 1
        {ease, "0 .5 1", "0 0 0 0", .75f, {.5f}},
        {ease, "0 .5 1", "", .75f, {}},
        {ease, "0 .5 1", "0 .6 .1 .1 .2 0", .5f, {0.5294118f}},       // an inner key begins an interval
        {ease, "0 .5 1", "0 .6 .1 .1 .2 0", .5f, {0.3205128f}, true}, // or ends one
        {squad, "0 .5 1", "0 0 1 0 0 0 1 1 0 0 1 2", .25f, {0, 0, .24740396f, .96891242f}},
        {squad, "0 1", "0 0 0 5 0 0 1 2", .5f, {0, 0, .47942554f, .87758256f}},
        {squad, "0 1", "0 0 1 0 0 0 1 6.2831855", .5f, {0, 0, 0, 1}}, // opposite quaternions, the same rotation
        {squad, "0 1", "", .5f, {}},
    };
    test::LogCapture log(osg::LOG_LOG);
    for (Case const& c : cases) {
        auto const which = testing::Message() << c.type << ' ' << c.key << " / " << c.values << ": " << c.fraction;
        Scene scene;
        scene._context.setBValue(InterpolatorProc::_binSearchKeyIndexID, c.binarySearch);
        auto& node = static_cast<Interpolator&>(scene.add(c.type));
        node._key.setValueByStr(c.key, Field::multiple);
        ASSERT_TRUE(values(node).setValueByStr(c.values, Field::multiple)) << which;
        std::vector<float> const found = output(node, c.fraction);
        EXPECT_EQ(node._changedMask.bits() != 0, !c.expected.empty()) << which;
        for (std::size_t i = 0; i < c.expected.size(); ++i)
            EXPECT_TRUE(found[i] == c.expected[i] || std::abs(found[i] - c.expected[i]) <= 1e-7f) << which;
        node.getInterpolatorProc()->nodeChanged(2, node._changedMask);
        EXPECT_EQ(node._changedMask.bits(), 0u) << "the framework's handling, whoever overrides it";
    }
}

// The spline with all tangents and both lists of factors, for a single component.
float plainSpline(std::vector<float> const& t, std::vector<float> const& v, unsigned j, float s)
{
    std::size_t const n = v.size();
    std::vector<float> tangent(n - 1), leaving(n), arriving(n);
    for (unsigned i = 1; i + 1 < n; ++i) {
        tangent[i] = (v[i + 1] - v[i - 1]) * 0.5f;
        leaving[i] = (t[i] - t[i - 1]) / (t[i + 1] - t[i - 1]) * 2;
        arriving[i] = (t[i + 1] - t[i]) / (t[i + 1] - t[i - 1]) * 2;
    }
    float const m0 = j == 0 ? 0 : leaving[j] * tangent[j], m1 = j == n - 2 ? 0 : arriving[j + 1] * tangent[j + 1];
    float const p0 = v[j], p1 = v[j + 1], s2 = s * s, s3 = s2 * s;
    float const c3 = (((p0 + p0) - (p1 + p1)) + m0) + m1;
    float const c2 = (((-3 * p0) + 3 * p1) - (m0 + m0)) - m1;
    return ((c3 * s3 + c2 * s2) + m0 * s) + p0;
}

osg::Quaternion plainSquadSlerp(osg::Quaternion const& a, osg::Quaternion const& b, float t)
{
    return test::plainSlerp(a, b, t, [](double distance) { return distance < 0.01; });
}

osg::Quaternion plainInnerPoint(osg::Quaternion const& q, osg::Quaternion const& prev, osg::Quaternion const& next)
{
    auto const length = [](auto const& v) { return std::sqrt(double{v[0] * v[0] + v[1] * v[1] + v[2] * v[2]}); };
    auto const logarithm = [&](osg::Quaternion const& to) {
        osg::Quaternion step = q.inverse();
        step.mult(to);
        step.normalize();
        double const r = length(step), k = r < 1e-6 ? 1 : std::acos(double{step[3]}) / r;
        auto const times = [k](float x) { return static_cast<float>(x * k); };
        return osg::Vec3f(times(step[0]), times(step[1]), times(step[2]));
    };
    osg::Vec3f const s = (logarithm(next) + logarithm(prev)) * -0.25f;
    double const r = length(s);
    osg::Quaternion turn, result = q;
    for (unsigned c = 0; c < 3; ++c)
        turn[c] = r < 1e-6 ? s[c] : static_cast<float>(s[c] * std::sin(r) / r);
    turn[3] = static_cast<float>(std::cos(r));
    result.mult(turn);
    return result;
}

// To the bit; of what is no number the sign is nobody's business.
void expectSame(osg::Quaternion const& got, osg::Quaternion const& expected)
{
    for (unsigned c = 0; c < 4; ++c)
        EXPECT_TRUE(bits(got[c]) == bits(expected[c]) || (std::isnan(got[c]) && std::isnan(expected[c]))) << got[c];
}

osg::Quaternion plainSquad(std::vector<Rotation> const& v, std::size_t n, unsigned j, float t)
{
    osg::Quaternion const q1 = v[j].quaternion(), q2 = v[j + 1].quaternion();
    osg::Quaternion const s1 = j > 0 ? plainInnerPoint(q1, v[j - 1].quaternion(), q2) : q1;
    osg::Quaternion const s2 = j + 2 < n ? plainInnerPoint(q2, q1, v[j + 2].quaternion()) : q2;
    osg::Quaternion const outer = plainSquadSlerp(q1, q2, t);
    osg::Quaternion const result = plainSquadSlerp(outer, plainSquadSlerp(s1, s2, t), (t + t) * (1 - t));
    // The steps are offered to others, too.
    expectSame(squadQuaternions(q1, q2, s1, s2, t), result);
    expectSame(my_slerp(q1, q2, t), outer);
    if (j > 0)
        expectSame(compute_innerQuadranglePoints(q1, v[j - 1].quaternion(), q2), s1);
    return result;
}

} // namespace

namespace test {

struct PlainSpline {
    template <class Value>
    static bool calculate(std::vector<float> const& keys, std::vector<Value> const& values, Found const& found, Value& out)
    {
        if (found.type == InterpolatorProc::FractionKey)
            out = values[found.index];
        if (found.type != InterpolatorProc::FractionInterval)
            return found.type != InterpolatorProc::FractionNone;
        std::vector<float> component(std::min(keys.size(), values.size()));
        for (std::size_t at = 0; at < sizeof out; at += sizeof(float)) {
            for (std::size_t i = 0; i < component.size(); ++i)
                std::memcpy(&component[i], reinterpret_cast<char const*>(&values[i]) + at, sizeof(float));
            float const number = plainSpline(keys, component, found.index, found.alpha);
            std::memcpy(reinterpret_cast<char*>(&out) + at, &number, sizeof number);
        }
        return true;
    }
};
template <>
struct Plain<SplineScalarInterpolator> : PlainSpline {};
template <>
struct Plain<SplinePositionInterpolator2D> : PlainSpline {};
template <>
struct Plain<SplinePositionInterpolator3D> : PlainSpline {};

template <>
struct Plain<SquadOrientationInterpolator> {
    static bool calculate(std::vector<float> const& keys, std::vector<Rotation> const& values, Found const& found,
                          Rotation& out)
    {
        if (found.type == InterpolatorProc::FractionKey)
            out = values[found.index];
        else if (found.type == InterpolatorProc::FractionInterval)
            out.setQuaternion(plainSquad(values, std::min(keys.size(), values.size()), found.index, found.alpha));
        return found.type != InterpolatorProc::FractionNone;
    }
};

template <>
struct Plain<EaseInEaseOut> {
    static bool calculate(std::vector<float> const& keys, std::vector<osg::Vec2f> const& shares, Found const& found, float& out)
    {
        unsigned const j = found.index;
        if (found.type == InterpolatorProc::FractionKey)
            out = keys[j];
        if (found.type != InterpolatorProc::FractionInterval)
            return found.type != InterpolatorProc::FractionNone;
        float const u = (keys[j + 1] - keys[j]) * found.alpha + keys[j];
        float leaving = shares[j][1], arriving = shares[j + 1][0];
        float const sum = leaving + arriving;
        if (sum > 1) {
            leaving /= sum;
            arriving /= sum;
        }
        float const t = 1 / ((2 - leaving) - arriving);
        out = sum < 0            ? u
            : leaving > u        ? (t / leaving) * (u * u)
            : (1 - arriving) > u ? ((u + u) - leaving) * t
                                 : 1 - ((1 - u) * (1 - u) * t) / arriving;
        return true;
    }
};

TEST(Museum, OfTheNonlinearNodes)
{
    visitMuseum<SplineScalarInterpolator>();
    visitMuseum<SplinePositionInterpolator2D>();
    visitMuseum<SplinePositionInterpolator3D>();
    visitMuseum<SquadOrientationInterpolator>();
    std::vector<Rotation> nearly; // of keys that hardly differ the inner point has no sine
    for (int k = 0; k < 4; ++k)
        nearly.emplace_back(osg::Vec3f(1, 2, 3), 4e-7f * static_cast<float>(k * k));
    plainSquad(nearly, 4, 1, .5f);
    osg::Quaternion none, half; // exactly half a turn: the way as it is written
    half.setValueAsQuat(0.f, 0.f, 1.f, 0.f);
    expectSame(my_slerp(none, half, .25f), plainSquadSlerp(none, half, .25f));
    visitMuseum<EaseInEaseOut>();
}

} // namespace test
} // namespace Zelvan
