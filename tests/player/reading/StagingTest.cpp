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
        folder.add("dot.txt", "dot");
        folder.add("big.png", "\x89PNG" + std::string(Staging::mostPictureBytes, 'x'));
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
    };
    for (
        Case const& c : {
            Case{"<Transform translation='1 2 3'><Shape containerField='children'><Box/></Shape></Transform>",
                 "Transform { translation 1 2 3 children Shape { geometry Box { } } }",
                 "Transform translation=1 2 3 [Shape [Box]]"},
            // Nothing of what is run, sounds or leads elsewhere.
            Case{"<TimeSensor DEF='T'/><Script url='\"x\"'/><Sound/><Anchor url='\"x\"'/>",
                 "DEF T TimeSensor { } Script { url \"x\" } Sound { } Anchor { url \"x\" }", "Anchor"},
            Case{"<Viewpoint description='a \"b\"'/>", "Viewpoint { description \"a \\\"b\\\"\" }",
                 "Viewpoint description=a \"b\""},
            Case{"<Group DEF='G'/><Group USE='G'/>", "DEF G Group { } USE G", "Group =Group"},
            Case{"<Inline url='\"part.x3d\"'/><Inline url='\"none.x3d\"'/>",
                 "Inline { url \"part.x3d\" } Inline { url \"none.x3d\" }", "Group [Group [Sphere radius=2]]"},
            // The first node of a body is what is drawn, with what the instance gives it; a name of the instance is its.
            Case{
                "<ProtoDeclare name='P'><ProtoInterface><field name='at' type='SFVec3f' value='0 0 1' accessType='inputOutput'/>"
                "<field name='of' type='MFNode' accessType='inputOutput'/></ProtoInterface><ProtoBody><Transform><IS><connect nodeField='translation' protoField='at'/>"
                "<connect nodeField='children' protoField='of'/></IS></Transform><Group/></ProtoBody></ProtoDeclare>"
                "<ProtoDeclare name='Q'><ProtoInterface><field name='is' type='SFVec3f' value='0 2 0' accessType='inputOutput'/></ProtoInterface>"
                "<ProtoBody><ProtoInstance name='P'><IS><connect nodeField='at' protoField='is'/></IS></ProtoInstance></ProtoBody></ProtoDeclare>"
                "<ProtoInstance name='P'><fieldValue name='of'><Shape/><Shape/></fieldValue></ProtoInstance>"
                "<Group><ProtoInstance name='Q' DEF='D'/></Group><ProtoInstance USE='D'/>",
                "PROTO P [ exposedField SFVec3f at 0 0 1 exposedField MFNode of [ ] ] { Transform { translation IS at children IS of } Group { } } "
                "PROTO Q [ exposedField SFVec3f is 0 2 0 ] { P { at IS is } } "
                "P { of [ Shape { } Shape { } ] } Group { children DEF D Q { } } USE D",
                "Transform translation=0 0 1 [Shape Shape] Group [Transform translation=0 2 0] =Transform"},
        }) {
        Staged const xml(x3d(c.xml), "scene.x3d"), classic(std::string("#VRML V2.0 utf8\n") + c.classic, "scene.wrl");
        std::string drawn = below(xml.staging, Staging::root), other = below(classic.staging, Staging::root);
        for (char const* const field : {"children:", "geometry:"}) // which XML need not name
            for (std::string* const text : {&drawn, &other})
                for (auto at = text->find(field); at != text->npos; at = text->find(field))
                    text->erase(at, std::string_view(field).size());
        EXPECT_EQ(drawn, c.drawn);
        EXPECT_EQ(other, c.drawn);
    }
}

TEST(Staging, TakesPicturesOfTheFolderAlong)
{
    struct Case {
        char const* urls;
        char const* drawn;
        char const* left;
    };
    for (Case const& c :
         {Case{"\"none.png\" \"dot.png\"",
               "ImageTexture url=data:image/png;base64,iVBORyBkb3Q= ImageTexture url=data:image/png;base64,iVBORyBkb3Q=", ""},
          Case{"\"data:image/gif;base64,AA==\"",
               "ImageTexture url=data:image/gif;base64,AA== ImageTexture url=data:image/gif;base64,AA==", ""},
          Case{"\"../dot.png\"", "ImageTexture ImageTexture", "lies outside"},
          Case{"\"http://example.invalid/a.png\"", "ImageTexture ImageTexture", "nothing is fetched"},
          Case{"\"dot.txt\"", "ImageTexture ImageTexture", "is no PNG"},
          Case{"\"big.png\"", "ImageTexture ImageTexture", "more than pictures may be in all"}}) {
        std::string const texture = std::string("<ImageTexture url='") + c.urls + "'/>";
        Staged const staged(x3d(texture + texture), "scene.x3d");
        EXPECT_EQ(below(staged.staging, Staging::root), c.drawn);
        EXPECT_EQ(staged.staging.left.size(), c.left[0] != '\0') << c.urls;
        for (std::string const& sentence : staged.staging.left)
            EXPECT_THAT(sentence, HasSubstr(c.left));
        EXPECT_LE(staged.staging.pictures.size(), 1u) << "each picture once";
    }
}

TEST(Staging, SaysOnceWhatIsLeftOutAndCountsTheRest)
{
    std::string text;
    for (int i = 0; i < 25; ++i)
        text += times(2, "<ProtoInstance name='P" + std::to_string(i) + "'/>");
    Staged const staged(x3d(text), "scene.x3d");
    EXPECT_EQ(staged.staging.left.size(), 20u);
    EXPECT_EQ(staged.staging.left.back(), "the PROTO P19 is not known");
    EXPECT_EQ(staged.staging.leftBesides, 5u);
}

TEST(Staging, EndsWhereItBecomesTooLarge)
{
    ReadLimits limits;
    limits.expanded = 100'000'000; // which ends it earlier
    std::string const text = "<ProtoDeclare name='P'><ProtoBody><WorldInfo title='" + std::string(std::size_t(1) << 20, 'x')
        + "'/></ProtoBody></ProtoDeclare>" + times(100, "<ProtoInstance name='P'/>");
    try {
        Staged const staged(x3d(text), "scene.x3d", limits);
        FAIL() << staged.staging.nodes.size() << " nodes";
    } catch (Failure const& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("larger than 64 MB"));
    }
}

} // namespace
} // namespace Zelvan::play::test
