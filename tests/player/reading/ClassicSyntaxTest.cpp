#include "player/reading/ClassicSyntax.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace Zelvan::play::test {
namespace {

/// "line:column" of an offset; in the first line the column alone.
std::string place(std::string_view text, std::size_t offset)
{
    auto const before = text.substr(0, offset);
    auto const line = std::ranges::count(before, '\n') + 1;
    return (line == 1 ? "" : std::to_string(line) + ':') + std::to_string(offset - (before.rfind('\n') + 1) + 1);
}

/// Type@place name=value@place ... (children); lists of strings as they stand, in their quotes.
std::string print(Element const& element, std::string_view text)
{
    std::string out = (element.name().empty() ? "?" : std::string(element.name())) + '@' + place(text, element.offset);
    for (Attribute const& attribute : attributes(element)) {
        EXPECT_EQ(attribute.value().data()[attribute.value().size()], '\0') << attribute.name();
        out += ' ' + std::string(attribute.name()) + '=' + std::string(attribute.value()) + '@' + place(text, attribute.offset);
    }
    std::string children;
    for (Element const& child : Children(element))
        children += (children.empty() ? "" : ", ") + print(child, text);
    return out + (children.empty() ? "" : " (" + children + ')');
}

struct Read {
    explicit Read(std::string_view from, ReadLimits const& limits = {}) : text(from), tree(limits)
    {
        try {
            readClassic(text.data(), text.size(), tree);
            result = print(*tree.root(), from);
        } catch (SyntaxError const& error) {
            result = place(from, error.offset) + ": " + error.what();
            if (error.beginning != SyntaxError::none)
                result += "; begun " + place(from, error.beginning);
        }
    }
    std::string text;
    ElementTree tree;
    std::string result;
};

struct Row {
    char const* text;
    char const* result;
};
void expectRows(std::vector<Row> const& rows)
{
    for (auto const& [text, result] : rows)
        EXPECT_EQ(Read(text).result, result) << text;
}

TEST(ClassicSyntax, IsATreeWithPlaces)
{
    expectRows(
        {
            {"DEF Top Transform { translation 1 2 3 children [ Shape { } USE X ] }",
             "X3D@1 (Scene@1 (Transform@1 DEF=Top@5 translation=1 2 3@33 (Shape@50 containerField=children@39, ?@60 containerField=children@39 USE=X@64)))"},
            {"Transform{translation 1 2 3}Transform{translation[1,2,3,]children Shape{}}",
             "X3D@1 (Scene@1 (Transform@1 translation=1 2 3@23, Transform@29 translation=1,2,3@51 (Shape@67 containerField=children@58)))"},
            {"Shape { appearance Appearance { material NULL } geometry DEF B Box { size 1. +.5 .5e-3 } }",
             "X3D@1 (Scene@1 (Shape@1 (Appearance@20 containerField=appearance@9, Box@58 DEF=B@62 containerField=geometry@49 size=1. +.5 .5e-3@75)))"},
            {"Group { children [ ] metadata NULL } Group { children USE A}",
             "X3D@1 (Scene@1 (Group@1 children=@20, Group@38 (?@55 containerField=children@46 USE=A@59)))"},
            {"X { a 0xFF 0X1f -0x10 0x0, 0xFFFFFFFF 0x1FFFFFFFFF b TRUE c [ true FALSE] d \"s\\\"\\\\\" e[\"a\",\"b\"\"c\"]f 1}",
             "X3D@1 (Scene@1 (X@1 a=255  31   -16   0  , 4294967295 0x1FFFFFFFFF@7 b=true@54 c=true false@63 d=\"s\\\"\\\\\"@77 e=\"a\",\"b\"\"c\"@87 f=1@100))"},
            {"X { a [ 1#INF\n 3 ] b [ \"#a\" # ]\n\"b\" ] c [ TRUE # x\n FALSE ] d [ #\n ] e 1 #\n 3 }",
             "X3D@1 (Scene@1 (X@1 a=1    \n 3@9 b=\"#a\"    \n\"b\"@2:10 c=true    \n false@3:11 d=@5:2 e=1  \n 3@5:6))"},
            {"X { a nan -inf 1.#QNAN00 2 b -1.#IND\t1e5 enabled TRUE e 1 e 2 info 3 E5 4 f nan(1) g Infinity }",
             "X3D@1 (Scene@1 (X@1 a=nan -inf 1.#QNAN00 2@7 b=-1.#IND\t1e5@30 enabled=true@50 e=1@57 e=2@61 info=3@68 E5=4@73 f=nan(1)@77 g=Infinity@86))"},
            {"X { a [ 1.5f 0.5f 1x5 0x1g -2e+05 1e-5 1-2 -- ] }",
             "X3D@1 (Scene@1 (X@1 a=1.5f 0.5f 1x5 0x1g -2e+05 1e-5 1-2 --@9))"},
            {"PROTO P [ inputOutput SFVec3f a 1 2 3 field MFNode n [ Box { } ] eventIn SFBool b exposedField SFNode m NULL ] { Transform { translation IS a b IS b } ROUTE A.b TO C.d }",
             "X3D@1 (Scene@1 (ProtoDeclare@1 name=P@7 (ProtoInterface@9 (field@11 name=a@31 type=SFVec3f@23 accessType=inputOutput@11 value=1 2 3@33, field@39 name=n@52 type=MFNode@45 accessType=initializeOnly@39 (Box@56), field@66 name=b@81 type=SFBool@74 accessType=inputOnly@66, field@83 name=m@103 type=SFNode@96 accessType=inputOutput@83), ProtoBody@112 (Transform@114 (IS@126 (connect@126 nodeField=translation@126 protoField=a@141, connect@143 nodeField=b@143 protoField=b@148)), ROUTE@152 fromNode=A@158 fromField=b@160 toNode=C@165 toField=d@167))))"},
            {"PROTO P [ ] { PROTO Q [ ] { P { } Q { } } Q { } } Q { } DEF I P { a 4 5 n Cone { } } P { n [ Box { } USE B ] a IS c }",
             "X3D@1 (Scene@1 (ProtoDeclare@1 name=P@7 (ProtoInterface@9, ProtoBody@13 (ProtoDeclare@15 name=Q@21 (ProtoInterface@23, ProtoBody@27 (P@29, Q@35)), ProtoInstance@43 name=Q@43)), Q@51, ProtoInstance@57 name=P@63 DEF=I@61 (fieldValue@67 name=a@67 value=4 5@69, fieldValue@73 name=n@73 (Cone@75)), ProtoInstance@86 name=P@86 (fieldValue@90 name=n@90 (Box@94, ?@102 USE=B@106), IS@110 (connect@110 nodeField=a@110 protoField=c@115))))"},
            {"EXTERNPROTO E [ field SFFloat a eventOut SFBool b exposedField SFInt32 c 1 ] \"a.wrl#E\" E { a 1 } EXTERNPROTO F [ ] [ \"x\" \"y\" ]F { }",
             "X3D@1 (Scene@1 (ExternProtoDeclare@1 name=E@13 url=\"a.wrl#E\"@78 (field@17 name=a@31 type=SFFloat@23 accessType=initializeOnly@17, field@33 name=b@49 type=SFBool@42 accessType=outputOnly@33, field@51 name=c@72 type=SFInt32@64 accessType=inputOutput@51 value=1@74), ProtoInstance@88 name=E@88 (fieldValue@92 name=a@92 value=1@94), ExternProtoDeclare@98 name=F@110 url=\"x\" \"y\"@118, ProtoInstance@127 name=F@127))"},
            {"ROUTE A.x TO B.set_y ROUTE Box.001.x TO B . y Group { ROUTE A .x TO B. y children [ ROUTE a.b TO c.d ] }",
             "X3D@1 (Scene@1 (ROUTE@1 fromNode=A@7 fromField=x@9 toNode=B@14 toField=set_y@16, ROUTE@22 fromNode=Box.001@28 fromField=x@36 toNode=B@41 toField=y@45, Group@47 (ROUTE@55 fromNode=A@61 fromField=x@64 toNode=B@69 toField=y@72, ROUTE@85 fromNode=a@91 fromField=b@93 toNode=c@98 toField=d@100)))"},
            {"DEF S Script { field SFFloat f 1 field SFNode n USE X field MFNode m [ USE A USE B ] eventIn SFBool i eventOut SFTime o IS t url \"javascript: // [ { #\n function f() { a = \\\"x\\\" }\" field 1 }",
             "X3D@1 (Scene@1 (Script@1 DEF=S@5 url=\"javascript: // [ { #\n function f() { a = \\\"x\\\" }\"@130 field=1@2:36 (field@16 name=f@30 type=SFFloat@22 accessType=initializeOnly@16 value=1@32, field@34 name=n@47 type=SFNode@40 accessType=initializeOnly@34 (?@49 USE=X@53), field@55 name=m@68 type=MFNode@61 accessType=initializeOnly@55 (?@72 USE=A@76, ?@78 USE=B@82), field@86 name=i@101 type=SFBool@94 accessType=inputOnly@86, field@103 name=o@119 type=SFTime@112 accessType=outputOnly@103, IS@119 (connect@119 nodeField=o@119 protoField=t@124))))"},
            {"PROFILE Full COMPONENT Geo:2 COMPONENT H : 1 META \"a\\\"b\" \"c\\\\\" UNIT angle degree 0.0174 Group { } META \"late\" \"x\"",
             "X3D@1 profile=Full@9 (head@14 (component@14 name=Geo@24 level=2@28, component@30 name=H@40 level=1@44, meta@46 name=a\"b@52 content=c\\@59, unit@64 category=angle@69 name=degree@75 conversionFactor=0.0174@82), Scene@89 (Group@89, meta@99 name=late@105 content=x@112))"},
            {"Inline { } IMPORT I.n AS m IMPORT I.n EXPORT A AS B EXPORT C",
             "X3D@1 (Scene@1 (Inline@1, IMPORT@12 inlineDEF=I@19 importedDEF=n@21 AS=m@26, IMPORT@28 inlineDEF=I@35 importedDEF=n@37, EXPORT@39 localDEF=A@46 AS=B@51, EXPORT@53 localDEF=C@60))"},
            {"LOD { level [ Box { } ] level_changed 1 } Switch { choice Box { } } Collision { collide FALSE proxy Box { } } Other { level 1 }",
             "X3D@1 (Scene@1 (LOD@1 level_changed=1@39 (Box@15 containerField=children@7), Switch@43 (Box@59 containerField=children@52), Collision@69 enabled=false@89 (Box@101 containerField=proxy@95), Other@111 level=1@125))"},
            {"PROTO LOD [ field MFNode level [ ] ] { Group { children IS level } } LOD { level [ ] }",
             "X3D@1 (Scene@1 (ProtoDeclare@1 name=LOD@7 (ProtoInterface@11 (field@13 name=level@26 type=MFNode@19 accessType=initializeOnly@13 value=@34), ProtoBody@38 (Group@40 (IS@48 (connect@48 nodeField=children@48 protoField=level@60)))), ProtoInstance@70 name=LOD@70 (fieldValue@76 name=level@76 value=@84)))"},
            {"DEF ä-b:c.d Gr'oup+ { } DEF \"1 st\" _X{s\"a\"} \x1a",
             "X3D@1 (Scene@1 (Gr'oup+@1 DEF=ä-b:c.d@5, _X@26 DEF=1 st@31 s=\"a\"@41))"},
            {"\xef\xbb\xbf#X3D V3.3 utf8\r\nGroup { }\rGroup{}#end", "X3D@1 (Scene@2:1 (Group@2:1, Group@2:11))"},
            {"#VRML Draft #2 V2.0 utf8\nGroup{}", "X3D@1 (Scene@2:1 (Group@2:1))"},
            {"", "X3D@1 (Scene@1)"},
        });
}

TEST(ClassicSyntax, SaysWhereItEndsAndWhy)
{
    expectRows({
        {"Transform { translation 1 2", "28: expected a field or \"}\", found the end of the file; begun 11"},
        {"Group {\n children [\n Box { }\n }\n]", "4:2: expected a node or \"]\", found \"}\"; begun 2:11"},
        {"Transform { translation [ 1 2\n rotation 0 0 1 0 }", "2:2: expected a number or \"]\", found \"rotation\"; begun 25"},
        {"X { url \"abc }\n", "2:1: expected the string's closing quote, found the end of the file; begun 9"},
        {"X { url \"abc\\", "14: expected the string's closing quote, found the end of the file; begun 9"},
        {"X { a [ \"x\" 1 ] }", "13: expected a string or \"]\", found \"1\"; begun 7"},
        {"X { a [ TRUE 1 ] }", "14: expected TRUE, FALSE or \"]\", found \"1\"; begun 7"},
        {"X { a [ 1 \"x\" ] }", "11: expected a number or \"]\", found a string; begun 7"},
        {"X { a [[ ] }", "8: expected a value of \"a\" or \"]\", found \"[\"; begun 7"},
        {"X { a }", "7: expected a value of \"a\", found \"}\""},
        {"X { a ON 1 }", "7: expected a value of \"a\", found \"ON\" without a \"{\""},
        {"X { a TRUE 2 }", "12: expected a field or \"}\", found \"2\"; begun 3"},
        {"X { a [ NULL DEF B B { } 1 ] }", "26: expected a value of \"a\", found \"1\" without a \"{\""},
        {"PROTO P [ ] { } P { DEF A B { } }", "21: expected a field or \"}\", found \"DEF\"; begun 19"},
        {"PROTO P [ ] { } P { B { } }", "21: expected a field or \"}\", found \"B\"; begun 19"},
        {"X { a IS }", "10: expected a field of the PROTO behind IS, found \"}\""},
        {"Group { } [", "11: expected a node or a statement, found \"[\""},
        {"Group", "1: expected a node, found \"Group\" without a \"{\""},
        {"\"text\"", "1: expected a node or a statement, found a string"},
        {"DEF { }", "5: expected a name behind DEF, found \"{\""},
        {"DEF \"\" Group { }", "5: expected a name behind DEF, found an empty string"},
        {"DEF A USE B", "7: expected a node, found \"USE\" without a \"{\""},
        {"USE", "4: expected a name behind USE, found the end of the file"},
        {"PROTO P { }", "9: expected \"[\" before the interface of \"P\", found \"{\""},
        {"PROTO P [ SFVec3f a 1 ] { }", "11: expected the access of a field or \"]\", found \"SFVec3f\"; begun 9"},
        {"PROTO P [ field SFBool ] { }", "24: expected a field's name, found \"]\""},
        {"PROTO P [ field SFBool a 1 2 eventIn ] { }", "38: expected a field's type, found \"]\""},
        {"PROTO P [ eventIn SFBool a TRUE ] { }", "28: expected the access of a field or \"]\", found \"TRUE\"; begun 9"},
        {"PROTO P [ ] Group { }", "13: expected \"{\" before the body of \"P\", found \"Group\""},
        {"PROTO P [ ] { Group { }", "24: expected a node or \"}\", found the end of the file; begun 13"},
        {"EXTERNPROTO E [ ] [ ] EXTERNPROTO F [ ] [ 1 ]", "43: expected the urls of \"F\", found \"1\""},
        {"ROUTE A TO B.c", "9: expected a node and its field, as in \"Node.field\", found \"TO\""},
        {"ROUTE A.b B.c", "11: expected \"TO\" in a ROUTE, found \"B.c\""},
        {"ROUTE A.b TO B.", "16: expected a node and its field, as in \"Node.field\", found the end of the file"},
        {"META \"a\" b", "10: expected a string, found \"b\""},
        {"COMPONENT Core", "15: expected a component and its level, as in \"Core:1\", found the end of the file"},
        {"UNIT angle", "11: expected a category, a unit's name and its factor, found the end of the file"},
        {"PROFILE {", "9: expected the name of a profile, found \"{\""},
        {"IMPORT A AS B", "10: expected an Inline and its node, as in \"Inline.node\", found \"AS\""},
        {"aääääääääääääääääääääääääääääääää", "1: expected a node, found \"aäääääääääääääääääää...\" without a \"{\""},
        {"ääääääääääääääääääää", "1: expected a node, found \"ääääääääääääääääääää\" without a \"{\""},
    });
}

TEST(ClassicSyntax, KeepsItsOwnCommentsWithTheirPlaces)
{
    std::string const text = "#VRML V2.0 utf8\n# zelvan: ignore a\r#b\nX { a [ 1 #zelvan: c \n 2 ] } # zelvan:";
    Read const read(text);
    std::string comments;
    for (auto const& [comment, offset] : read.tree.comments())
        comments += std::string(comment) + '@' + place(text, offset) + ' ';
    EXPECT_EQ(comments, "zelvan: ignore a@2:3 zelvan: c@3:12 zelvan:@4:10 ");
}

TEST(ClassicSyntax, HasLimits)
{
    auto const repeated = [](unsigned n, std::string const& text) {
        std::string all;
        while (n-- > 0)
            all += text;
        return all;
    };
    ReadLimits const limits{.depth = 9, .elements = 30};
    EXPECT_TRUE(Read(repeated(7, "G { c ") + "USE A" + repeated(7, "}"), limits)
                    .result.ends_with("?@43 containerField=c@41 USE=A@47)))))))))"));
    EXPECT_EQ(Read(repeated(101, "]")).tree.oddities().size(), 100u);
    for (auto const& [text, result] : std::vector<std::pair<std::string, std::string>>{
             {repeated(99'999, "G { c ["), "57: nested deeper than 9 elements (--max-depth raises the limit)"},
             {repeated(99'999, "PROTO P [ ] { "), "57: nested deeper"},
             {repeated(29, "G { }"), "141: more than 30 elements (--max-elements raises the limit)"},
             {"G { " + repeated(121, "a 1 "), "487: more than 120 attributes (--max-elements raises the limit)"}})
        EXPECT_TRUE(Read(text, limits).result.starts_with(result)) << Read(text, limits).result;
}

// Whatever is left of a file, it is refused at its end or has lost nothing but what was cut off.
TEST(ClassicSyntax, CutAnywhereItIsReadOrRefused)
{
    std::string const whole =
        "#X3D V3.0 utf8\nPROFILE A META \"a\" \"b\" PROTO P [ field MFString s [ \"x\" ] ] { Script { url IS s field SFNode n X { } } }"
        "\nDEF I P { s \"y\" } ROUTE I.a TO I.b G { c [ USE I, T { b TRUE n [ 0x1F 2 #\n 3 ] } ] } EXTERNPROTO E [ ] [ \"u\" ] ";
    std::string complete;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        if (length != whole.size() && whole[length] != ' ')
            continue;
        std::string const result = Read(whole.substr(0, length)).result;
        if (result.starts_with("X3D"))
            complete += std::to_string(length) + ' ';
        else
            EXPECT_TRUE(result.ends_with("without a \"{\"") || result.find("found the end of the file") != result.npos)
                << result;
    }
    EXPECT_EQ(complete, "4 9 24 37 137 154 204 230 231 ");
}

} // namespace
} // namespace Zelvan::play::test
