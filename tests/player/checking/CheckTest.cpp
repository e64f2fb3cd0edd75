#include "player/checking/Check.h"
#include "player/commands/Application.h"
#include "tests/player/Files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <regex>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;

struct Checked {
    int status;
    std::string out, err;

    nlohmann::json json() const { return nlohmann::json::parse(out); }
    /// "severity code" of all findings.
    std::vector<std::string> codes() const
    {
        std::vector<std::string> codes;
        auto const document = json();
        for (auto const& finding : document["findings"])
            codes.push_back(finding["severity"].get<std::string>() + ' ' + finding["code"].get<std::string>());
        return codes;
    }
};

/// Checks a file's text: "a.b>c.d" in it stands for a ROUTE.
Checked checkFile(std::string const& text, std::vector<char const*> const& options = {"--format", "json", "--hints"})
{
    Folder const folder;
    std::regex const route(R"((\w+)\.(\w+)>(\w+)\.(\w+))");
    std::string const file =
        folder.add("s.x3d", std::regex_replace(text, route, "<ROUTE fromNode='$1' fromField='$2' toNode='$3' toField='$4'/>"));
    std::vector<char const*> arguments = {"zelvan-play", "check"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(file.c_str());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int const status = runApplication(static_cast<int>(arguments.size()), arguments.data());
    auto const shown = [&](std::string captured) { return std::regex_replace(captured, std::regex(folder.path("")), ""); };
    std::string const out = shown(testing::internal::GetCapturedStdout());
    return {status, out, shown(testing::internal::GetCapturedStderr())};
}

Checked check(std::string const& scene, std::vector<char const*> const& options = {"--format", "json", "--hints"})
{
    return checkFile(x3d(scene), options);
}

// An interpolator: "Scalar", DEF name, key, keyValue.
std::string node(std::string const& type, std::string const& name, std::string const& key, std::string const& values)
{
    return '<' + type + "Interpolator DEF='" + name + "' key='" + key + "' keyValue='" + values + "'/>";
}

// A clock that loops, and a place for what is sent.
std::string const loop = "<TimeSensor DEF='C' loop='true'/><Transform DEF='T'/>C.fraction_changed>S.set_fraction "
                         "S.value_changed>T.x ";
std::string const brain = "<Script DEF='B'><field type='SFFloat' name='f'/></Script>B.f>S.set_fraction ";
std::string const identity = "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 ";
std::string const plain = node("Scalar", "S", "0 1", "0 1");
std::string const byComponents = "<TransformationInterpolator DEF='S' mode='component' ";

TEST(Check, EveryCodeHasAnExampleThatTriggersItAndABetterOne)
{
    for (CheckCode const& code : checkCodes()) {
        SCOPED_TRACE(code.code);
        if (code.bad.empty())
            continue; // of the machine's making
        auto const codesOf = [&](std::string const& scene) {
            return (code.code == std::string("bad-xml") ? checkFile(scene) : check(scene)).codes();
        };
        std::string const found = severityName(code.severity) + std::string(" ") + code.code;
        EXPECT_THAT(codesOf(code.bad), testing::Contains(found));
        EXPECT_THAT(codesOf(code.good), testing::Each(testing::Not(testing::EndsWith(std::string(" ") + code.code))));
    }
}

// What looks much like a fault and is none.
TEST(Check, LeavesAlone)
{
    std::string const tinyTurn = "0 1 0 0.2 0 1 0 6.1 0 1 0 0.2", fullTurn = "0 1 0 0 0 1 0 2 0 1 0 4 0 1 0 6.283 0 1 0 0";
    std::pair<char const*, std::string> const cases[] = {
        {"bad-value", node("Position", "S", "0 1", "0 0 0,1 2 3,")},
        {"unknown-attribute", "<PositionInterpolator key='0 1' containerField='children'/>"},
        {"bad-route", "C.fraction>S.fraction <TimeSensor DEF='C'/>" + plain},
        {"duplicate-def", "<Transform DEF='Box'/><Transform DEF='box'/>"},
        {"no-keys", "<Script DEF='B'><field type='MFFloat' name='f'/></Script><ScalarInterpolator DEF='S'/>B.f>S.key "},
        {"no-values", node("Scalar", "S", "0 1", "0 x")}, // refused, which was said
        {"too-few-values", "<EaseInEaseOut key='0 0.5 1' easeInEaseOut='0 0 0 0 0 0'/>"},
        {"too-many-values", node("Vector", "S", "0 1", "0 1 2 3")},
        {"uneven-blocks", node("Coordinate", "S", "0 1", "0 0 0 1 0 0 2 0 0 3 0 0")},
        {"one-key", node("Scalar", "S", "0", "1")},
        {"one-key",
         loop + node("Scalar", "S", "0", "1") + "<Script DEF='B'><field type='MFFloat' name='f'/></Script>B.f>S.key "},
        {"key-order", node("Scalar", "S", "0 0.5 0.5 1 0.2", "0 1 2 3")}, // the last one does not count
        {"key-equal", node("Scalar", "S", "0 0.5 0.5000001 1", "0 0 1 1")},
        {"key-range", brain + node("Scalar", "S", "0 50 100", "0 1 0")},
        {"key-range", node("Scalar", "S", "0 50 100", "0 1 0")},
        {"key-range", loop + node("Scalar", "S", "0 0.5 1.00001", "0 1 0")},
        {"key-span", brain + node("Scalar", "S", "0.2 0.8", "0 1")},
        {"key-span", loop + node("Scalar", "S", "0 0.99999", "0 1")},
        {"not-finite", node("Scalar", "S", "0 1", "0 3.4e38 nan")},
        {"zero-axis", node("Orientation", "S", "0 1", "0 1 0 0 0 0 0.001 1.57")},
        {"long-turn", node("Orientation", "S", "0 1", "0 1 0 -1.57 0 2 0 1.57")},
        {"long-turn", node("Orientation", "S", "0 0.5 1", tinyTurn)},
        {"long-turn", node("Orientation", "S", "0 0.3 0.6 0.95 1", fullTurn)},
        {"long-turn", node("Orientation", "S", "0 0.5 0.501 1", "0 1 0 0 0 1 0 0 0 1 0 5 0 1 0 5")}, // a jump
        {"half-turn", node("Orientation", "S", "0 1", "0 1 0 0 0 1 0 3.14")},
        {"color-range", node("Color", "S", "0 1", "1.003 0 0 0 1 -0")},
        {"hue-long-way", node("Color", "S", "0 1", "0 0 1 1 0 0.001")},
        {"grey-hue", node("Color", "S", "0 1", "0 0 0.001 0 0 1")},
        {"zero-normal", node("Normal", "S", "0 1", "0 0 9 0 0.001 0")},
        {"opposite-normals", node("Normal", "S", "0 1", "0 0 1 0 0 -1 0 1 0 1 0 0")},
        {"matrix-mirrored", byComponents + "key='0 1' keyValue='-" + identity + '-' + identity + "'/>"},
        {"matrix-no-log", node("Transformation", "S", "0 1", identity + "-1 0 0 0 0 -1 0 0 0 0 1 0 0 0 0 1")},
        {"matrix-projective", node("Transformation", "S", "0", "1 0 0 0 0 1 0 0 0 0 1 0 5 6 7 1")},
        {"matrix-long-turn",
         node("Transformation", "S", "0 1", "0 1 0 0 -1 0 0 0 0 0 1 0 0 0 0 1 0.17 -0.98 0 0 0.98 0.17 0 0 0 0 1 0 0 0 0 1")},
        {"matrix-rough", byComponents + "key='0 1' keyValue='" + identity + "1.02 0.3 0 0 0.3 1.11 0 0 0 0 1 0 0 0 0 1'/>"},
        {"ease-range", "<EaseInEaseOut key='0 1' easeInEaseOut='0 1 1 0'/>"},
        {"no-effect", "<SplineScalarInterpolator closed='false' key='0 1' keyValue='0 0'/>"},
        {"loop-jump", loop + node("Orientation", "S", "0 0.3 0.7 1", "0 1 0 0 0 1 0 2 0 1 0 4 0 1 0 6.2832")},
        {"loop-kink", loop + node("Scalar", "S", "0 0.2 0.4 0.6 0.8 1", "0 9 1 9 3 0")},
        {"undriven", brain + plain},
        {"unrouted", loop + plain},
        {"route-loop",
         node("Scalar", "X", "0 1", "0 1") + node("Scalar", "Y", "0 1", "0 1") + plain
             + "X.value>Y.set_fraction X.value>S.set_fraction Y.value>S.set_fraction "},
        {"route-loop", brain + plain + "S.value>B.f "}, // a Script passes nothing on
        {"foreign-driver", loop + plain},
        {"foreign-driver", loop + plain + "<TouchSensor DEF='P'/>P.touchTime>C.startTime "}, // that is what C waits for
        {"cycle-interval", "<TimeSensor cycleInterval='1e-3'/>"},
        {"cycle-interval",
         "<Script DEF='B'><field type='SFTime' name='f'/></Script><TimeSensor DEF='C' cycleInterval='0'/>B.f>C.cycleInterval "},
        {"idle-sensor", loop + plain}};
    for (auto const& [code, scene] : cases)
        EXPECT_THAT(check(scene).codes(), testing::Each(testing::Not(testing::EndsWith(std::string(" ") + code)))) << scene;
}

TEST(Check, FindsWhatIsThereAndNothingElse)
{
    struct Case {
        std::string scene;
        std::vector<std::string> codes; ///< all, in any order
    };
    auto const rotations = [](char const* key, char const* values) { return node("Orientation", "S", key, values); };
    std::string const clock = "<TimeSensor DEF='C' loop='true'/><Transform DEF='T'/>S.value>T.x ";
    std::string const used = "<Transform DEF='T'/>S.value>T.x ";
    Case const cases[] = {
        // A spin whose half turns are just too long, angles that wrap, an axis that a program turned over.
        {loop + rotations("0 0.5 1", "0 1 0 0 0 1 0 3.1416 0 1 0 6.2832"), {"warning long-turn", "warning long-turn"}},
        {loop + rotations("0 0.3 0.6 1", "0 1 0 5.2 0 1 0 6 0 1 0 0.5 0 1 0 1.3"), {"note loop-jump"}},
        {loop + rotations("0 0.3 0.6 1", "0 0 1 0 0 1 0 3 0 -1 0 3.1 0 0 1 0"), {}},
        {loop + rotations("0 0.3 0.6 1", "0 1 0 0 0 1 0 4.7 0 1 0 0.1 0 1 0 0"), {"warning long-turn", "warning long-turn"}},
        {loop + rotations("0 1", "0 0 0 0 0 0 1 0"), {"hint zero-axis"}},
        // Where keys are equal nothing is blended.
        {loop + rotations("0 0.5 0.5 1", "0 1 0 0 0 1 0 3 0 1 0 -3 0 1 0 0"), {"hint key-equal"}},
        {loop + node("Scalar", "S", "0 0 0 1", "0 1 2 0"), {"hint key-equal", "note key-equal"}},
        {loop + node("Color", "S", "0 0.5 0.5 1", "0 0 1 1 0 0.001 1 0 0 0 0 1"), {"hint key-equal", "note hue-long-way"}},
        // Through an ease, a loop stays a loop; what drives fractions may begin again.
        {clock
             + "<EaseInEaseOut DEF='E' key='0 1' easeInEaseOut='0 1 1 0'/>C.fraction>E.fraction E.modifiedFraction>S.fraction "
             + node("Scalar", "S", "0 1", "0 9"),
         {"note loop-jump"}},
        {loop + node("Scalar", "S", "0 0.5 0.5 1.001", "0 1 2 3"), {"note key-range", "hint key-equal", "hint loop-jump"}},
        {clock + node("Scalar", "A", "0 1", "0 9") + "C.fraction>A.fraction A.value>S.fraction "
             + node("Scalar", "S", "0 9", "0 9"),
         {}},
        {loop + node("Scalar", "S", "0 0.1 0.2 0.3 0.4 0.9 1", "0 8 14 18 20 20 0"), {}},
        // In mode component mirrors are only a matter of neighbours.
        {loop + byComponents + "key='0 0.5 1' keyValue='" + identity + '-' + identity + identity + "'/>",
         {"warning matrix-mirrored", "warning matrix-mirrored"}},
        // 179.99 degrees with four decimals are no long turn and not rough; 175 with two are, and of a half turn with
        // two there is no logarithm.
        {loop
             + node("Transformation", "S", "0 1",
                    identity + "-0.8571 0.2859 0.4285 0 0.2856 -0.4286 0.8572 0 0.4287 0.8571 0.2857 0 0 0 0 1"),
         {"note loop-jump"}},
        {loop + node("Transformation", "S", "0 1", identity + "-0.85 0.36 0.38 0 0.22 -0.43 0.88 0 0.47 0.83 0.29 0 0 0 0 1"),
         {"warning matrix-rough", "note loop-jump"}},
        {loop + node("Transformation", "S", "0 1", identity + "-0.86 0.29 0.43 0 0.29 -0.43 0.86 0 0.43 0.86 0.29 0 0 0 0 1"),
         {"error matrix-no-log", "note loop-jump"}},
        // Instances of a PROTO have one place in the file; a node that only passes events on is no driver.
        {"<ProtoDeclare name='P'><ProtoBody><ScalarInterpolator key='0'/></ProtoBody></ProtoDeclare>"
         "<ProtoInstance name='P'/><ProtoInstance name='P'/>",
         {"note undriven", "note no-values"}},
        {plain + "<Transform DEF='T'/>S.value>T.x T.x>S.fraction ", {"note route-loop"}},
        // What is harmless, or may be meant, is a note.
        {used + plain, {"warning undriven"}},
        {plain, {"note undriven"}},
        {loop + node("Scalar", "S", "0 1 1", "0 0"), {"note too-few-values"}},
        {"<TimeSensor cycleInterval='0'/>", {"note cycle-interval"}},
        {clock + plain + "<TimeSensor DEF='D'/>D.fraction>S.fraction ", {"note idle-sensor"}},
        // What a Script holds, also by way of a PROTO, it may fill and drive.
        {"<Script DEF='B'><field name='f' type='SFNode'><ScalarInterpolator DEF='S'/></field></Script>",
         {"note foreign-driver", "note foreign-driver"}},
        {clock + plain
             + "<TimeSensor DEF='D' cycleInterval='0'/><Script><field name='f' type='MFNode'><TimeSensor USE='D'/>"
               "<ScalarInterpolator USE='S'/></field></Script>",
         {"note foreign-driver", "note foreign-driver"}},
        {"<ProtoDeclare name='P'><ProtoInterface><field name='n' type='SFNode' accessType='initializeOnly'/></ProtoInterface>"
         "<ProtoBody><Script DEF='B'><field name='f' type='SFNode' accessType='initializeOnly'/><IS><connect nodeField='f' "
         "protoField='n'/></IS></Script></ProtoBody></ProtoDeclare>"
             + plain
             + "<ProtoInstance name='P'><fieldValue name='n'><ScalarInterpolator USE='S'/></fieldValue></ProtoInstance>",
         {"note foreign-driver", "note foreign-driver"}},
        // What is not run is said at its own place, once, with what it would have moved.
        {loop + plain + "<Script DEF='B'/><PositionDamper DEF='D'/>S.value>B.x B.y>T.y B.z>D.destination D.value>T.z ",
         {"note foreign-driver", "note foreign-driver", "note loop-jump"}},
        {"<TouchSensor DEF='P'/><TimeTrigger DEF='Q'/><TimeSensor DEF='C'/><Transform DEF='T'/>P.isActive>Q.set_boolean "
         "Q.triggerTime>C.startTime C.fraction>T.x ",
         {"note foreign-driver", "hint idle-sensor"}},
        {clock + "<ScalarInterpolator DEF='S'/>C.time>S.fraction ", {"note no-keys", "warning bad-route"}}};
    for (Case const& c : cases)
        EXPECT_THAT(check(c.scene).codes(), testing::UnorderedElementsAreArray(c.codes)) << c.scene;
}

TEST(Check, SaysTheSameOfMatricesAndTheirMirrors)
{
    using Numbers = std::vector<double>; // of the upper 3x3 parts
    for (Numbers const& turn :
         {Numbers{-0.85, 0.36, 0.38, 0.22, -0.43, 0.88, 0.47, 0.83, 0.29}, Numbers{0.28, -0.96, 0, 0.95, 0.29, 0, 0, 0, 1}}) {
        auto const said = [&](int sign) {
            std::ostringstream values;
            for (Numbers const& part : {Numbers{3, 0, 0, 0, 1, 0, 0, 0, 1}, turn})
                for (std::size_t i = 0; i < 9; ++i)
                    values << sign * part[i] << (i == 8 ? " 0 0 0 0 1 " : i % 3 == 2 ? " 0 " : " ");
            return check(loop + byComponents + "key='0 1' keyValue='" + values.str() + "'/>",
                         {"--format", "json", "--only", "matrix-rough,matrix-mirrored"})
                .json()["findings"];
        };
        EXPECT_EQ(said(1).size(), 1u);
        EXPECT_EQ(said(1)[0]["message"], said(-1)[0]["message"]);
    }
}

std::string const faulty = "<ScalarInterpolator DEF='S' key='0 0.9 0.5 1'\n keyValue='0 1 2'/>";

TEST(Check, WritesTheSameFindingsAsTextAndAsJson)
{
    Checked const text = check(faulty, {});
    EXPECT_EQ(text.out,
              "s.x3d:3:1: note: S gets no fraction, and its output goes nowhere (ROUTE a TimeSensor's fraction_changed "
              "to its set_fraction) [undriven]\n"
              "s.x3d:3:40: error: S.key[2] is 0.5, after 0.9: some fractions between them give no value or a wrong one "
              "(sort the keys, and their values with them) [key-order]\n"
              "s.x3d:4:12: error: S has 3 values for 4 keys: from key[3] on the keys do not count (write as many values "
              "as keys) [too-few-values]\n");
    EXPECT_THAT(text.err, testing::StartsWith("s.x3d: 2 errors, 0 warnings, 1 note"));
    EXPECT_EQ(text.status, exitScene);
    std::string lines;
    auto const json = check(faulty).json();
    for (auto const& f : json["findings"]) {
        auto const string = [&f](char const* name) { return f[name].get<std::string>(); };
        lines += string("file") + ':' + f["line"].dump() + ':' + f["column"].dump() + ": " + string("severity") + ": "
            + string("message") + " (" + string("advice") + ") [" + string("code") + "]\n";
    }
    EXPECT_EQ(lines, text.out);
    EXPECT_EQ(json["errors"], 2);
    // Hints are shown when they are asked for, in one of three ways.
    std::string const hinted = loop + node("Scalar", "S", "0 0.5", "0 0");
    EXPECT_EQ(check(hinted, {}).out, "");
    for (char const* const option : {"--hints", "--only=key-span", "--severity=key-span=note"})
        EXPECT_THAT(check(hinted, {option}).out, HasSubstr(": S.key runs from 0 to 0.5")) << option;
    EXPECT_THAT(checkFile("<X3D><Scene>\n<A></Scene></X3D>", {}).out, HasSubstr("s.x3d:2:6: error: not well-formed"));
}

} // namespace
} // namespace Zelvan::play::test
