#include "player/playing/Clock.h"
#include "player/playing/Moment.h"
#include "player/playing/Recording.h"
#include "player/scene/Values.h"
#include "tests/player/Files.h"

#include <gmock/gmock.h>

namespace Zelvan::play::test {
namespace {

// Plays one sensor T, whose outputs lead into a node without a class, and writes down what arrives.
std::string played(std::string const& attributes, std::vector<Injection> const& injections, std::vector<double> const& times,
                   char const* field, std::optional<double> now = {})
{
    ReadScene read("<TimeSensor DEF='T' " + attributes + "/><Sink DEF='Sink'/><ROUTE fromNode='T' fromField='" + field
                   + "' toNode='Sink' toField='in'/>");
    Clock clock(*read.scene, now);
    Recorder recorder(*read.scene, {});
    std::string text;
    recorder.onEvent = [&](Track const&, double time, Field const& value) {
        text += shortNumber(time) + '=' + value.getValueAsStr() + ' ';
    };
    for (Injection const& injection : injections)
        clock.inject(injection);
    for (double const time : times)
        clock.advance(time);
    return text;
}

std::vector<Injection> injected(std::string const& text)
{
    std::vector<Injection> injections;
    std::istringstream in(text);
    for (Injection one{"T", "", "", 0}; in >> one.field >> one.value >> one.time; in.ignore(1))
        injections.push_back(one);
    return injections;
}

TEST(Clock, NodesWithoutAClassPassEveryEventOn)
{
    ReadScene read("<TimeSensor DEF='T' loop='true'/><Sink DEF='A'/><Sink DEF='B'/>"
                   "<ROUTE fromNode='T' fromField='fraction_changed' toNode='A' toField='in'/>"
                   "<ROUTE fromNode='A' fromField='in' toNode='B' toField='in'/>"
                   "<ROUTE fromNode='B' fromField='in' toNode='A' toField='in'/>");
    Clock clock(*read.scene);
    Recorder recorder(*read.scene, {});
    for (double const time : {0.0, 0.25, 0.5})
        clock.advance(time);
    recorder.finish();
    ASSERT_EQ(recorder.tracks().size(), 2u);
    for (Track const& track : recorder.tracks())
        EXPECT_EQ(track.events, 3u) << track.name() << ": the loop ends where it began";
}

TEST(Clock, RunsSensorsAsTheyAreMeant)
{
    std::vector<double> const quarters = {0, 0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4};
    struct Case {
        char const* name;
        char const* attributes;
        char const* injections; ///< "field value time, ..." of the sensor
        char const* field;
        char const* expected;
    };
    Case const cases[] = {
        {"loops from the opening on, the seam is 1", "cycleInterval='2' loop='true'", "", "fraction_changed",
         "0=0 0.5=0.25 1=0.5 1.5=0.75 2=1 2.5=0.25 3=0.5 3.5=0.75 4=1 "},
        {"a stopTime before the startTime does not matter", "cycleInterval='2' loop='true' startTime='9' stopTime='8'", "",
         "isActive", "0=true "},
        {"a stopTime after the startTime waits", "loop='true' stopTime='1'", "", "isActive", ""},
        {"waits, started by an event", "cycleInterval='2' loop='true' stopTime='1'", "startTime 1 1", "fraction_changed",
         "1=0 1.5=0.25 2=0.5 2.5=0.75 3=1 3.5=0.25 4=0.5 "},
        {"one cycle, then it ends at 1", "cycleInterval='0.8'", "set_startTime 1 1", "fraction_changed", "1=0 1.5=0.625 2=1 "},
        {"one cycle: active once", "cycleInterval='0.8'", "startTime 1 1", "isActive", "1=true 2=false "},
        {"a start between frames keeps its phase", "cycleInterval='2'", "startTime 0.7 0.7", "elapsedTime",
         "1=0.30000000000000004 1.5=0.8 2=1.3 2.5=1.8 3=2 "},
        {"stopped by an event", "cycleInterval='2' loop='true'", "stopTime 1.25 1", "fraction_changed",
         "0=0 0.5=0.25 1=0.5 1.5=0.625 "},
        {"startTime is ignored while active", "cycleInterval='2' loop='true'", "startTime 1 1, enabled true 1", "cycleTime",
         "0=0 2=2 4=4 "},
        {"disabled, then enabled", "cycleInterval='2' loop='true' enabled='false'", "enabled true 1", "isActive", "1=true "},
        {"disabled while active", "cycleInterval='2' loop='true'", "enabled false 1", "isActive", "0=true 1=false "},
        {"loop ends with the cycle", "cycleInterval='1' loop='true'", "loop false 1.5", "fraction_changed",
         "0=0 0.5=0.5 1=1 1.5=0.5 2=1 "},
        {"paused and resumed", "cycleInterval='4' loop='true'", "pauseTime 0.75 0.5, stopTime 0 0.5, resumeTime 1.25 1.25",
         "time", "0=0 0.5=0.5 1=0.75 1.5=1.5 2=2 2.5=2.5 3=3 3.5=3.5 4=4 "},
        {"a cycle after a pause begins later", "cycleInterval='1' loop='true'", "pauseTime 1 1, resumeTime 2 2", "cycleTime",
         "0=0 1=1 3=3 4=4 "},
        {"paused at its start", "cycleInterval='4' loop='true' stopTime='1'",
         "startTime 1 1, pauseTime 1 1, resumeTime 1 2, resumeTime 2.5 2.5", "isPaused", "1=true 2.5=false "},
        {"a pause is as long as it was", "cycleInterval='4' loop='true'", "pauseTime 1 1, pauseTime 0 1.5, resumeTime 2 2",
         "elapsedTime", "0=0 0.5=0.5 1=1 2=1 2.5=1.5 3=2 3.5=2.5 4=3 "},
        {"stopped while paused", "cycleInterval='2' loop='true'", "pauseTime 1 1, stopTime 2 2", "isActive", "0=true 2=false "},
        {"a cycle that has ended is not paused", "", "startTime 0.5 0.5, pauseTime 1.75 1.5", "isPaused", ""},
        {"starts by its loop", "", "loop false 1, loop true 2", "cycleTime", "2=2 3=3 4=4 "},
        {"cycleInterval 0 never starts", "cycleInterval='0' loop='true'", "", "isActive", ""},
    };
    for (Case const& c : cases)
        EXPECT_EQ(played(c.attributes, injected(c.injections), quarters, c.field), c.expected) << c.name;
}

TEST(Clock, IsInTheMiddleOfACycleWhenItKnowsWhatTimeItIs)
{
    std::vector<double> const times = {0, 0.5, 1, 1.5, 2};
    struct Case {
        char const* attributes;
        char const* expected; ///< fractions, opened at 1000
    };
    Case const cases[] = {
        {"cycleInterval='4' loop='true' startTime='999'", "0=0.25 0.5=0.375 1=0.5 1.5=0.625 2=0.75 "},
        {"cycleInterval='4' loop='true'", "0=1 0.5=0.125 1=0.25 1.5=0.375 2=0.5 "},
        {"cycleInterval='4' startTime='998'", "0=0.5 0.5=0.625 1=0.75 1.5=0.875 2=1 "},
        {"cycleInterval='4' startTime='990'", ""},
        {"cycleInterval='2' startTime='1001'", "1=0 1.5=0.25 2=0.5 "},
        {"cycleInterval='4' loop='true' startTime='999' stopTime='1001'", "0=0.25 0.5=0.375 1=0.5 "},
        {"cycleInterval='4' loop='true' startTime='900' stopTime='950'", ""},
        {"cycleInterval='4' loop='true' startTime='999' enabled='false'", ""},
    };
    for (Case const& c : cases)
        EXPECT_EQ(played(c.attributes, {}, times, "fraction_changed", 1000), c.expected) << c.attributes;
    ReadScene read("<TimeSensor DEF='T' cycleInterval='4' loop='true'/><TimeSensor DEF='Later' startTime='2000000000.3'/>"
                   "<TimeSensor DEF='Once'/><TimeSensor DEF='Over' startTime='5' stopTime='1000000003'/>"
                   "<TimeSensor DEF='Never' cycleInterval='0'/>");
    Clock clock(*read.scene, 1000000003);
    auto const plan = clock.planned(8);
    EXPECT_EQ(Clock::timesOf(plan[0], {0, 0.5f}, 4), (std::vector<double>{1, 3, 5, 7}));
    EXPECT_EQ(Clock::timesOf(plan[0], {0, 0.5f}, 3), std::nullopt);
    EXPECT_TRUE(plan[1].runs.empty());
    char const* const waits[] = {"starts at 999999997 s", "waits for a startTime event (--start Once)",
                                 "waits for a startTime event (--start Over): its stopTime 0 is after its startTime -999999998",
                                 "cannot run: cycleInterval is not above 0"};
    for (std::size_t i = 0; i < std::size(waits); ++i)
        EXPECT_EQ(clock.waitsFor(clock.sensors()[i + 1]), waits[i]);
}

TEST(Clock, PlaysWhatItHasPlanned)
{
    constexpr double until = 7, step = 0.25; // all times below are multiples of it
    for (char const* const attributes :
         {"loop='true' cycleInterval='2'", "cycleInterval='2'", "startTime='998' cycleInterval='4'",
          "startTime='998.5' cycleInterval='1' loop='true'", "startTime='1003' cycleInterval='2'", "startTime='1007'",
          "startTime='1006' cycleInterval='3'", "startTime='1004' cycleInterval='2'"})
        for (double const start : {0., 1.5, 6.}) {
            ReadScene read("<TimeSensor DEF='T' " + std::string(attributes) + "/><TimeSensor DEF='Other'/>");
            Clock clock(*read.scene, 1000);
            Clock::Sensor const& sensor = clock.sensors()[0];
            clock.startSensor("T", start);
            clock.startSensor("Other", 0.5);
            auto const plan = clock.planned(until);
            std::vector<double> expected;
            for (double time = 0; time <= until; time += step) {
                clock.advance(time);
                bool const passed = std::ranges::any_of(plan[0].runs, [&](Clock::Run const& run) {
                    return time >= run.start && time <= run.end && std::fmod(time - run.start, run.cycle / 2) == 0;
                });
                if (passed)
                    expected.push_back(time);
            }
            std::string const which = attributes + (", started at " + shortNumber(start));
            EXPECT_EQ(Clock::timesOf(plan[0], {1, 0, 0.5f}, 100), expected) << which;
            ASSERT_EQ(sensor.runs.size(), plan[0].runs.size()) << which;
            for (std::size_t i = 0; i < sensor.runs.size(); ++i) {
                Clock::Run const &run = sensor.runs[i], &planned = plan[0].runs[i];
                EXPECT_THAT((std::array{run.start, run.end, run.cycle}),
                            testing::ElementsAre(planned.start, planned.end, planned.cycle))
                    << which << ", run " << i;
            }
        }
    // What else may end a run is not looked ahead at: a start behind it counts.
    for (auto const& [sensor, ending] : std::initializer_list<std::pair<char const*, Injection>>{
             {"loop='true'/>", {"T", "stopTime", "2", 2}},
             {"loop='true'/>", {"T", "enabled", "false", 2}},
             {"loop='true' cycleInterval='2'/>", {"T", "loop", "false", 1}},
             {"loop='true' startTime='999' stopTime='1001'/>", {"T", "startTime", "3", 3}},
             {"loop='true'/><Sink DEF='S'/><ROUTE fromNode='S' fromField='a' toNode='T' toField='stopTime'/>",
              {"S", "a", "2", 2}}}) {
        ReadScene read("<TimeSensor DEF='T' " + std::string(sensor));
        Clock clock(*read.scene, 1000);
        clock.inject(ending);
        clock.startSensor("T", 3);
        auto const plan = clock.planned(until);
        for (double time = 0; time <= until; time += step)
            clock.advance(time);
        for (auto const* const runs : {&plan[0].runs, &clock.sensors()[0].runs})
            EXPECT_EQ(runs->back().start, 3) << sensor << ' ' << ending.field;
    }
}

TEST(Clock, StartsAllThatDoNotRun)
{
    ReadScene read("<TimeSensor DEF='A' loop='true' enabled='false'/><TimeSensor DEF='B'/>"
                   "<TimeSensor DEF='C' loop='true' cycleInterval='1.2'/><TimeSensor/>");
    Clock clock(*read.scene);
    clock.startAll(0.5);
    EXPECT_EQ(clock.cycleEnd(), 1.5);
    for (double const time : {0.0, 0.5, 1.0})
        clock.advance(time);
    std::string starts;
    for (Clock::Sensor const& sensor : clock.sensors())
        starts += sensor.runs.size() == 1 ? shortNumber(sensor.runs[0].start) + ' ' : "none ";
    EXPECT_EQ(starts, "0.5 0.5 0 ");
}

TEST(Moment, IsANumberOrADate)
{
    std::pair<char const*, double> const cases[] = {
        {"0", 0},
        {"-1.5e3", -1500},
        {"1970-01-01", 0},
        {"2026-11-25T14:30:15.9025Z", 1795617015.9025},
        {"2026-11-25 14:30+01:00", 1795613400},
        {"2026-11-25T14:30-0130", 1795622400},
        {"1969-12-31T23:59:59", -1},
    };
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(momentOf(text), expected) << text;
    for (char const* const text :
         {"inf", "nan", "", "now", "2026-02-30", "2026-13-01", "2026-1-25", "2026-11-25T24:00", "2026-11-25T14",
          "2026-11-25T14:30:15Zx", "-02-03", "2026-11-25T14:30-013", "2026-11-25T14:60", "2026-11-25T14:30:61",
          "2026-11-25T14:30+24:00", "2026-11-25T14:30+01:60"})
        EXPECT_EQ(momentOf(text), std::nullopt) << text;
}

TEST(Clock, LooksAtSensorsInTheOrderOfTheFileWhateverWakesThem)
{
    // A starts B, which stands after it, and C, which stands before it; both begin in the frame in which A does.
    ReadScene read("<TimeSensor DEF='C' cycleInterval='9'/>" + times(191, "<TimeSensor/>")
                   + "<TimeSensor DEF='A' loop='true' enabled='false'/><TimeSensor DEF='B' cycleInterval='9'/>"
                     "<TimeSensor DEF='Late'/><Sink DEF='S'/>"
                     "<ROUTE fromNode='A' fromField='cycleTime' toNode='B' toField='startTime'/>"
                     "<ROUTE fromNode='A' fromField='cycleTime' toNode='C' toField='startTime'/>"
                     "<ROUTE fromNode='A' fromField='isActive' toNode='S' toField='a'/>"
                     "<ROUTE fromNode='B' fromField='isActive' toNode='S' toField='b'/>"
                     "<ROUTE fromNode='C' fromField='cycleTime' toNode='S' toField='c'/>"
                     "<ROUTE fromNode='Late' fromField='isActive' toNode='S' toField='late'/>");
    Clock clock(*read.scene);
    Recorder recorder(*read.scene, {});
    std::string text;
    recorder.onEvent = [&](Track const& track, double time, Field const& value) {
        text += shortNumber(time) + track.field + (value.getValueAsStr() == "true" ? "+ " : "- ");
    };
    clock.inject({"A", "enabled", "true", 1});
    clock.inject({"Late", "startTime", "3", 0.5});
    for (double const time : {0.0, 0.5, 1.0, 2.0, 3.0, 4.0, 5.0})
        clock.advance(time);
    EXPECT_EQ(text, "1a+ 1b+ 1c- 3late+ 4late- ");
}

TEST(Clock, BeginsAChainOfSensorsInOneFrame)
{
    // Each starts the one before it in the file; as long as the chains that a frame follows.
    std::string sensors = "<TimeSensor DEF='T0' cycleInterval='9'/>", routes, name = "T0";
    for (int i = 1; i <= 16; ++i) {
        std::string const next = "T" + std::to_string(i);
        sensors += "<TimeSensor DEF='" + next + "' cycleInterval='9'/>";
        routes += "<ROUTE fromNode='" + next + "' fromField='cycleTime' toNode='" + name + "' toField='startTime'/>";
        name = next;
    }
    ReadScene read(sensors + routes);
    Clock clock(*read.scene);
    clock.inject({name, "startTime", "1", 1});
    clock.advance(1);
    EXPECT_EQ(std::ranges::count(clock.sensors(), true, &Clock::Sensor::active), 17);
}

TEST(Clock, RefusesMoreSensorsThanFramesHaveTimeFor)
{
    std::string const looping = "<TimeSensor DEF='L' loop='true'/>";
    ReadScene many(times(50, looping)), idle(times(50, "<TimeSensor DEF='W'/>") + looping);
    Clock clock(*many.scene), idleClock(*idle.scene);
    clock.limitTo(20, 1000);
    EXPECT_THROW(clock.limitTo(21, 1000), Failure);
    EXPECT_NO_THROW(idleClock.limitTo(1000, 1000));
    for (int frame = 0; frame < 950; ++frame)
        idleClock.advance(frame); // those that wait cost a look when the scene opens
    EXPECT_THROW(idleClock.advance(950), Failure);
}

TEST(Clock, ManyInjectionsAtOneMomentAreNoCascade)
{
    // In the part of a Script, whose own fields they are.
    ReadScene read("<Script DEF='A'><field name='x_changed' type='SFFloat' accessType='outputOnly'/></Script><Sink DEF='B'/>"
                   "<ROUTE fromNode='A' fromField='x_changed' toNode='B' toField='x'/>");
    Clock clock(*read.scene);
    Recorder recorder(*read.scene, {});
    for (int i = 0; i < 3000; ++i)
        clock.inject({"A", "x", std::to_string(i), 1});
    clock.advance(1, [&] { recorder.beginFrame(); });
    recorder.finish();
    EXPECT_EQ(recorder.events(), 3000u);
}

TEST(Clock, MakesFramesWithoutAddingUpErrors)
{
    Timing timing;
    timing.to = 1;
    timing.fps = 10;
    auto frames = timing.frames();
    ASSERT_EQ(frames.size(), 11u);
    EXPECT_EQ(frames[3].time, 0.3);
    EXPECT_EQ(frames.back().time, 1);
    timing.from = 0.5;
    EXPECT_FALSE(timing.frames()[4].recorded);
    EXPECT_TRUE(timing.frames()[5].recorded);
    timing.at = {0.35, 0.2, 0.05};
    std::string recorded;
    for (auto const& frame : timing.frames())
        recorded += shortNumber(frame.time) + (frame.recorded ? "! " : " ");
    EXPECT_EQ(recorded, "0 0.05! 0.1 0.2! 0.3 0.35! ");
    EXPECT_EQ((Timing{0, 0.9999999995, 1, {}}.frames().size()), 2u) << "all but at its end";
    EXPECT_FALSE((Timing{0.5000000005, 1, 10, {}}.frames()[5].recorded));
    for (Timing const& bad :
         {Timing{-1, 5, 60, {}}, Timing{6, 5, 60, {}}, Timing{0, 5, 0, {}}, Timing{0, 2e5, 60, {}}, Timing{5, 5, 0, {}},
          Timing{0, 5, 60, {-1}}, Timing{0, std::numeric_limits<double>::quiet_NaN(), 60, {}}})
        EXPECT_THROW(bad.frames(), Failure);
}

} // namespace
} // namespace Zelvan::play::test
