#include "coreNodePool/TimeSensor.h"
#include "coreNodePool/TimeSensorProc.h"
#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/ScalarInterpolatorProc.h"
#include "tests/LogCapture.h"
#include "tests/Scene.h"

#include <functional>
#include <pthread.h>
#include <utility>

namespace Zelvan {
namespace {

using test::Scene;
using test::Sink;

/// Does something when the event reaches it.
struct Trigger : Sink<SFFloat> {
    using Sink::Sink;
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override
    {
        Sink::fieldChanged(field, timeStamp, from);
        if (auto const now = std::exchange(act, nullptr))
            now();
    }
    std::function<void()> act;
};

/// driver -> animated -> trigger, then after.
struct Stage {
    explicit Stage(bool named)
        : animated(static_cast<ScalarInterpolator*>(ScalarInterpolator::_type.createNodeWithProc(scene._nodes, "a")))
    {
        if (named)
            scene._nodes.add(*animated);
        animated->enter(0);
        driver._state = Node::live;
        Scene::route(driver._in, animated->_set_fraction);
        Scene::route(driver._in, beside._in);
        Scene::route(animated->_value_changed, trigger._in);
        Scene::route(animated->_value_changed, after._in);
        animated->_key._value = animated->_keyValue._value = {0, 1};
    }
    void play(bool fromHost, float fraction)
    {
        driver._in._value = fraction;
        if (fromHost && animated != nullptr) {
            animated->_set_fraction._value = fraction;
            animated->fieldChanged(animated->_set_fraction, 1, nullptr); // nobody holds the node
        } else {
            driver._in.processValueChange(1, Field::byHost);
        }
    }
    Scene scene;
    Sink<SFFloat> driver{scene._nodes, inputOutput}, beside{scene._nodes}, after{scene._nodes};
    Trigger trigger{scene._nodes};
    ScalarInterpolator* animated;
};

TEST(Life, WhatItsOwnOutputReachesMayEndANode)
{
    struct {
        char const* what;
        bool named; ///< the namespace holds the node; else the stage alone
        void (*act)(Stage&);
        bool goes, leaves; ///< the node ends; its routes end before the next receiver
    } const cases[] = {
        {"delete of a node of the scene", true, [](Stage& s) { delete s.animated; }, true, true},
        {"delete of a node that nobody holds", false, [](Stage& s) { delete s.animated; }, true, true},
        {"delete, twice", true,
         [](Stage& s) {
             Node* const n = s.animated;
             delete n;
             delete n;
         },
         true, true},
        {"its scene takes it out", true, [](Stage& s) { s.scene._nodes.remove(*s.animated); }, true, true},
        {"its last reference goes", false,
         [](Stage& s) {
             s.animated->ref();
             s.animated->unref();
         },
         true, true},
        {"another processor", true,
         [](Stage& s) { s.animated->setProc(new ScalarInterpolatorProc(ScalarInterpolator::_type, *s.animated)); }, false,
         false},
        {"no processor", true, [](Stage& s) { s.animated->setProc(nullptr); }, false, false},
        {"its routes", true, [](Stage& s) { Route::removeAll(s.animated->_value_changed); }, false, true},
        {"it leaves the running scene", true, [](Stage& s) { s.animated->leave(1); }, false, false},
    };
    for (bool const fromHost : {false, true})
        for (auto const& c : cases) {
            SCOPED_TRACE(std::string(c.what) + (fromHost ? ", by the host" : ", by a route"));
            test::LogCapture log(osg::LOG_WARNING);
            unsigned const objects = BaseObject::_objCount;
            {
                Stage s(c.named);
                unsigned const there = BaseObject::_objCount;
                s.trigger.act = [&] { c.act(s); };
                s.play(fromHost, 0.5f);
                EXPECT_EQ(s.trigger._received.size(), 1u);
                EXPECT_EQ(s.after._received.size(), c.leaves ? 0u : 1u);
                if (c.goes) {
                    EXPECT_EQ(s.scene._nodes.find("a"), nullptr);
                    s.animated = nullptr;
                }
                s.play(false, 0.25f); // the end of the next delivery at the latest
                EXPECT_EQ(BaseObject::_objCount < there, c.goes || std::string(c.what) == "no processor");
#ifndef NDEBUG
                EXPECT_EQ(log.size(), c.goes ? 1u : 0u);
#endif
                if (!c.named && !c.goes)
                    delete s.animated;
            }
            EXPECT_EQ(BaseObject::_objCount, objects);
        }
}

TEST(Life, ASensorThatIsDeletedByWhatItStartsEndsQuietly)
{
    test::LogCapture quiet(osg::LOG_LOG);
    unsigned const objects = BaseObject::_objCount;
    for (char const* const output : {"fraction_changed", "time", "cycleTime"}) {
        Scene scene;
        auto& sensor = scene.add<TimeSensor>();
        Trigger fraction(scene._nodes);
        Sink<SFTime> time(scene._nodes);
        struct Ender : Sink<SFTime> {
            using Sink::Sink;
            void fieldChanged(Field&, TimeStamp const&, Field*) override { delete std::exchange(_sensor, nullptr); }
            TimeSensor* _sensor = nullptr;
        } ender(scene._nodes);
        ender._sensor = &sensor;
        fraction.act = [&] { delete std::exchange(ender._sensor, nullptr); };
        Field& field = Scene::field(sensor, output);
        Scene::route(field, output[0] == 'f' ? static_cast<Field&>(fraction._in) : ender._in);
        sensor._loop._value = true;
        auto& proc = sensor.sensorProc();
        proc.open(0);
        proc.startIfDue(0);
        proc.tick(0);
        EXPECT_EQ(scene._nodes.nodes().size(), 0u) << output;
    }
    EXPECT_EQ(BaseObject::_objCount, objects);
}

// Two scenes in two threads, each deeper than the small stack of its thread would carry.
TEST(Life, ScenesOfTwoThreadsDoNotMeet)
{
    auto const play = [](void*) -> void* {
        for (int round = 0; round < 3; ++round) {
            Scene scene;
            std::vector<ScalarInterpolator*> chain;
            for (int i = 0; i < 3000; ++i) {
                chain.push_back(&scene.add<ScalarInterpolator>());
                chain.back()->_key._value = chain.back()->_keyValue._value = {0, 1};
                if (i > 0)
                    Scene::route(chain[chain.size() - 2]->_value_changed, chain.back()->_set_fraction);
            }
            Sink<SFFloat> last(scene._nodes);
            Scene::route(chain.back()->_value_changed, last._in);
            for (int i = 1; i <= 20; ++i) {
                chain[0]->_set_fraction._value = static_cast<float>(i) / 32;
                chain[0]->fieldChanged(chain[0]->_set_fraction, i, nullptr);
                if (last._received.size() != static_cast<std::size_t>(i) || last._in._value != static_cast<float>(i) / 32)
                    return const_cast<char*>("an event is missing");
            }
            FieldTextError const before = Field::textError();
            if (last._in.setValueByStr("x", Field::single) || Field::textError().found != "x" || before.found == "y")
                return const_cast<char*>("a text's error is another thread's");
        }
        return nullptr;
    };
    unsigned const objects = BaseObject::_objCount;
    pthread_t threads[2];
    pthread_attr_t small;
    pthread_attr_init(&small);
    ASSERT_EQ(pthread_attr_setstacksize(&small, 256 * 1024), 0);
    for (pthread_t& thread : threads)
        ASSERT_EQ(pthread_create(&thread, &small, play, nullptr), 0);
    for (pthread_t const thread : threads) {
        void* failure = nullptr;
        pthread_join(thread, &failure);
        EXPECT_EQ(failure, nullptr) << static_cast<char*>(failure);
    }
    EXPECT_EQ(BaseObject::_objCount, objects);
}

} // namespace
} // namespace Zelvan
