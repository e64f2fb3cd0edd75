#include "tests/player/Files.h"

#include <gmock/gmock.h>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
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
    EXPECT_EQ(read.routes(), "Clock.fraction_changed>Path.set_fraction Path.value_changed>Ball.translation "
                             "Ball.translation>Other.center ");
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
        char const* scene;
        char const* message; ///< the whole line, or its beginning
    };
    Case const cases[] = {
        {"<ScalarInterpolator DEF='S' key='0 1' keyValue='0 1,5x'/>",
         "scene.x3d:3:53: error: S.keyValue (MFFloat): expected a number, found \"5x\"; the field keeps its default\n"},
        {"<PositionInterpolator DEF='P' keyValue='0 0 0 1'/>",
         "scene.x3d:3:48: error: P.keyValue (MFVec3f): expected a multiple of 3 numbers, found \"4 numbers\""},
        {"<ScalarInterpolator DEF='S' keys='0 1'/>",
         "scene.x3d:3:35: warning: S: a ScalarInterpolator has no field \"keys\"; it has "},
        {"<ScalarInterpolator DEF='S' value_changed='1'/>",
         "scene.x3d:3:44: warning: S.value_changed is outputOnly and cannot be set in a file"},
        {"<TransformationInterpolator DEF='T' mode='linear'/>",
         "scene.x3d:3:43: error: T.mode (SFString): expected one of: matrix, component, found \"linear\""},
        {"<Group><ROUTE fromNode='A' fromField='x' toNode='B' toField='y'/></Group>",
         "scene.x3d:3:8: warning: ROUTE A.x TO B.y: no node has the DEF name \"A\""},
        {"<TimeSensor DEF='T'/><ScalarInterpolator DEF='S'/>"
         "<ROUTE fromNode='T' fromField='faction' toNode='S' toField='set_fraction'/>",
         "scene.x3d:3:51: warning: ROUTE T.faction TO S.set_fraction: a TimeSensor has no field \"faction\"; it has "},
        {"<TimeSensor DEF='T'/><ScalarInterpolator DEF='S'/>"
         "<ROUTE fromNode='T' fromField='time' toNode='S' toField='set_fraction'/>",
         "scene.x3d:3:51: warning: ROUTE T.time TO S.set_fraction: cannot send SFTime outputOnly to SFFloat inputOnly"},
        {"<ScalarInterpolator DEF='S' keyValue='1'/><ScalarInterpolator DEF='S' keyValue='2'/>",
         "scene.x3d:3:43: warning: DEF \"S\" is taken already; the last one counts"},
        {"<ScalarInterpolator DEF='S' key='1e-50 2' style='a' class='b' id='c' xml:lang='d'><MetadataString name='m'/>"
         "</ScalarInterpolator><Inline DEF='I' url='\"no\\\"ne.x3d\"'/>",
         "scene.x3d:3:130: warning: no\"ne.x3d: cannot open"},
        {"<Group USE='Nobody'/>", "scene.x3d:3:1: warning: USE \"Nobody\": no node before this one has that DEF name"},
        {"<ProtoInstance name='P'/>", "scene.x3d:3:1: warning: no PROTO is named \"P\""},
        {"<ProtoDeclare name='P'><ProtoBody><ProtoInstance name='P'/></ProtoBody></ProtoDeclare><ProtoInstance name='P'/>",
         "scene.x3d:3:35: error: PROTO \"P\" contains itself"},
        {"<Inline url='\"http://x/y.x3d\"'/>", "scene.x3d:3:1: warning: \"http://x/y.x3d\" is not a local file, and nothing"},
        {"<Inline url='\"../other.x3d\"'/>", "scene.x3d:3:1: warning: \"../other.x3d\" lies outside the scene's folder"},
        {"<Inline url='\"scene.x3d\"'/>", "scene.x3d:3:1: warning: \"scene.x3d\" inlines itself"},
    };
    for (Case const& c : cases)
        EXPECT_THAT(ReadScene(c.scene).messages(), StartsWith(c.message)) << c.scene;
    EXPECT_EQ(ReadScene(cases[8].scene).value("S", "keyValue"), "2");
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
    EXPECT_EQ(read.routes(), "A/T.fraction_changed>A/I/S.set_fraction B/T.fraction_changed>B/I/S.set_fraction "
                             "A/I/S.value_changed>C/S.set_fraction C/S.value_changed>Given.scaleOrientation ");
}

TEST(Reader, ReadsLocalInlinesExternProtosAndImports)
{
    Folder const folder;
    folder.add("parts/inner.x3d", x3d("<TimeSensor DEF='T'/><EXPORT localDEF='T' AS='Ticker'/><Inline url='\"../main.x3d\"'/>"));
    folder.add("parts/protos.x3d", x3d("<ProtoDeclare name='Not'><ProtoBody><Group/></ProtoBody></ProtoDeclare>"
                                       "<ProtoDeclare name='It'><ProtoInterface/><ProtoBody><ScalarInterpolator DEF='S'/>"
                                       "</ProtoBody></ProtoDeclare>"));
    std::string const file = folder.add("main.x3d", x3d(
        "<Inline DEF='In' url='\"parts/inner.x3d\"'/><IMPORT inlineDEF='In' importedDEF='Ticker' AS='Clock'/>"
        "<ExternProtoDeclare name='Mine' url='\"http://x/p.x3d#It\" \"parts/protos.x3d#It\"'/><ProtoInstance name='Mine' DEF='M'/>"
        "<ScalarInterpolator DEF='S'/><ROUTE fromNode='Clock' fromField='fraction_changed' toNode='S' toField='set_fraction'/>"));
    std::ostringstream out;
    Diagnostics diagnostics(out);
    loadPool("");
    auto const scene = readScene(file, {}, diagnostics);
    EXPECT_THAT(out.str(), HasSubstr("inlines itself")) << out.str();
    EXPECT_EQ(diagnostics.warnings(), 1u) << out.str();
    EXPECT_NE(scene->find("M/S"), nullptr);
    ASSERT_EQ(scene->routes.size(), 1u);
    EXPECT_EQ(scene->routes[0].from->name, "In/T");
}

TEST(Reader, RefusesWhatItDoesNotReadByName)
{
    struct Case {
        std::string content;
        ExitStatus status;
        char const* message;
    };
    std::string utf16 = "\xff\xfe";
    for (char const c : x3d("<ScalarInterpolator DEF='S'/>"))
        utf16 += {c, '\0'};
    Case const cases[] = {
        {"", exitScene, "expected an X3D scene, found nothing"},
        {"hello", exitScene, "expected X3D XML"},
        {"<X3D><Scene>", exitScene, "error: not well-formed XML"},
        {"<html/>", exitScene, ":1:1: error: expected an X3D scene, found <html>"},
        {"{ \"X3D\": {} }", exitScene, "X3D JSON is not read"},
        {std::string("\xe0\x00\x00\x01\x00", 5), exitScene, "binary X3D is not read"},
        {"#VRML V1.0 ascii", exitScene, "VRML 1.0 is not read"},
        {"<X3D><Scene>\n\xff</Scene></X3D>", exitScene, ":2: error: expected UTF-8 text"},
        {"<?xml version='1.0' encoding='klingon'?><X3D/>", exitScene, "unknown encoding \"KLINGON\""},
        {"\x1f\x8bxyz", exitScene, "gzip"},
        {utf16, exitFine, ""},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><!DOCTYPE X3D [<!ENTITY e 'x'>]><X3D><Scene><Group DEF='\xe4&e;'/></Scene></X3D>",
         exitFine, ""},
    };
    Folder const folder;
    for (Case const& c : cases) {
        std::ostringstream out;
        Diagnostics diagnostics(out);
        try {
            readScene(folder.add("any.txt", c.content), {}, diagnostics);
            EXPECT_EQ(c.status, exitFine) << c.content;
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
    auto const nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text += "<Group>";
        for (int i = 0; i < depth; ++i)
            text += "</Group>";
        return text;
    };
    ReadLimits limits;
    limits.depth = 20; // of which the root element and the Scene take two; the innermost holds nothing
    EXPECT_EQ(status(nested(19), limits), 0);
    EXPECT_EQ(status(nested(20), limits), exitScene);
    limits = {};
    limits.nodes = 2;
    EXPECT_EQ(status("<Group DEF='a'/><Group DEF='b'/>", limits), 0);
    EXPECT_EQ(status("<Group DEF='a'/><Group DEF='b'/><Group DEF='c'/>", limits), exitScene);
    limits = {};
    // Ten for the instance, ten for the node, one for each element, and for every 16 bytes of what is read again.
    std::string const expanded = "<ProtoDeclare name='P'><ProtoBody><ScalarInterpolator/></ProtoBody></ProtoDeclare>"
                                 "<ProtoInstance name='P'/><ProtoInstance name='P'/>";
    limits.expanded = 4;
    EXPECT_EQ(status(expanded, limits), 0);
    limits.expanded = 3;
    EXPECT_EQ(status(expanded, limits), exitScene);
    limits = {};
    EXPECT_EQ(status("<Group DEF='" + std::string(1000, 'n') + "'/>", limits), 0);
    EXPECT_EQ(status("<Group DEF='" + std::string(1001, 'n') + "'/>", limits), exitScene);
    std::string const body = "<Group/>";
    limits.bytes = x3d(body).size();
    EXPECT_EQ(status(body, limits), 0);
    --limits.bytes;
    EXPECT_EQ(status(body, limits), exitScene);
}

} // namespace
} // namespace Zelvan::play::test
