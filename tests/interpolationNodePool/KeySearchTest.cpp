#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/ScalarInterpolatorProc.h"
#include "tests/interpolationNodePool/MuseumRunner.h"

namespace Zelvan {
namespace {

using test::Found;
using test::LogCapture;
using test::Scene;

class KeySearch : public testing::Test {
protected:
    Found find(float fraction, unsigned keyValueCount, bool multiValue = false)
    {
        Found found{InterpolatorProc::FractionNone, 77, 77, 77};
        found.type = proc->calculateIndex(fraction, keyValueCount, multiValue, found.index, found.valuesPerKey, found.alpha);
        return found;
    }
    void useBinary(bool binary) { scene._context.setBValue(InterpolatorProc::_binSearchKeyIndexID, binary); }

    Scene scene;
    ScalarInterpolator& node = scene.add<ScalarInterpolator>();
    InterpolatorProc* const proc = node.getInterpolatorProc();
};

TEST_F(KeySearch, FindsIntervalsAndKeys)
{
    constexpr auto none = InterpolatorProc::FractionNone, interval = InterpolatorProc::FractionInterval,
                   key = InterpolatorProc::FractionKey;
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    enum Search { linear = 1, binary = 2, either = 3 };
    struct Case {
        Search search;
        char const* keys;
        unsigned values;
        bool multiValue;
        float fraction;
        InterpolatorProc::FractionType type;
        unsigned index, valuesPerKey;
        float alpha; // 77: not written
    } const cases[] = {
        {either, "0 .5 1", 3, false, .25f, interval, 0, 1, .5f},
        {linear, "0 .5 1", 3, false, .5f, interval, 1, 1, 0},
        {binary, "0 .5 1", 3, false, .5f, interval, 0, 1, 1},
        {either, "0 .5 1", 3, false, -.1f, key, 0, 1, 77},
        {either, "0 .5 1", 3, false, 1.5f, key, 2, 1, 77},
        {either, "0 .5 1 2", 6, false, 1.5f, interval, 2, 1, .5f},
        {either, "0 1 2 3 4 5", 4, false, 4.5f, key, 3, 1, 77},
        {either, "0 1", 6, true, .5f, interval, 0, 3, .5f},
        {either, "0 1", 7, true, 2, key, 3, 3, 77},
        {either, "0 1 2", 2, true, .5f, interval, 0, 1, .5f},
        {either, "0", 4, true, .5f, key, 0, 4, 77},
        {either, "", 4, true, .5f, none, 77, 0, 77},
        {either, "0 1", 0, false, .5f, none, 77, 1, 77},
        {either, ".5 .5", 2, false, .5f, key, 0, 1, 77},
        {linear, "0 .5 .5 1", 4, false, .5f, interval, 2, 1, 0},
        {binary, "0 .5 .5 1", 4, false, .5f, interval, 0, 1, 1},
        {linear, "0 1", 6, true, nan, none, 3, 3, 0},
        {binary, "0 1 2", 3, false, nan, interval, 0, 1, nan},
        {linear, "0 5 -1 2", 4, false, 1.5f, interval, 0, 1, .3f},
        {linear, "0 nan 2", 3, false, 1, none, 2, 1, 0},
        {linear, "nan 1 inf", 3, false, 2, interval, 1, 1, 0},
    };
    LogCapture quiet(osg::LOG_LOG);
    for (bool const useBinarySearch : {false, true}) {
        useBinary(useBinarySearch);
        for (Case const& c : cases) {
            if ((c.search & (useBinarySearch ? binary : linear)) == 0)
                continue;
            node._key.setValueByStr(c.keys, Field::multiple);
            proc->_lastIndex = 0;
            Found const found = find(c.fraction, c.values, c.multiValue);
            auto const which = testing::Message() << c.keys << " at " << c.fraction << " binary " << useBinarySearch;
            EXPECT_EQ(found.type, c.type) << which;
            EXPECT_EQ(found.index, c.index) << which;
            EXPECT_EQ(found.valuesPerKey, c.valuesPerKey) << which;
            if (std::isnan(c.alpha))
                EXPECT_TRUE(std::isnan(found.alpha)) << which;
            else
                EXPECT_FLOAT_EQ(found.alpha, c.alpha) << which;
        }
    }
}

TEST_F(KeySearch, ReportsTooFewKeys)
{
    LogCapture log(osg::LOG_INFO);
    find(.5f, 3);
    node._key._value = {1};
    find(.5f, 3);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0].level, osg::LOG_FATAL);
    EXPECT_EQ(log[0].file, "interpolationNodePool/InterpolatorProc");
    EXPECT_EQ(log[0].text, "ScalarInterpolator/node: Not enough keys/KeyValues 0/3; cannot calc. alpha\n");
    EXPECT_THAT(log[0].function, testing::HasSubstr("InterpolatorProc::calculateIndex(float, unsigned int, bool, "));
    EXPECT_EQ(log[1].level, osg::LOG_INFO);
    EXPECT_EQ(log[1].text, "ScalarInterpolator/node: One key; cannot calc. alpha\n");

    ScalarInterpolator& unnamed = scene.add<ScalarInterpolator>(nullptr);
    Scene::send(unnamed, "set_fraction", "0.5");
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[2].text,
              "ScalarInterpolator/" + unnamed.getIDStr() + ": Not enough keys/KeyValues 0/0; cannot calc. alpha\n");

    log.clear();
    static_cast<LinearInterpolatorProc*>(proc)->fieldChanged(node, node._set_fraction, 1, nullptr);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].level, osg::LOG_FATAL);
    EXPECT_EQ(log[0].text, "Interpolator::_set_fractionSlot not handled ScalarInterpolator\n");
}

} // namespace
} // namespace Zelvan
