#include "tests/player/Files.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

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
         "scene.x3d:3:124: warning: IS: a ScalarInterpolator has no field \"keys\"\n"
         "scene.x3d:3:166: warning: IS: the PROTO has no field \"l\"\n"
         "scene.x3d:3:568: warning: ROUTE S.value_changed TO I.o: the PROTO instance \"I\" has no such field, or it IS nothing\n"},
        {"<ExternProtoDeclare name='E' url='\"scene.x3d\"'/>", "scene.x3d:3:1: warning: \"scene.x3d\" declares no PROTO \"E\"\n"},
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
    EXPECT_EQ(ReadScene(cases[13].scene).value("S", "keyValue"), "2");
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
        "<IMPORT inlineDEF='In' importedDEF='Nobody'/><ExternProtoDeclare name='Mine' url='\"http://x/p.x3d#It\"\"parts/protos.x3d#It\"'/><ProtoInstance name='Mine' DEF='M'/>"
        "<ScalarInterpolator DEF='S'/><ROUTE fromNode='Clock' fromField='fraction_changed' toNode='S' toField='set_fraction'/>"));
    std::ostringstream out;
    Diagnostics diagnostics(out);
    loadPool("");
    auto const scene = readScene(file, {}, diagnostics);
    EXPECT_THAT(out.str(), MatchesRegex("[^\n]*main.x3d\" inlines itself\n[^\n]*IMPORT: \"In\" has no node \"Nobody\"\n"));
    EXPECT_TRUE(scene->find("M/S") != nullptr && scene->find("Nobody")->named);
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
    std::string const vrml = std::string(200'000, ' ') + "<X3D><Scene><Group DEF='Before'/></Scene></X3D>";
    std::string utf16 = "\xff\xfe";
    for (char const c : x3d("<ScalarInterpolator DEF='S'/>"))
        utf16 += {c, '\0'};
    std::vector<Case> cases = {
        {"", exitScene, "expected an X3D scene, found nothing"},
        {"hello", exitScene, "expected X3D XML"},
        {"<X3D><Scene>", exitScene, "error: not well-formed XML"},
        {"<html/>", exitScene, ":1:1: error: expected an X3D scene, found <html>"},
        {"{ \"X3D\": {} }", exitScene, "X3D JSON is not read"},
        {std::string("\xe0\x00\x00\x01\x00", 5), exitScene, "binary X3D is not read"},
        {"#VRML V1.0 ascii", exitScene, "VRML 1.0 is not read"},
        {"<X3D><Scene>\n\xff</Scene></X3D>", exitScene, ":2: error: expected UTF-8 text"},
        {"<Scene><Group DEF='\xe0\xa0\x80\xed\x9f\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xc2\x80'/></Scene>", exitFine,
         "\xe0\xa0\x80\xed\x9f\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xc2\x80"},
        {"<?xml version='1.0' encoding='klingon'?><X3D/>", exitScene, "unknown encoding \"KLINGON\""},
        {"\x1f\x8bxyz", exitScene, "damaged gzip data"},
        {"\x1f\x8b\b" + std::string(9, '\0'), exitScene, "gzip data ends too early"},
        {utf16, exitFine, "S"},
        {"#VRML V2.0 utf8\n" + vrml, exitFine, "After"},
        {"#X3D V3.2 utf8\n" + vrml, exitFine, "After"},
        {"#X3D V3.2 utf8\n" + vrml + "bad", exitScene, "not valid ClassicVRML: tovrmlx3d could not convert it"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><!DOCTYPE X3D [<!ENTITY e 'x'>]><X3D><Scene><Group DEF='\xe4&e;'/></Scene></X3D>",
         exitFine, "\u00e4&e;"},
    };
    Folder const folder;
    // Stands for the converter: the files above have XML behind the first line, but for a name.
    std::string const converter = folder.add("tovrmlx3d", "#!/bin/sh\nsed \"1d; s/Before/After/\" \"$2\" && [ $1 = --encoding=xml ] && ! grep -q bad \"$2\"\n");
    std::string const before = std::getenv("PATH");
    ASSERT_TRUE(::chmod(converter.c_str(), 0700) == 0 && ::setenv("PATH", (folder.path(":") + before).c_str(), 1) == 0);
    for (std::string const bad : {"\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xc1\xbf", "\xc2"})
        cases.push_back({"<Scene>" + bad + "</Scene>", exitScene, ":1: error: expected UTF-8 text"});
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
    ::setenv("PATH", "/nowhere", 1);
    EXPECT_THROW(readScene(folder.add("any.wrl", "#VRML V2.0 utf8\n"), {}, diagnostics), Failure);
    ::setenv("PATH", before.c_str(), 1);
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
    limits = {};
    limits.nodes = 2;
    EXPECT_EQ(status("<Group DEF='a'/><Group DEF='b'/>", limits), 0);
    EXPECT_EQ(status("<Group DEF='a'/><Group DEF='b'/><Group DEF='c'/>", limits), exitScene);
    limits = {};
    // In tenths: 10 for the instance, a node in it, a ROUTE, an EXPORT, a field that an IS leads to, a ROUTE more by that; 5 for a connect, 2 for
    // an attribute or an interface field, 1 for an element, and for 16 bytes of a name or a value. 100, and 1 for each <a/>.
    limits.expanded = 10;
    for (auto const& [more, expected] : {std::pair(9u, 0), {10u, 1}})
        EXPECT_EQ(status("<ProtoDeclare name='P'><ProtoInterface><field name='f'/></ProtoInterface><ProtoBody><ScalarInterpolator"
                         " key='0 0 0 0 0 0'><IS><connect nodeField='set_fraction' protoField='f'/>"
                         "<connect nodeField='set_fraction' protoField='f'/></IS></ScalarInterpolator>"
                         "<ThatNobodyKnowsX/><ROUTE/><EXPORT/>" + times(more, "<a/>") + "</ProtoBody></ProtoDeclare><TimeSensor DEF='T'/>"
                         "<ProtoInstance name='P' DEF='I'/><ROUTE fromNode='T' fromField='fraction_changed' toNode='I' toField='f'/>",
                         limits), expected) << more;
    limits = {};
    EXPECT_EQ(status("<Group DEF='" + std::string(1000, 'n') + "'/>", limits), 0);
    EXPECT_EQ(status("<Group DEF='" + std::string(1001, 'n') + "'/>", limits), exitScene);
    std::string const body = "<Group/>";
    limits.bytes = x3d(body).size();
    EXPECT_EQ(status(body, limits), 0);
    --limits.bytes;
    EXPECT_EQ(status(body, limits), exitScene);
}

TEST(Reader, NeedsNoMoreStackForWhatIsNestedDeeper)
{
    static std::string scene;
    scene = "<ProtoDeclare name='P0'><ProtoInterface><field name='f' type='SFFloat'/></ProtoInterface><ProtoBody><ScalarInterpolator>"
            "<IS><connect nodeField='set_fraction' protoField='f'/></IS></ScalarInterpolator></ProtoBody></ProtoDeclare>";
    for (int i = 1; i < 2000; ++i)
        scene += "<ProtoDeclare name='P" + std::to_string(i) + "'><ProtoInterface><field name='f' type='SFFloat'/></ProtoInterface>"
            "<ProtoBody><ProtoInstance name='P" + std::to_string(i - 1) + "'><IS><connect nodeField='f' protoField='f'/></IS>"
            "</ProtoInstance></ProtoBody></ProtoDeclare>";
    scene += "<TimeSensor DEF='T'/><ProtoInstance name='P1999' DEF='I'/><ROUTE fromNode='T' fromField='fraction' toNode='I' toField='f'/>"
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

} // namespace
} // namespace Zelvan::play::test
