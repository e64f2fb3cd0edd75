#include "player/reading/Staging.h"
#include "tests/player/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;

/// "Transform translation=1 2 3 [Shape]" of what is drawn below a node; of one more use "=Transform".
std::string below(Staging const& staging, std::uint32_t parent)
{
    std::string text;
    for (std::uint32_t i = 0; i < staging.nodes.size(); ++i) {
        Staging::Drawn const& node = staging.nodes[i];
        if (node.parent != parent)
            continue;
        text += (text.empty() ? "" : " ") + (node.field.empty() ? "" : node.field + ':')
            + (node.use == Staging::nowhere ? node.type : '=' + staging.nodes[node.use].type);
        for (Staging::Attribute const& attribute : node.attributes)
            text += ' ' + attribute.name + '='
                + (attribute.picture == Staging::nowhere ? attribute.value : staging.pictures[attribute.picture]);
        if (std::string const inside = below(staging, i); !inside.empty())
            text += " [" + inside + ']';
    }
    return text;
}

struct Staged {
    Staged(std::string const& text, std::string const& name, ReadLimits const& limits = {})
    {
        loadPool("");
        folder.add("part.x3d", x3d("<Group><Sphere radius='2'/></Group>"));
        folder.add("dot.png", "\x89PNG dot");
        folder.add("dot.txt", "RIFF1234WAVE");
        folder.add("dot.webp", "RIFF1234WEBPVP8 ");
        std::filesystem::resize_file(folder.add("big.png", "\x89PNG"), Staging::mostPictureBytes);
        std::ostringstream out;
        Diagnostics diagnostics(out);
        scene = readScene(folder.add(name, text), limits, diagnostics, &staging);
    }
    Folder folder;
    Staging staging;
    std::unique_ptr<Scene> scene;
};

TEST(Staging, KeepsWhatIsDrawnWhateverTheSyntax)
{
    struct Case {
        char const* xml;
        char const* classic;
        char const* drawn;
        char const* left = "";
    };
    for (
        Case const& c : {
            Case{"<Transform translation='1 2 3'><Shape containerField='children'><Box/></Shape></Transform>",
                 "Transform { translation 1 2 3 children Shape { geometry Box { } } }",
                 "Transform translation=1 2 3 [Shape [Box]]"},
            // Nothing of what is run, sounds or leads elsewhere.
            Case{
                "<TimeSensor DEF='T'/><Script url='\"x\"'/><Sound/><Anchor url='\"x\"' src='\"x\"' href='\"x\"' anyUrl='\"x\"'/>"
                "<PositionChaser/><PositionDamper/><TexCoordDamper2D/><PositionChaser2D/><BooleanSequencer/><IntegerTrigger/>"
                "<GeoPositionInterpolator/><BooleanToggle/>",
                "DEF T TimeSensor { } Script { url \"x\" } Sound { } Anchor { url \"x\" src \"x\" href \"x\" anyUrl \"x\" } "
                "PositionChaser { } PositionDamper { } TexCoordDamper2D { } PositionChaser2D { } BooleanSequencer { } IntegerTrigger { } "
                "GeoPositionInterpolator { } BooleanToggle { }",
                "Anchor", "Sound is left out"},
            Case{
                "<Viewpoint description='a \"b\"'/><TextureCoordinateGenerator mode='SPHERE'/><MultiTexture mode='\"ADD\" \"MODULATE\"'/>",
                "Viewpoint { description \"a \\\"b\\\"\" } TextureCoordinateGenerator { mode \"SPHERE\" } "
                "MultiTexture { mode [ \"ADD\" \"MODULATE\" ] }",
                "Viewpoint description=a \"b\" TextureCoordinateGenerator mode=SPHERE MultiTexture mode=\"ADD\" \"MODULATE\""},
            Case{"<Group DEF='G'/><Group USE='G'/>", "DEF G Group { } USE G", "Group =Group"},
            Case{"<Inline url='\"part.x3d\"'/><Inline url='\"none.x3d\"'/>",
                 "Inline { url \"part.x3d\" } Inline { url \"none.x3d\" }", "Group [Group [Sphere radius=2]]",
                 "an Inline was not there to be drawn: \"none.x3d\""},
            // The first node of a body is what is drawn, with what the instance gives it; a name of the instance is its.
            Case{
                "<ProtoDeclare name='P'><ProtoInterface><field name='at' type='SFVec3f' value='0 0 1' accessType='inputOutput'/>"
                "<field name='of' type='MFNode' accessType='inputOutput'/></ProtoInterface><ProtoBody><Transform><IS><connect nodeField='translation' protoField='at'/>"
                "<connect nodeField='children' protoField='of'/></IS></Transform><Group/></ProtoBody></ProtoDeclare>"
                "<ProtoDeclare name='Q'><ProtoInterface><field name='is' type='SFVec3f' value='0 2 0' accessType='inputOutput'/></ProtoInterface>"
                "<ProtoBody><ProtoInstance name='P'><IS><connect nodeField='at' protoField='is'/></IS></ProtoInstance></ProtoBody></ProtoDeclare>"
                "<ProtoInstance name='P'><fieldValue name='of'><Shape/><Shape/></fieldValue></ProtoInstance>"
                "<Group><ProtoInstance name='Q' DEF='D'/></Group><ProtoInstance USE='D'/>"
                "<ProtoDeclare name='S'><ProtoInterface><field name='one' type='SFString' value='a' accessType='inputOutput'/>"
                "<field name='all' type='MFString' value='\"x\" \"y\"' accessType='inputOutput'/></ProtoInterface><ProtoBody><Viewpoint><IS>"
                "<connect nodeField='description' protoField='one'/></IS><Text containerField='children'><IS><connect nodeField='string' protoField='all'/></IS></Text>"
                "</Viewpoint></ProtoBody></ProtoDeclare><ProtoInstance name='S'/>"
                "<ProtoDeclare name='I'><ProtoBody><Inline url='\"part.x3d\"'/></ProtoBody></ProtoDeclare>"
                "<ProtoInstance name='I' DEF='J'/><ProtoInstance USE='J'/>",
                "PROTO P [ exposedField SFVec3f at 0 0 1 exposedField MFNode of [ ] ] { Transform { translation IS at children IS of } Group { } } "
                "PROTO Q [ exposedField SFVec3f is 0 2 0 ] { P { at IS is } } "
                "P { of [ Shape { } Shape { } ] } Group { children DEF D Q { } } USE D "
                "PROTO S [ exposedField SFString one \"a\" exposedField MFString all [ \"x\" \"y\" ] ] "
                "{ Viewpoint { description IS one children Text { string IS all } } } S { } "
                "PROTO I [ ] { Inline { url \"part.x3d\" } } DEF J I { } USE J",
                "Transform translation=0 0 1 [Shape Shape] Group [Transform translation=0 2 0] =Transform "
                "Viewpoint description=a [Text string=\"x\" \"y\"] Group [Group [Sphere radius=2]] =Group"},
        }) {
        Staged const xml(x3d(c.xml), "scene.x3d"), classic(std::string("#VRML V2.0 utf8\n") + c.classic, "scene.wrl");
        std::string drawn = below(xml.staging, Staging::root), other = below(classic.staging, Staging::root);
        for (char const* const field : {"children:", "geometry:"}) // which XML need not name
            for (std::string* const text : {&drawn, &other})
                for (auto at = text->find(field); at != text->npos; at = text->find(field))
                    text->erase(at, std::string_view(field).size());
        EXPECT_EQ(drawn, c.drawn);
        EXPECT_EQ(other, c.drawn);
        std::vector<std::string> left;
        if (c.left[0] != '\0')
            left.emplace_back(c.left);
        EXPECT_EQ(xml.staging.left, left);
        EXPECT_EQ(classic.staging.left, left);
    }
}

TEST(Staging, TakesPicturesOfTheFolderAlong)
{
    struct Case {
        char const* urls;
        char const* drawn;
        char const* left;
    };
    auto const texture = [](std::string const& urls) { return "<ImageTexture url='" + urls + "'/>"; };
    for (Case const& c :
         {Case{"\"none.png\" \"dot.png\"", " url=data:image/png;base64,iVBORyBkb3Q=", ""},
          Case{"\"dot.webp\"", " url=data:image/webp;base64,UklGRjEyMzRXRUJQVlA4IA==", ""},
          Case{"\"data:image/gif;base64,AA==\"", " url=data:image/gif;base64,AA==", ""},
          Case{"\"../dot.png\"", "", "lies outside"}, Case{"\"http://example.invalid/a.png\"", "", "nothing is fetched"},
          Case{"\"dot.txt\"", "", "is no PNG"}}) {
        std::string nodes, drawn;
        for (std::string const type : {"ImageTexture", "ImageTexture3D", "ImageTextureAtlas"}) {
            nodes += '<' + type + " url='" + c.urls + "'/>";
            drawn += (drawn.empty() ? "" : " ") + type + c.drawn;
        }
        Staged const staged(x3d(nodes), "scene.x3d");
        EXPECT_EQ(below(staged.staging, Staging::root), drawn);
        EXPECT_EQ(staged.staging.left.size(), c.left[0] != '\0') << c.urls;
        for (std::string const& sentence : staged.staging.left)
            EXPECT_THAT(sentence, HasSubstr(c.left));
        EXPECT_LE(staged.staging.pictures.size(), 1u) << "each picture once";
    }
    // All that there is room for, and one byte more.
    std::string const data = "data:image/gif," + std::string(Staging::mostPictureBytes - 15, 'x');
    for (std::string const& whole : {std::string("\"big.png\""), data}) {
        EXPECT_EQ(Staged(x3d(texture(whole)), "scene.x3d").staging.pictures.size(), 1u);
        Staged const more(x3d(texture("\"data:image/gif,\"") + texture(whole)), "scene.x3d");
        EXPECT_EQ(more.staging.pictures.size(), 1u);
        EXPECT_EQ(more.staging.left.size(), 1u);
    }
}

TEST(Staging, SaysOnceWhatIsLeftOutAndCountsTheRest)
{
    std::string text = "<Sound/><MovieTexture/><ComposedShader/>";
    for (int i = 0; i < 25; ++i)
        text += times(2, "<ProtoInstance name='P" + std::to_string(i) + "'/>");
    Staged const staged(x3d(text), "scene.x3d");
    EXPECT_EQ(staged.staging.left.size(), 20u);
    EXPECT_EQ(staged.staging.left.back(), "the PROTO P16 is not known");
    EXPECT_EQ(staged.staging.leftBesides, 8u);
}

TEST(Staging, EndsWhereItBecomesTooLarge)
{
    ReadLimits limits;
    limits.expanded = 100'000'000; // which ends it earlier
    // A node takes 100 bytes, and what its type, its field and its attributes are.
    for (unsigned const more : {0u, 1u}) {
        std::string const text = "<ProtoDeclare name='P'><ProtoBody><WorldInfo containerField='f' title='"
            + std::string((std::size_t(1) << 20) - 115, 'x') + "'/></ProtoBody></ProtoDeclare>"
            + times(64, "<ProtoInstance name='P'/>") + times(more, "<Group/>");
        try {
            Staged const staged(x3d(text), "scene.x3d", limits);
            EXPECT_EQ(more, 0u);
            EXPECT_EQ(staged.staging.nodes.size(), 64u);
        } catch (Failure const& failure) {
            EXPECT_EQ(more, 1u);
            EXPECT_THAT(failure.what(), HasSubstr("larger than 64 MB"));
        }
    }
}

} // namespace
} // namespace Zelvan::play::test
