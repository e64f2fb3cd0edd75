#include "interpolationNodePool/DecomposableMatrix.h"
#include "interpolationNodePool/TransformationInterpolator.h"
#include "interpolationNodePool/TransformationInterpolatorProc.h"
#include "tests/interpolationNodePool/MuseumRunner.h"
#include "tests/interpolationNodePool/PlainSlerp.h"

#include <functional>

namespace Zelvan {
namespace {

using osg::Matrix;
using test::bits;
using test::LogCapture;
using test::Scene;

// Scale, then a turn about z in degrees, then a move.
Matrix placed(float turn, osg::Vec3f const& scale, osg::Vec3f const& move = {})
{
    float const c = std::cos(turn * 0.017453293f), s = std::sin(turn * 0.017453293f);
    return {
        c * scale[0], -s * scale[1], 0, move[0], s * scale[0], c * scale[1], 0, move[1], 0, 0, scale[2], move[2], 0, 0, 0, 1};
}

Matrix sheared(float shear, float move)
{
    return {1, shear, 0, move, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

class Transformation : public testing::Test {
protected:
    void change(Field& field) { node.fieldChanged(field, 1, nullptr); }
    Matrix const& at(float fraction)
    {
        node._set_fraction._value = fraction;
        change(node._set_fraction);
        return node._value_changed._value;
    }
    void setKeys(std::vector<float> const& keys, std::vector<Matrix> const& matrices)
    {
        node._key._value = keys;
        keyValue = matrices;
        change(node._keyValue);
    }

    Scene scene;
    TransformationInterpolator& node = scene.add<TransformationInterpolator>();
    TransformationInterpolatorProc& proc = *node.getTransformationInterpolatorProc();
    std::vector<Matrix>& keyValue = node._keyValue._value;
    Matrix const identity{};
};

TEST_F(Transformation, BlendsByLogarithmOrByComponents)
{
    Matrix projective = placed(0, {1, 1, 1}, {2, 0, 0});
    projective[0][3] = projective[1][3] = projective[2][3] = 0.25f;
    struct Case {
        char const* mode;
        Matrix from, to;
        float fraction;
        Matrix expected;
    } const cases[] = {
        {"matrix", identity, placed(90, {1, 1, 1}), .5f, placed(45, {1, 1, 1})},
        {"matrix", identity, placed(0, {4, 4, 4}), .5f, placed(0, {2, 2, 2})},
        {"matrix", identity, placed(0, {1, 1, 1}, {10, 0, 0}), .3f, placed(0, {1, 1, 1}, {3, 0, 0})},
        {"matrix", identity, sheared(2, 0), .5f, sheared(1, 0)},
        {"component", sheared(2, 0), sheared(2, 4), .5f, sheared(2, 2)},
        {"component", identity, placed(90, {2, 2, 2}, {10, 0, 0}), .5f, placed(45, {1.5f, 1.5f, 1.5f}, {5, 0, 0})},
        {"component", placed(9, {1, 2, 3}), placed(9, {1, 2, 3}, {1, 4, 0}), .5f, placed(9, {1, 2, 3}, {.5f, 2, 0})},
        {"component", placed(170, {1, 1, 1}), placed(-170, {1, 1, 1}), .5f, placed(180, {1, 1, 1})},
        {"component", placed(20, {-1, 1, 1}), placed(20, {-2, 2, 2}), .5f, placed(20, {-1.5f, 1.5f, 1.5f})},
        {"component", identity, placed(0, {1, 1, 0}), .5f, placed(0, {1, 1, .5f})},
        {"component", identity, projective, .5f, placed(0, {1, 1, 1}, {1, 0, 0})},
        {"component",
         identity,
         {1, .002f, 0, 0, .002f, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
         .5f,
         {1.000707f, .000707077f, 0, 0, .000707077f, .9992929f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
    };
    for (Case const& c : cases) {
        setKeys({0, 1}, {c.from, c.to});
        Scene::send(node, "mode", c.mode);
        EXPECT_TRUE(at(c.fraction).equals(c.expected, 2e-6f)) << &c - cases << node._value_changed.getValueAsStr();
        for (float const end : {-1.f, 0.f, 1.f, 2.f})
            EXPECT_EQ(bits(at(end)), bits(end > 0 ? c.to : c.from));
    }
}

TEST_F(Transformation, BlendsARigidKeyWithAStretchedOneAsTheyWereMeant)
{
    Scene::send(node, "mode", "component");
    for (int decimals = 3; decimals <= 9; ++decimals) {
        double const scale = std::pow(10, decimals);
        auto const written = [scale](Matrix m) {
            for (unsigned i = 0; i < 16; ++i)
                m[i / 4][i % 4] = static_cast<float>(std::round(m[i / 4][i % 4] * scale) / scale);
            return m;
        };
        for (osg::Vec3f const& axis : {osg::Vec3f(1, 2, 3), osg::Vec3f(-4, 1, 2), osg::Vec3f(3, -3, 1)})
            for (float const angle : {0.3f, 1.f, 2.2f, 3.1f}) {
                auto const stretched = [&](float factor) {
                    Matrix m;
                    m.setTransform({}, {axis, angle}, {factor, 1, 1});
                    return m;
                };
                setKeys({0, 1}, {written(stretched(1)), written(stretched(3))});
                EXPECT_TRUE(at(.5f).equals(stretched(2), static_cast<float>(2 / scale + 2e-6)))
                    << decimals << ' ' << angle << node._value_changed.getValueAsStr();
            }
    }
}

Matrix plainBlend(Matrix const& a, Matrix const& b, float t)
{
    Matrix from, blend, result;
    from.logOf(a);
    blend.logOf(b);
    for (unsigned i = 0; i < 16; ++i)
        blend[i / 4][i % 4] = (blend[i / 4][i % 4] - from[i / 4][i % 4]) * t + from[i / 4][i % 4];
    result.expOf(blend);
    return result;
}

TEST_F(Transformation, SendsAnOldMatrixWithoutKeysOrMode)
{
    test::Sink<SFMatrix4f> sink(scene._nodes);
    Scene::route(node._value_changed, sink._in);
    LogCapture log(osg::LOG_LOG);
    at(.5f);
    EXPECT_EQ(sink._received.size(), 1u);
    EXPECT_EQ(bits(sink._in._value), bits(identity));

    setKeys({0, 1}, {identity, placed(0, {4, 4, 4})});
    osg::osgLogP->setLogLevel(osg::LOG_FATAL);
    struct Step {
        char const* mode;
        unsigned code;
        float scale;
    } const steps[] = {{"matrix", 1, 2}, {"component", 2, 2.5f}, {"linear", 0, 2.5f}, {"Matrix", 0, 2.5f}};
    std::size_t sent = 1;
    for (Step const& step : steps) {
        if (&step != steps) { // the first is the default, which needs no event
            node._mode._value = step.mode;
            change(node._mode);
        }
        EXPECT_FLOAT_EQ(at(.5f)[0][0], step.scale);
        EXPECT_EQ(sink._received.size(), ++sent) << "sent, even if it is an old one";
        EXPECT_EQ(proc._modeCode, step.code);
        ASSERT_EQ(log.size(), step.code == 0 ? 1u : 0u);
        for (; log.size() > 0; log.clear())
            EXPECT_EQ(log[0].file + ": " + log[0].text,
                      "interpolationNodePool/TransformationInterpolatorProc: Invalid mode in TI::calculateValue()\n");
    }
    node._mode._value = "component"; // no event: looked up again as long as there is no valid code
    EXPECT_FLOAT_EQ(at(.25f)[0][0], 1.75f);
    setKeys({0, 1, 2, 3, 4}, {identity, identity, identity, identity, placed(0, {4, 4, 4})});
    for (float const fraction : {0.5f, 1.5f, 2.5f, 3.5f}) // decompositions of earlier keys are kept, and used again
        EXPECT_FLOAT_EQ(at(fraction)[0][0], fraction == 3.5f ? 2.5f : 1);
    setKeys({0, 1}, {identity, placed(0, {4, 4, 4})});
    EXPECT_FLOAT_EQ(at(.25f)[0][0], 1.75f);
    sent += 5;
    node._enabled._value = false;
    EXPECT_FLOAT_EQ(at(.5f)[0][0], 1.75f);
    EXPECT_EQ(sink._received.size(), ++sent);

    osg::osgLogP->setLogLevel(osg::LOG_WARNING);
    EXPECT_FALSE(node._mode.setAndValidateValueByStr("linear", true));
    EXPECT_EQ(node._mode._value, "component");
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0].text, testing::HasSubstr("/node.mode: expected one of: matrix, component"));
}

TEST_F(Transformation, RefreshesLogarithmsWhenKeyValuesChange)
{
    std::vector<Matrix>& cache = proc._logCache;
    auto const holds = [&](std::size_t k) {
        Matrix logarithm;
        logarithm.logOf(keyValue[k]);
        return k < cache.size() && bits(cache[k]) == bits(logarithm);
    };
    Matrix const a = placed(20, {1, 1, 1}), b = placed(0, {3, 3, 3}), untouched = placed(7, {7, 7, 7});
    test::Sink<MFMatrix4f> watcher(scene._nodes);
    Scene::route(node._keyValue, watcher._in);
    node._enabled._value = false; // refreshing does not wait for the node to be enabled
    setKeys({0, 1, 2}, {identity, b, a});
    EXPECT_TRUE(holds(0) && holds(1) && holds(2));

    cache[1] = untouched;
    node._set_firstKeyValue._value = node._set_lastKeyValue._value = b;
    change(node._set_firstKeyValue);
    EXPECT_TRUE(bits(keyValue[0]) == bits(b) && holds(0));
    EXPECT_TRUE(bits(keyValue[2]) == bits(a) && holds(2));
    change(node._set_lastKeyValue);
    EXPECT_TRUE(bits(keyValue[2]) == bits(b) && holds(2));
    at(.5f);
    LogCapture log(osg::LOG_FATAL);
    proc.buildLogMat(2);
    proc.buildLogMat(3); // and no more
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].text, "Matrix index out of range, 3\n");
    EXPECT_EQ(bits(cache[1]), bits(untouched)) << "none of these computes more than its one logarithm";
    EXPECT_EQ(watcher._received.size() + node._changedMask.bits(), 0u) << "keyValue does not count as changed";

    // A cache of another size is never patched: no placeholder may pass for a logarithm.
    for (std::size_t const size : {0u, 1u, 5u})
        for (std::function<void()> const& refresh : std::initializer_list<std::function<void()>>{
                 [this] { change(node._set_firstKeyValue); }, [this] { change(node._set_lastKeyValue); }, [this] { at(.5f); },
                 [this] { proc.interpolateMatrix(node._value_changed._value, 0, 1, 0); }}) {
            cache.assign(size, untouched);
            refresh();
            EXPECT_TRUE(cache.size() == 3 && holds(0) && holds(1) && holds(2)) << size;
        }

    setKeys({0}, {a});
    change(node._set_firstKeyValue);
    EXPECT_EQ(bits(keyValue[0]), bits(b)) << "one matrix is both first and last";
    setKeys({0}, {});
    change(node._set_firstKeyValue);
    change(node._set_lastKeyValue);
    EXPECT_TRUE(keyValue.empty() && cache.empty());
}

TEST_F(Transformation, ReadsMatricesColumnByColumn)
{
    Scene::send(node, "keyValue", "0 1 0 0, -1 0 0 0, 0 0 1 0, 5 6 7 1");
    osg::Vec3f moved;
    keyValue[0].multMatrixPnt({1, 2, 3}, moved);
    EXPECT_EQ(bits(moved), bits(osg::Vec3f(3, 7, 10))) << "a quarter turn about z, then the move";
}

} // namespace

template <>
struct test::Plain<TransformationInterpolator> {
    static bool calculate(std::vector<float> const&, std::vector<Matrix> const& values, Found const& found, Matrix& out)
    {
        if (found.type == InterpolatorProc::FractionKey)
            out = values[found.index];
        else if (found.type == InterpolatorProc::FractionInterval)
            out = plainBlend(values[found.index], values[found.index + 1], found.alpha);
        return true;
    }
};

TEST(Museum, OfTheTransformationInterpolator)
{
    test::visitMuseum<TransformationInterpolator>();
}

} // namespace Zelvan
