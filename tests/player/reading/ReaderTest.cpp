#include "tests/player/Files.h"

#include <gmock/gmock.h>
#include <pthread.h>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

TEST(Reader, KeepsNodesFieldsAndRoutesOfAnOrdinaryFile)
{
    ReadScene read(R"(<WorldInfo title='t'/>
        <Group><Transform DEF='Ball'><!-- c --><Shape/><TimeSensor DEF="Clock" cycleInterval=" 2.5 " loop='TRUE' class="x"/>
        <PositionInterpolator DEF='Path' key='0, .5 1e0,' keyValue='0 0 0,
            1 2 3 4 5 6' containerField='children'><MetadataSet DEF='m'><MetadataFloat value='1'/></MetadataSet></PositionInterpolator>
        <ROUTE fromNode='Clock' fromField='fraction' toNode='Path' toField='fraction'/></Transform>
        <Group USE='Ball'/></Group>
        <ROUTE fromNode='Path' fromField='value_changed' toNode='Ball' toField='set_translation'/>
        <ROUTE fromNode='Ball' fromField='translation_changed' toNode='Other' toField='center'/><Transform DEF='Other'/>)");
    EXPECT_EQ(read.messages(), "");
    EXPECT_EQ(read.routes(),
              "Clock.fraction_changed>Path.set_fraction Path.value_changed>Ball.translation Ball.translation>Other.center ");
    EXPECT_EQ(read.value("Path", "key"), "0 0.5 1");
    EXPECT_EQ(read.value("Path", "keyValue"), "0 0 0 1 2 3 4 5 6");
    EXPECT_EQ(read.value("Clock", "cycleInterval"), "2.5");
    EXPECT_EQ(read.node("Path").node->type()._name, "PositionInterpolator3D");
    Place const place = read.scene->place(read.node("Path"), *fieldOf(read.node("Path"), "keyValue"));
    EXPECT_EQ(std::to_string(place.line) + ':' + std::to_string(place.column), "5:69");
}

TEST(Reader, NamesPlaceFieldAndExpectationOfWhatIsWrong)
{
    struct Case {
        std::string scene;
        std::string message; ///< the whole line, or its beginning
    };
    Case const cases[] = {
        {"<ScalarInterpolator DEF='S' key='0 1' keyValue='0 1,5x'/>",
         "scene.x3d:3:53: error: S.keyValue (MFFloat): expected a number, found \"5x\"; the field keeps its default\n"},
        {"<PositionInterpolator DEF='P' keyValue='0 0 0 1'/>",
         "scene.x3d:3:48: error: P.keyValue (MFVec3f): expected a multiple of 3 numbers, found \"4 numbers\""},
        {"<ScalarInterpolator DEF='S' keys='0 1'/>",
         "scene.x3d:3:35: warning: S: a ScalarInterpolator has no field \"keys\"; did you mean \"key\"?\n"},
        {"<ScalarInterpolator DEF='S' colour='0 1'/>",
         "scene.x3d:3:37: note: S: a ScalarInterpolator has no field \"colour\"; it has "},
        {"<SplineScalarInterpolator DEF='S' keyVelocity='0 1'/>",
         "scene.x3d:3:48: note: S.keyVelocity: X3D has it, it changes nothing here"},
        {"<ScalarInterpolator DEF='S' value_changed='1'/>",
         "scene.x3d:3:44: warning: S.value_changed is outputOnly and cannot be set in a file"},
        {"<TransformationInterpolator DEF='T' mode='linear'/>",
         "scene.x3d:3:43: error: T.mode (SFString): expected one of: matrix, component, found \"linear\""},
        {"<Group><ROUTE fromNode='A' fromField='x' toNode='B' toField='y'/></Group>",
         "scene.x3d:3:8: warning: ROUTE A.x TO B.y: no node has the DEF name \"A\"\n"},
        {"<Group DEF='Ball1'/><ROUTE fromNode='ball1' fromField='x' toNode='B' toField='y'/>",
         "scene.x3d:3:21: warning: ROUTE ball1.x TO B.y: no node has the DEF name \"ball1\"; did you mean \"Ball1\"?\n"},
        {"<TimeSensor DEF='T'/><ScalarInterpolator DEF='S'/>"
         "<ROUTE fromNode='T' fromField='faction' toNode='S' toField='set_fraction'/>",
         "scene.x3d:3:51: warning: ROUTE T.faction TO S.set_fraction: a TimeSensor has no field \"faction\"; it has "},
        {"<TimeSensor DEF='T'/><ScalarInterpolator DEF='S'/>"
         "<ROUTE fromNode='T' fromField='time' toNode='S' toField='set_fraction'/>",
         "scene.x3d:3:51: warning: ROUTE T.time TO S.set_fraction: cannot send SFTime outputOnly to SFFloat inputOnly"},
        {"<ScalarInterpolator DEF='S'/><ROUTE fromNode='S' fromField='set_fraction' toNode='S' toField='set_fraction'/>",
         "scene.x3d:3:30: warning: ROUTE S.set_fraction TO S.set_fraction: expected a field that sends events, this one is inputOnly"},
        {"<ScalarInterpolator DEF='S'/><ROUTE fromNode='S' fromField='value_changed' toNode='S' toField='value_changed'/>",
         "scene.x3d:3:30: warning: ROUTE S.value_changed TO S.value_changed: expected a field that takes events, this one is outputOnly"},
        {"<ScalarInterpolator><IS><connect nodeField='key' protoField='k'/></IS></ScalarInterpolator>",
         "scene.x3d:3:25: warning: IS stands outside a PROTO's body\n"},
        {"<ProtoDeclare name='P'><ProtoInterface><field name='k' type='MFFloat'/></ProtoInterface><ProtoBody><ScalarInterpolator><IS>"
         "<connect nodeField='keys' protoField='k'/><connect nodeField='key' protoField='l'/></IS></ScalarInterpolator></ProtoBody>"
         "</ProtoDeclare><ProtoDeclare name='Q'><ProtoInterface><field name='k'/></ProtoInterface><ProtoBody><ProtoInstance name='P'>"
         "<IS><connect nodeField='m' protoField='k'/></IS></ProtoInstance></ProtoBody></ProtoDeclare>"
         "<ProtoInstance name='Q' DEF='I'><fieldValue name='n' value='1'/></ProtoInstance><ScalarInterpolator DEF='S'/>"
         "<ROUTE fromNode='S' fromField='value_changed' toNode='I' toField='o'/><ROUTE fromNode='I' fromField='k' toNode='S' toField='key'/>",
         "scene.x3d:3:491: warning: PROTO \"Q\" has no field \"n\"\n"
         "scene.x3d:3:372: warning: IS: the instance has no field \"m\"\n"
         "scene.x3d:3:124: warning: IS: a ScalarInterpolator has no field \"keys\"; did you mean \"key\"?\n"
         "scene.x3d:3:166: warning: IS: the PROTO has no field \"l\"\n"
         "scene.x3d:3:568: warning: ROUTE S.value_changed TO I.o: the PROTO instance \"I\" has no field \"o\"\n"},
        {"<ExternProtoDeclare name='E' url='\"scene.x3d\"'/><ProtoInstance name='E'/><ProtoInstance name='E'/>",
         "scene.x3d:3:1: warning: \"scene.x3d\" declares no PROTO\n"},
        {"<ExternProtoDeclare name='E' url='\"scene.x3d#F\"'/><ExternProtoDeclare name='F' url='\"#E\"'/><ProtoInstance name='E'/>",
         "scene.x3d:3:1: warning: \"scene.x3d\" declares no PROTO \"F\"\n"},
        {"<ExternProtoDeclare name='E' url='\"scene.x3d#Foo\"'/><ProtoDeclare name='foo'><ProtoBody/></ProtoDeclare><ProtoInstance name='E'/>",
         "scene.x3d:3:1: warning: \"scene.x3d\" declares no PROTO \"Foo\"; did you mean \"foo\"?\n"},
        {"<Group/><Foo><ExternProtoDeclare name='E' url='\"none.x3d\"'/></Foo>", ""},
        {"<ScalarInterpolator DEF='S' keyValue='1'/><ScalarInterpolator DEF='S' keyValue='2'/>",
         "scene.x3d:3:43: note: DEF \"S\" is taken already; a USE or ROUTE means the nearest one before it"},
        {"<Group DEF='S'/><Foo DEF='S'/><ROUTE fromNode='S' fromField='a' toNode='S' toField='b'/>",
         "scene.x3d:3:17: warning: DEF \"S\" is taken already; a USE or ROUTE means the nearest one before it"},
        {"<ScalarInterpolator DEF='S' key='1e-50 2' style='a' class='b' id='c' xml:lang='d'><MetadataString name='m'/>"
         "</ScalarInterpolator><Inline DEF='I' url='\"no\\\"ne.x3d\\'/>",
         "scene.x3d:3:130: warning: no\"ne.x3d\\: cannot open: No such file or directory\n"},
        {"<Inline url='\"http://x/y.x3d#a\" \"none.x3d\" \"none.x3d\"'/>",
         "scene.x3d:3:1: note: none of its urls can be read: \"http://x/y.x3d\" is not a local file, and nothing is fetched; "
         "none.x3d: cannot open: No such file or directory\n"},
        {"<ScalarInterpolator DEF='S' key='0\r\n1\r\n\r\nx'/>",
         "scene.x3d:6:1: error: S.key (MFFloat): expected a number, found \"x\""},
        {"<Group USE='a\tb\nc\rd'/>", "scene.x3d:3:1: warning: USE \"a b c d\": no node before this one has that DEF name"},
        {"<ProtoInstance name='P'/>", "scene.x3d:3:1: warning: no PROTO is named \"P\""},
        {"<ProtoDeclare name='P'><ProtoBody><ProtoInstance name='P'/></ProtoBody></ProtoDeclare><ProtoInstance name='P'/>",
         "scene.x3d:3:35: error: PROTO \"P\" contains itself"},
        {"<Inline url='\"http://" + std::string(993, 'x') + "\"'/>",
         "scene.x3d:3:1: note: \"http://" + std::string(993, 'x') + "\" is not a local file, and nothing"},
        {"<Inline url='\"http://" + std::string(994, 'x') + "\"'/>",
         "scene.x3d:3:1: note: \"http://" + std::string(33, 'x') + "...\" is not a local file"},
        {"<Inline url='\"../other.x3d\"'/>", "scene.x3d:3:1: note: \"../other.x3d\" lies outside the scene's folder"},
        {"<Inline url='\"scene.x3d\"'/>", "scene.x3d:3:1: warning: \"scene.x3d\" inlines itself"},
    };
    for (Case const& c : cases)
        EXPECT_THAT(ReadScene(c.scene).messages(), StartsWith(c.message)) << c.scene;
    ReadScene twice("<ScalarInterpolator DEF='S' keyValue='1'/><ScalarInterpolator DEF='S' keyValue='2'/>");
    EXPECT_EQ(twice.value("S", "keyValue"), "2");
}

TEST(Reader, ExpandsProtosForEveryInstance)
{
    ReadScene read(R"(
      <ProtoDeclare name='Inner'><ProtoInterface>
          <field name='values' type='MFFloat' accessType='inputOutput' value='7 8'/>
          <field name='set_at' type='SFFloat' accessType='inputOnly'/>
          <field name='out_changed' type='SFFloat' accessType='outputOnly'/></ProtoInterface>
        <ProtoBody><ScalarInterpolator DEF='S' key='0 1'><IS>
          <connect nodeField='keyValue' protoField='values'/><connect nodeField='set_fraction' protoField='set_at'/>
          <connect nodeField='value_changed' protoField='out_changed'/></IS></ScalarInterpolator></ProtoBody></ProtoDeclare>
      <ProtoDeclare name='Outer'><ProtoInterface>
          <field name='range' type='MFFloat' accessType='initializeOnly' value='1 2'/>
          <field name='seconds' type='SFTime' accessType='initializeOnly' value='4'/>
          <field name='shown' type='SFFloat' accessType='outputOnly'/>
          <field name='content' type='MFNode' accessType='initializeOnly'/></ProtoInterface>
        <ProtoBody><Group><TimeSensor DEF='T' loop='true'><IS><connect nodeField='cycleInterval' protoField='seconds'/></IS></TimeSensor>
          <ProtoInstance name='Inner' DEF='I'><IS><connect nodeField='values' protoField='range'/>
            <connect nodeField='out_changed' protoField='shown'/></IS></ProtoInstance>
          <ROUTE fromNode='T' fromField='fraction_changed' toNode='I' toField='at'/></Group></ProtoBody></ProtoDeclare>
      <ProtoInstance name='Outer' DEF='A'><fieldValue name='range' value='5 6'/></ProtoInstance>
      <ProtoInstance name='Outer' DEF='B'><fieldValue name='content'><Transform DEF='Given'/></fieldValue></ProtoInstance>
      <ProtoInstance name='Inner' DEF='C'/>
      <ROUTE fromNode='A' fromField='shown' toNode='C' toField='set_at'/>
      <ROUTE fromNode='C' fromField='out' toNode='Given' toField='scaleOrientation'/>)");
    EXPECT_EQ(read.messages(), "");
    EXPECT_EQ(read.value("A/I/S", "keyValue"), "5 6");
    EXPECT_EQ(read.value("B/I/S", "keyValue"), "1 2");
    EXPECT_EQ(read.value("C/S", "keyValue"), "7 8");
    EXPECT_EQ(read.value("B/T", "cycleInterval"), "4");
    EXPECT_EQ(read.routes(),
              "A/T.fraction_changed>A/I/S.set_fraction B/T.fraction_changed>B/I/S.set_fraction "
              "A/I/S.value_changed>C/S.set_fraction C/S.value_changed>Given.scaleOrientation ");
}

TEST(Reader, ReadsLocalInlinesExternProtosAndImports)
{
    Folder const folder;
    folder.add("parts/inner.x3d",
               x3d("<TimeSensor DEF='T'/><EXPORT localDEF='T' AS='Ticker'/><Inline url='\"../main.x3d\"'/>"));
    folder.add("parts/protos.x3d",
               x3d("<ProtoDeclare name='Not'><ProtoBody><Group/></ProtoBody></ProtoDeclare>"
                   "<ExternProtoDeclare name='It' url='\"deep.wrl#It\"'/>"));
    folder.add(
        "parts/deep.wrl",
        "#VRML V2.0 utf8\nEXTERNPROTO Own [ ] \"#Part\" PROTO Part [ ] { DEF S ScalarInterpolator { } } PROTO It [ ] { DEF P Own { } }");
    std::string const file = folder.add(
        "main.x3d",
        x3d("<Inline DEF='In' url='\"parts/inner.x3d\"'/><IMPORT inlineDEF='In' importedDEF='Ticker' AS='Clock'/>"
            "<IMPORT inlineDEF='In' importedDEF='Nobody'/><ExternProtoDeclare name='Mine' url='\"http://x/p.x3d#It\"\"parts/protos.x3d#It\"'/><ProtoInstance name='Mine' DEF='M'/>"
            "<ScalarInterpolator DEF='S'/><ROUTE fromNode='Clock' fromField='fraction_changed' toNode='S' toField='set_fraction'/>"));
    std::ostringstream out;
    Diagnostics diagnostics(out);
    loadPool("");
    auto const scene = readScene(file, {}, diagnostics);
    EXPECT_THAT(out.str(),
                MatchesRegex("[^\n]*main.x3d\" inlines itself[^\n]*\n[^\n]*IMPORT: \"In\" has no node \"Nobody\"[^\n]*\n"));
    EXPECT_TRUE(scene->find("M/P/S") != nullptr && scene->find("Nobody")->named);
    ASSERT_EQ(scene->routes.size(), 1u);
    EXPECT_EQ(scene->routes[0].from->name, "In/T");
}

TEST(Reader, RefusesWhatItDoesNotReadByName)
{
    struct Case {
        std::string content;
        ExitStatus status;
        char const* message; ///< part of it; what is read has a node of that name
    };
    std::string utf16 = "\xff\xfe";
    for (char const c : x3d("<ScalarInterpolator DEF='S'/>"))
        utf16 += {c, '\0'};
    std::vector<Case> cases = {
        {"", exitScene, "expected an X3D scene, found nothing"},
        {std::string(1, '\0'), exitScene, "expected an X3D scene, found nothing"},
        {"\xff\xfe", exitScene, "expected an X3D scene, found nothing"},
        {"\xff\xfe<", exitScene, "not valid UTF-16LE at byte 2"},
        {"hello", exitScene, "expected X3D XML or VRML"},
        {"<X3D><Scene>", exitScene, "error: not well-formed XML"},
        {" \t\r\n<html/>", exitScene, "HTML is not read: write its <X3D> element into a file of its own"},
        {"{ \"X3D\": {} }", exitScene, "X3D JSON is not read"},
        {std::string("\xe0\x00\x00\x01\x00", 5), exitScene, "binary X3D is not read"},
        {"#VRML V1.0 ascii", exitScene, "VRML 1.0 is not read"},
        {"<X3D><Scene>\n\xff</Scene></X3D>", exitScene, ":2:1: error: expected UTF-8 text"},
        {"<Scene><Group DEF='\xe0\xa0\x80\xed\x9f\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xc2\x80'/></Scene>", exitFine,
         "\xe0\xa0\x80\xed\x9f\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xc2\x80"},
        {"<?xml version='1.0' encoding='azkaban'?><X3D/>", exitScene, "unknown encoding \"AZKABAN\""},
        {"\x1f\x8bxyz", exitScene, "damaged gzip data"},
        {"\x1f\x8b\b" + std::string(9, '\0'), exitScene, "gzip data ends too early"},
        {utf16, exitFine, "S"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><!DOCTYPE X3D [<!ENTITY e 'x'>]><X3D><Scene><Group DEF='\xe4&e;'/></Scene></X3D>",
         exitFine, "\u00e4&e;"},
    };
    Folder const folder;
    for (std::string const bad :
         {"\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xc1\xbf", "\xc2", "\x80"})
        cases.push_back(
            {"<Scene>" + bad + "</Scene>", exitScene, ":1:8: error: expected UTF-8 text, found a byte that does not fit in"});
    cases.push_back({"<Scene>WhatIsIt" + std::string(1, '\0') + "</Scene>", exitScene,
                     ":1:16: error: expected UTF-8 text, found a zero byte"});
    for (std::string const same : {"UTF-8", "utf8", "us-ascii", "ASCII"})
        cases.push_back({"<?xml version='1.0' encoding='" + same + "'?>\n\xff", exitScene, ":2:1: error: expected UTF-8 text"});
    for (Case const& c : cases) {
        std::ostringstream out;
        Diagnostics diagnostics(out);
        try {
            auto const scene = readScene(folder.add("any.txt", c.content), {}, diagnostics);
            EXPECT_TRUE(c.status == exitFine && scene->find(c.message) != nullptr) << c.content;
        } catch (Failure const& failure) {
            EXPECT_EQ(failure.status(), c.status) << failure.what();
            EXPECT_THAT(failure.what(), HasSubstr(c.message));
        }
    }
    std::ostringstream out;
    Diagnostics diagnostics(out);
    EXPECT_THROW(readScene(folder.path("missing.x3d"), {}, diagnostics), Failure);
}

TEST(Reader, HoldsItsLimitsAtTheLimitAndOneAbove)
{
    auto const status = [](std::string const& body, ReadLimits const& limits) {
        try {
            ReadScene const read(body, limits);
            return 0;
        } catch (Failure const& failure) {
            return static_cast<int>(failure.status());
        }
    };
    auto const nested = [](std::size_t depth) { return times(depth, "<Group>") + times(depth, "</Group>"); };
    ReadLimits limits;
    limits.depth = 20; // of which the root element and the Scene take two; the innermost holds nothing
    EXPECT_EQ(status(nested(19), limits), 0);
    EXPECT_EQ(status(nested(20), limits), exitScene);
    limits = {};
    limits.elements = 3; // six tags: the first line and those of root element and Scene are five
    EXPECT_EQ(status("<Group/>", limits), 0);
    EXPECT_EQ(status("<Group/><Group/>", limits), exitScene);
    EXPECT_EQ(status("<Group/>" + times(20, "\n"), limits), 0); // eight times as many lines, and the last one
    EXPECT_EQ(status("<Group/>" + times(21, "\n"), limits), exitScene);
    limits = {};
    limits.nodes = 2;
    EXPECT_EQ(status("<Group DEF='a'/><Group DEF='b'/>", limits), 0);
    EXPECT_EQ(status("<Group DEF='a'/><Group DEF='b'/><Group DEF='c'/>", limits), exitScene);
    limits = {};
    // In tenths: 10 for an instance, a node in it, a ROUTE, an EXPORT, a field that an IS leads to, a ROUTE more by that, a field of a Script or of
    // an EXTERNPROTO that is not there; 5 for a connect, 3 for an interface field, 2 for an attribute, 1 for an element, and for 16 bytes of a
    // name or a value. 173, and 1 for each <a/>.
    limits.expanded = 17;
    std::string const def(15, 'i'), field(16, 'f');
    for (auto const& [more, expected] : {std::pair(6u, 0), {7u, 1}})
        EXPECT_EQ(
            status(
                "<ExternProtoDeclare name='E' url='\"none.x3d\"'><field name='e'/></ExternProtoDeclare>"
                "<ProtoDeclare name='P'><ProtoInterface><field name='"
                    + field
                    + "'/><field name='k' value='0 0 0 0 0 0 0 0 '/></ProtoInterface>"
                      "<ProtoBody><ScalarInterpolator key='0 0 0 0 0 0'><IS><connect nodeField='set_fraction' protoField='"
                    + field
                    + "'/>"
                      "<connect nodeField='set_fraction' protoField='"
                    + field
                    + "'/><connect nodeField='key' protoField='k'/></IS></ScalarInterpolator>"
                      "<ThatNobodyKnowsX/><ROUTE/><EXPORT/><Script DEF='S'><field name='s'/></Script><ProtoInstance name='E'/>"
                    + times(more, "<a/>") + "</ProtoBody></ProtoDeclare><TimeSensor DEF='T'/><ProtoInstance name='P' DEF='"
                    + def
                    + "'/>"
                      "<ROUTE fromNode='T' fromField='fraction_changed' toNode='"
                    + def + "' toField='" + field + "'/>",
                limits),
            expected)
            << more;
    limits = {};
    std::string const longest(1000, 'n');
    EXPECT_EQ(status('<' + longest + " DEF='" + longest + "'/>", limits), 0);
    EXPECT_EQ(status('<' + longest + "n DEF='a'/>", limits), exitScene);
    EXPECT_EQ(status("<Group DEF='" + longest + "n'/>", limits), exitScene);
    std::string const body = "<Group/>";
    limits.bytes = x3d(body).size();
    EXPECT_EQ(status(body, limits), 0);
    --limits.bytes;
    EXPECT_EQ(status(body, limits), exitScene);
}

TEST(Reader, NeedsNoMoreStackForWhatIsNestedDeeper)
{
    static std::string scene;
    scene =
        "<ProtoDeclare name='P0'><ProtoInterface><field name='f' type='SFFloat'/></ProtoInterface><ProtoBody><ScalarInterpolator>"
        "<IS><connect nodeField='set_fraction' protoField='f'/></IS></ScalarInterpolator></ProtoBody></ProtoDeclare>";
    for (int i = 1; i < 2000; ++i)
        scene += "<ProtoDeclare name='P" + std::to_string(i)
            + "'><ProtoInterface><field name='f' type='SFFloat'/></ProtoInterface><ProtoBody><ProtoInstance name='P"
            + std::to_string(i - 1)
            + "'><IS><connect nodeField='f' protoField='f'/></IS></ProtoInstance></ProtoBody></ProtoDeclare>";
    scene +=
        "<TimeSensor DEF='T'/><ProtoInstance name='P1999' DEF='I'/><ROUTE fromNode='T' fromField='fraction' toNode='I' toField='f'/>"
        + times(100'000, "<Group>") + "<Group DEF='Innermost'/>" + times(100'000, "</Group>");
    auto const work = [](void*) -> void* {
        ReadLimits limits;
        limits.depth = 1'000'000;
        ReadScene read(scene, limits);
        EXPECT_EQ(read.messages(), "");
        EXPECT_NE(read.scene->find("Innermost"), nullptr);
        EXPECT_EQ(read.scene->routes.size(), 1u);
        return nullptr;
    };
    pthread_attr_t small;
    pthread_t thread;
    ASSERT_TRUE(::pthread_attr_init(&small) == 0 && ::pthread_attr_setstacksize(&small, 1 << 18) == 0
                && ::pthread_create(&thread, &small, work, nullptr) == 0 && ::pthread_join(thread, nullptr) == 0);
    ::pthread_attr_destroy(&small);
}

TEST(Reader, ReadsTheSameSceneFromEverySyntax)
{
    struct Case {
        char const* name;
        std::string text;
    };
    std::string const classic = R"(
        PROTO Turn [ exposedField MFRotation turns [ 0 0 1 0, 0 0 1 1 ] eventOut SFRotation value_changed field SFString s "a" ]
          { DEF O OrientationInterpolator { key [0 1] keyValue IS turns value_changed IS value_changed } }
        DEF Clock TimeSensor { loop TRUE cycleInterval 2.5 } # clock
        DEF Ball Transform { children [ DEF Path PositionInterpolator { key [ 0, .5 1e0, ] keyValue [ 0 0 0 1 2 3 4 5 6 ] }
          DEF T TransformationInterpolator { mode "component" } ] }
        DEF R Turn { turns [ 0 1 0 0 0 1 0 2 ] s "b" }
        Inline { load FALSE url [ "none.wrl" ] }
        Group { children USE Ball }
        ROUTE Clock.fraction TO Path.fraction
        ROUTE Path.value_changed TO Ball.set_translation
        ROUTE R.value TO Ball.rotation)";
    Case const cases[] = {
        {"scene.x3d",
         x3d("<ProtoDeclare name='Turn'><ProtoInterface><field name='turns' type='MFRotation' accessType='inputOutput' value='0 0 1 0, 0 0 1 1'/>"
             "<field name='value_changed' type='SFRotation' accessType='outputOnly'/><field name='s' type='SFString' accessType='initializeOnly' value='a'/></ProtoInterface>"
             "<ProtoBody><OrientationInterpolator DEF='O' key='0 1'><IS><connect nodeField='keyValue' protoField='turns'/>"
             "<connect nodeField='value_changed' protoField='value_changed'/></IS></OrientationInterpolator></ProtoBody></ProtoDeclare>"
             "<TimeSensor DEF='Clock' loop='true' cycleInterval='2.5'/><Transform DEF='Ball'><PositionInterpolator DEF='Path' key='0, .5 1e0,' keyValue='0 0 0 1 2 3 4 5 6'/>"
             "<TransformationInterpolator DEF='T' mode='component'/></Transform><ProtoInstance name='Turn' DEF='R'><fieldValue name='turns' value='0 1 0 0 0 1 0 2'/>"
             "<fieldValue name='s' value='b'/></ProtoInstance><Inline load='false' url='\"none.wrl\"'/><Group><Transform USE='Ball'/></Group>"
             "<ROUTE fromNode='Clock' fromField='fraction' toNode='Path' toField='fraction'/><ROUTE fromNode='Path' fromField='value_changed' "
             "toNode='Ball' toField='set_translation'/><ROUTE fromNode='R' fromField='value' toNode='Ball' toField='rotation'/>")},
        {"scene.wrl", "#VRML V2.0 utf8\n" + classic},
        {"draft.wrl", "\xef\xbb\xbf#VRML Draft #2 V2.0 utf8 CosmoWorlds V1.0\r\n" + classic},
        {"scene.x3dv", "#X3D V3.2 utf8\nPROFILE Immersive META \"title\" \"t\"" + classic},
    };
    for (Case const& c : cases) {
        ReadScene read(c.text, {}, c.name);
        EXPECT_EQ(read.messages(), "") << c.name;
        EXPECT_EQ(
            read.routes(),
            "Clock.fraction_changed>Path.set_fraction Path.value_changed>Ball.translation R/O.value_changed>Ball.rotation ")
            << c.name;
        EXPECT_EQ(read.value("Path", "key") + '|' + read.value("Path", "keyValue") + '|' + read.value("R/O", "keyValue") + '|'
                      + read.value("T", "mode") + '|' + read.value("Clock", "loop"),
                  "0 0.5 1|0 0 0 1 2 3 4 5 6|0 1 0 0 0 1 0 2|component|true")
            << c.name;
    }
}

TEST(Reader, SaysWhereInTheAuthorsOwnFile)
{
    struct Case {
        char const* text;
        char const* message;
    };
    Case const cases[] = {
        {"#VRML V2.0 utf8\nDEF S ScalarInterpolator {\n  key [ 0 .5, # half\n  x1 ] keyValue [ 0 1,\n 2 3e ] }",
         "scene.wrl:4:3: error: expected a number or \"]\", found \"x1\" (opened at 3:7)"},
        {"#VRML V2.0 utf8\nDEF S ScalarInterpolator {\n  keyValue [ 0 1,\n 2 3-4 ] }",
         "scene.wrl:4:4: error: S.keyValue (MFFloat): expected a number, found \"3-4\"; the field keeps its default\n"},
        {"\n#VRML V2.0 utf8\nDEF T TransformationInterpolator { mode \"linear\" }",
         "scene.wrl:3:42: error: T.mode (SFString): expected one of: matrix, component, found \"linear\"; the field keeps its default\n"},
        {"#VRML V2.0 utf8\nDEF S ScalarInterpolator { keys 1 }\nROUTE S.value_changed TO s.x",
         "scene.wrl:2:33: warning: S: a ScalarInterpolator has no field \"keys\"; did you mean \"key\"?\n"
         "scene.wrl:3:1: warning: ROUTE S.value_changed TO s.x: no node has the DEF name \"s\"; did you mean \"S\"?\n"},
        {"#VRML V2.0 utf8\n# \xc3\xa4\xe4\nGroup { children [ Inline { url \"\xe9.wrl\" } ]\n}",
         "scene.wrl:2:5: warning: expected UTF-8 text, found a byte that does not fit in; the file is read as Latin-1\n"
         "scene.wrl:3:20: warning: \u00e9.wrl: cannot open: No such file or directory\n"},
        // Of 64 bytes.
        {"#X3D V3.3 utf8\n\nGroup { children [\n  Transform { } # \u00e4xxxxxxxxx",
         "scene.wrl:4:29: error: expected a node or \"]\", found the end of the file (opened at 3:18)"},
        {"#VRML V2.0 utf8\r# one\r\n# two\r\rGroup {[",
         "scene.wrl:5:8: error: expected a field or \"}\", found \"[\" (opened at 5:7)"},
        // Columns are characters, in both syntaxes; a byte order mark is none.
        {"\xef\xbb\xbf#X3D V3.3 utf8\nDEF Gl\u00fcck Group { } USE \U0001F600",
         "scene.wrl:2:21: warning: USE \"\U0001F600\": no node before this one has that DEF name\n"},
        {"\xef\xbb\xbf<X3D><Scene DEF='\u20ac\u00e4\U0001F600'><Group USE='A'/></Scene></X3D>",
         "scene.wrl:1:23: warning: USE \"A\": no node before this one has that DEF name\n"},
        {"#VRML V1.0 ascii\n", "scene.wrl: VRML 1.0 is not read"},
        {"#Inventor V2.1 ascii\n", "scene.wrl: Inventor files are not read"},
    };
    for (Case const& c : cases)
        try {
            EXPECT_EQ(ReadScene(c.text, {}, "scene.wrl").messages(), c.message) << c.text;
        } catch (Failure const& failure) {
            EXPECT_THAT(failure.what(), HasSubstr(c.message)) << c.text;
        }
}

// What exporters write and people type: read as it was meant, with a warning at its place, or refused.
TEST(Reader, TakesWhatCanOnlyMeanOneThing)
{
    struct Case {
        char const* text;    ///< behind the header
        char const* message; ///< "" where nothing is wrong
    };
    std::string const header = "#VRML V2.0 utf8\n", one = "DEF S ScalarInterpolator { key [ 0 1 ] keyValue [ 0 1 ] }\n";
    Case const cases[] = {
        {"Transform { translation 1,2,3, children [ Shape { }, Shape { },, ], }", ""},
        {"Transform { translation 1. +.5 1e5 rotation -.5 1E-3 +1.e+2 .0 }", ""},
        {"WorldInfo { title \"a # b\" info [ \"say \\\"hi\\\" \\\\\" \"two\nlines\" ] }", ""},
        {"DEF 1st Group { } DEF a+b-c Group { } DEF x(1) Group { } DEF <n>:m Group { }", ""},
        {"Transform { translation nan 0 0 scale 1.#QNAN 1 1 rotation 0 0 1 -1.#IND }", ""},
        {"Vendor { n 3.5 s \"a\" b TRUE l [ 1 2 ] m [ \"a\" \"b\" ] sub Other { deep [ More { } ] } none NULL nothing [ ] }",
         ""},
        {"PROTO P [ field MFNode parts [ ] eventIn SFBool go ] { Script { field MFNode parts IS parts eventIn SFBool go IS go } } P { }",
         ""},
        {"Group { }\n\x1a", ""},
        {"def A Group { } Group { children [ use A ] }", "2:1: expected DEF, found \"def\"|2:36: expected USE, found \"use\""},
        {"Route S.value_changed to S.set_fraction", "2:1: expected ROUTE, found \"Route\"|2:23: expected TO, found \"to\""},
        {"Proto P [ ] { Group { } } P { }", "2:1: expected PROTO, found \"Proto\""},
        {"DEF \"My Ball\" Transform { } ROUTE S.value_changed TO \"My Ball\".x",
         "2:5: a name stands in quotes|2:54: a name stands in quotes"},
        {"Group { children Shape { } DEF A Shape { } USE A }",
         "2:28: expected a field, found \"DEF\": read as one more value of \"children\"|2:44: expected a field, found \"USE\""},
        {"Group { Shape { } }", "2:9: expected a field, found \"Shape\": read as one of the children"},
        {"PROTO P [ field SFFloat x field SFNode n exposedField MFNode m ] { Group { children IS m } } P { x 3 }",
         "2:25: the field \"x\" has no value|2:40: the field \"n\" has no value|2:62: the field \"m\" has no value"},
        {"Script { field SFFloat x eventIn SFTime t field SFNode n } EXTERNPROTO E [ field SFFloat x ] \"n.wrl\"",
         "2:24: the field \"x\" has no value|2:56: the field \"n\" has no value"},
        {"Script { field SFNode n Box { } Box { } }", "2:33: expected a field, found \"Box\": read as one of the children"},
        {"Transform { translation 1 2 3 ] } }", "2:31: \"]\" closes nothing|2:35: \"}\" closes nothing"},
        {"Vendor { mode HIGH title 'abc' } PROTO P [ field SFString x \"\" ] { } P { x HIGH }",
         "2:15: \"HIGH\" is no value of \"mode\", and passed over|2:26: \"'abc'\" is no value of \"title\"|2:76: \"HIGH\" is no value of \"x\""},
        {"Shape { geometry DEF G NULL }", "2:18: NULL has the name \"G\", but is no node"},
        {"DEF J ScalarInterpolator { key [ 0 1 ] key [ 0 .5 1 ] }", "2:46: J.key is given twice; the last one counts"},
        {"DEF J scalarInterpolator { key [ 0 1 ] }",
         "2:1: J: there is no node scalarInterpolator; did you mean ScalarInterpolator?"},
        {"Group { children [ USE A ] } DEF A Group { }", "2:20: USE \"A\": no node before this one has that DEF name"},
        {"Group { children [ Shape { } }", "2:30: error: expected a node or \"]\", found \"}\""},
        {"Group { children [ Shape { } ", "4:1: error: expected a node or \"]\", found the end of the file"},
        {"Transform { translation ( 1 2 3 ) }", "2:25: error: expected a value of \"translation\", found \"(\""},
        {"Transform { translation = 1 2 3 }", "2:25: error: expected a value of \"translation\", found \"=\""},
        {"// no comment\nGroup { }", "2:1: error: expected a node, found \"//\""},
        {"DEF J ScalarInterpolator { key [ 0 one 1 ] }", "2:36: error: expected a number or \"]\", found \"one\""},
        {"[ Group { } ]", "2:1: error: expected a node or a statement, found \"[\""},
        {"Group { } </html>", "2:11: error: expected a node, found \"</html>\""},
    };
    for (auto const& [text, message] : cases) {
        std::string said;
        try {
            ReadScene read(header + text + '\n' + one, {}, "s.wrl");
            said = read.messages();
            EXPECT_EQ(read.value("S", "key"), "0 1") << text;
        } catch (Failure const& failure) {
            said = failure.what();
        }
        std::istringstream wanted(message), lines(said);
        std::string want, line;
        while (std::getline(wanted, want, '|')) {
            std::getline(lines, line);
            auto const blank = want.find(' ');
            EXPECT_THAT(line, HasSubstr("s.wrl:" + want.substr(0, blank))) << text;
            EXPECT_THAT(line, HasSubstr(want.substr(blank + 1))) << text;
        }
        EXPECT_FALSE(std::getline(lines, line)) << text << '\n' << line;
    }
    std::string const padded = header + one + std::string(3, '\0');
    EXPECT_EQ(ReadScene(padded, {}, "s.wrl").messages(), "");
    EXPECT_EQ(ReadScene("# Mine, V2.1\n" + times(18, "#\n") + "#vrml v2.0 utf8\n" + one, {}, "s.wrl").messages(),
              "s.wrl:20:1: warning: the line \"#vrml v2.0 utf8\" is not the first one\n");
    EXPECT_THROW(ReadScene(times(20, "#\n") + header + one, {}, "s.wrl"), Failure);
    EXPECT_EQ(ReadScene("<X3D><Scene><!--\n" + header + "--></Scene></X3D>", {}, "s.wrl").messages(), "");
}

TEST(Reader, ConvertsTheUnitsOfTheFileThatStatesThem)
{
    std::string const units =
        "<head><unit category='angle' name='degree' conversionFactor='0.5'/><unit category='length' name='cm' conversionFactor=' +2'/>"
        "<unit category='mass' name='t' conversionFactor='1000'/><unit category='force' conversionFactor='x'/></head>";
    std::string const nodes =
        "<OrientationInterpolator DEF='O' key='0 1' keyValue='0 0 2 1 1 0 0 -3'/><PositionInterpolator DEF='P' keyValue='1 2 4'/>"
        "<CoordinateInterpolator2D DEF='C' keyValue='1 2 4 8'/><NormalInterpolator DEF='N' keyValue='0 0 1'/>"
        "<ScalarInterpolator DEF='S' keyValue='4'/><SplinePositionInterpolator DEF='V' keyValue='4 4 4'/>";
    std::string const proto =
        "<ProtoDeclare name='Q'><ProtoInterface><field name='a' type='MFRotation' value='0 0 1 4'/></ProtoInterface><ProtoBody>"
        "<OrientationInterpolator DEF='O'><IS><connect nodeField='keyValue' protoField='a'/></IS></OrientationInterpolator></ProtoBody></ProtoDeclare>";
    Folder const folder;
    folder.add(
        "plain.x3d",
        "<X3D><head><unit category='angle' conversionFactor='0'/><unit category='length' conversionFactor='x'/></head><Scene>"
            + nodes + "</Scene></X3D>");
    folder.add("protos.x3d", x3d(proto));
    std::string const file = folder.add(
        "scene.x3d",
        "<X3D>" + units + "<Scene>" + nodes
            + "<Inline DEF='I' url='\"plain.x3d\"'/><ExternProtoDeclare name='Q' url='\"protos.x3d#Q\"'/>"
              "<ProtoInstance name='Q' DEF='A'/><ProtoInstance name='Q' DEF='B'><fieldValue name='a' value='0 0 1 4'/></ProtoInstance></Scene></X3D>");
    std::ostringstream out;
    Diagnostics diagnostics(out);
    loadPool("");
    auto const scene = readScene(file, {}, diagnostics);
    EXPECT_EQ(out.str(), "");
    auto const value = [&](char const* node) { return fieldOf(*scene->find(node), "keyValue")->getValueAsStr(); };
    for (auto const& [node, expected] : {std::pair{"O", "0 0 2 0.5 1 0 0 -1.5"},
                                         {"P", "2 4 8"},
                                         {"C", "2 4 8 16"},
                                         {"N", "0 0 1"},
                                         {"S", "4"},
                                         {"V", "8 8 8"},
                                         {"I/O", "0 0 2 1 1 0 0 -3"},
                                         {"I/P", "1 2 4"},
                                         {"A/O", "0 0 1 4"},
                                         {"B/O", "0 0 1 2"}})
        EXPECT_EQ(value(node), expected) << node;
}

TEST(Reader, KeepsWhatNoNodeHas)
{
    // Names that stand in metadata first, fields of a PROTO that IS nothing, and what could not be read.
    ReadScene read(
        R"(<MetadataSet DEF='Selection'><Group DEF='Chosen'/><PositionInterpolator DEF='Path'/></MetadataSet><Group><Group USE='Chosen'/></Group>
      <ProtoDeclare name='Inner'><ProtoInterface><field name='kept' type='SFVec3f' accessType='inputOutput' value='1 2 3'/></ProtoInterface>
        <ProtoBody><Group/></ProtoBody></ProtoDeclare>
      <ProtoDeclare name='Store'><ProtoInterface><field name='place' type='SFVec3f' accessType='inputOutput'/><field name='node' type='SFNode' accessType='inputOutput'/></ProtoInterface>
        <ProtoBody><ProtoInstance name='Inner' DEF='In'><IS><connect nodeField='kept' protoField='place'/></IS></ProtoInstance></ProtoBody></ProtoDeclare>
      <ProtoInstance name='Store' DEF='S'/><ProtoInstance name='Inner' DEF='T'/><Transform DEF='Ball'/>
      <ROUTE fromNode='Path' fromField='value_changed' toNode='S' toField='set_place'/>
      <ROUTE fromNode='S' fromField='place_changed' toNode='Ball' toField='translation'/>
      <ROUTE fromNode='T' fromField='kept' toNode='Ball' toField='center'/><ROUTE fromNode='S' fromField='node' toNode='Ball' toField='children'/>)");
    EXPECT_EQ(read.messages(), "");
    EXPECT_EQ(read.routes(), "Path.value_changed>S/In.kept S/In.kept>Ball.translation T.kept>Ball.center ");
    EXPECT_EQ(read.scene->field(read.node("T"), "kept", Node::asInput)->getValueAsStr(), "1 2 3");

    ReadScene unread(
        "<ExternProtoDeclare name='E' url='\"none.x3d#E\"'><field name='f' type='SFFloat' accessType='inputOnly'/></ExternProtoDeclare><ProtoInstance name='E' DEF='I'/>"
        "<ScalarInterpolator DEF='S'/><ROUTE fromNode='S' fromField='value_changed' toNode='I' toField='f'/>");
    EXPECT_EQ(unread.messages(), "scene.x3d:3:1: warning: none.x3d: cannot open: No such file or directory\n");
    EXPECT_EQ(unread.routes(), "S.value_changed>I.f ");
}

} // namespace
} // namespace Zelvan::play::test
