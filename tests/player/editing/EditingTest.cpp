#include "player/editing/Bake.h"
#include "player/editing/Fixes.h"
#include "player/editing/Proof.h"
#include "player/playing/Clock.h"
#include "tests/player/Files.h"
#include "tests/player/editing/Gzipped.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
using testing::Not;

// ---- The author's habit

struct HabitCase {
    char const* name;
    char const* text; ///< the whole file; the value begins at "@", which is taken out
    unsigned components;
    std::vector<int> kept; ///< numbers, by their old places
    char const* expected;
};

TEST(NumberList, KeepsTheAuthorsHabit)
{
    HabitCase const cases[] = {
        {"blanks", "<a k='@0 0.5 1'/>", 1, {0, 2}, "<a k='0 1'/>"},
        {"commas between vectors", "<a k=\"@ 0 0 0, 1 1 1, 2 2 2 \"/>", 3, {0, 1, 2, 6, 7, 8}, "<a k=\" 0 0 0, 2 2 2 \"/>"},
        {"commas everywhere, one behind", "<a k='@0,1,2,'/>", 1, {0, 2}, "<a k='0,2,'/>"},
        {"two numbers to a line",
         "<a k='@0 1\r\n\t2 3\r\n\t4 5\r\n\t6 7'/>",
         1,
         {0, 3, 5, 6, 7},
         "<a k='0 3\r\n\t5 6\r\n\t7'/>"},
        {"references", "<a k='@0&#10;1&#10;2'/>", 1, {0, 2}, "<a k='0&#10;2'/>"},
        {"shorter where that reads back", "<a k='@0.50000 .25 1E+20 7'/>", 1, {0, 1, 2}, "<a k='0.5 .25 1E+20'/>"},
        {"classic", "#X3D V3.0 utf8\nA { k [@0, 0.5, 1 ] }", 1, {0, 2}, "#X3D V3.0 utf8\nA { k [0, 1 ] }"},
        {"comments stay",
         "#VRML V2.0 utf8\nA { k [ @0 # begin\n 1 2 # end\n 3 ] }",
         1,
         {0, 2, 3},
         "#VRML V2.0 utf8\nA { k [ 0 # begin\n 2 # end\n 3 ] }"},
        {"nothing to do", "<a k='@0  0.50,, 1'/>", 1, {0, 1, 2}, "<a k='0  0.50,, 1'/>"},
    };
    Folder const folder;
    for (HabitCase const& c : cases) {
        std::string text = c.text;
        auto const offset = text.find('@');
        AuthorFile file(folder.add("scene", text.erase(offset, 1)), 1000);
        NumberList const list(file, static_cast<std::uint32_t>(offset));
        std::vector<NumberList::Number> numbers;
        for (int const i : c.kept)
            numbers.push_back({list.numbers()[static_cast<std::size_t>(i)], static_cast<std::size_t>(i)});
        list.replace(file, numbers, c.components);
        EXPECT_EQ(file.editedText(), c.expected) << c.name;
    }
}

TEST(NumberList, RefusesWhatIsNoList)
{
    Folder const folder;
    for (char const* const text :
         {"<a k='@0 x'/>", "<a k='@0 &one;'/>", "<a k='@0", "<a>@0</a>", "#X3D V3.0 utf8\nA { k @IS b }"}) {
        std::string all = text;
        auto const offset = all.find('@');
        AuthorFile const file(folder.add("scene", all.erase(offset, 1)), 1000);
        EXPECT_THROW(NumberList(file, static_cast<std::uint32_t>(offset)), Failure) << text;
    }
}

// All placements of blanks, commas and comments in a list of three numbers: what is taken out or changed is gone, and what
// is not meant stays, the ends of the text and the comments too.
TEST(NumberList, ReadsBackFromAnySeparators)
{
    std::vector<std::string> const blanks = {" ", ",", ", ", " ,", "\t", "\n", "\r\n ", ",,"};
    std::vector<std::string> const classicOnly = {"#,2\n", " # it's 7\n\t", ",#]\n,#}\n", "\f", "\v\x1a"};
    std::vector<std::string> const references = {"&#10;", "&#x20;,"};
    std::vector<std::vector<std::size_t>> const kept = {{0, 1, 2}, {0, 2}, {0, 1}, {1, 2}, {0}, {}};
    struct List {
        std::string begin, middle, end; ///< the middle is from the first number to the last
        std::vector<std::string> comments;
        std::size_t offset;
    };
    Folder const folder;
    std::size_t cases = 0;
    for (bool const classic : {false, true}) {
        std::vector<std::string> inner = blanks;
        std::vector<std::string> const& others = classic ? classicOnly : references;
        inner.insert(inner.end(), others.begin(), others.end());
        std::vector<std::string> const outer = {"", " ", "\n", classic ? " #0\n" : "&#9;"};
        std::string const head = classic ? "A { k [" : "<a k='", tail = classic ? "] }|" : "'/>|";
        std::vector<List> lists; // all in one file, each ends with "|"
        std::string text = classic ? "#VRML V2.0 utf8\n|" : "|";
        for (std::string const& first : outer)
            for (std::string const& second : inner)
                for (std::string const& third : inner)
                    for (std::string const& last : outer) {
                        lists.push_back(
                            {head + first, "0" + second + "0.5" + third + "1", last + tail, {}, text.size() + head.size()});
                        for (std::string const& gap : {second, third})
                            if (classic && gap.find('#') != std::string::npos)
                                lists.back().comments.push_back(gap);
                        text += lists.back().begin + lists.back().middle + lists.back().end;
                    }
        for (auto const& stay : kept) {
            bool const more = stay.size() == 1; // and a new number
            AuthorFile file(folder.add("scene", text), text.size());
            std::vector<float> expected;
            for (List const& list : lists) {
                NumberList const old(file, static_cast<std::uint32_t>(list.offset));
                ASSERT_EQ(old.numbers(), (std::vector<float>{0, 0.5f, 1})) << list.middle;
                std::vector<NumberList::Number> numbers;
                for (std::size_t const i : stay)
                    numbers.push_back({old.numbers()[i], i});
                if (more)
                    numbers.push_back({0.25f, {}});
                expected.clear();
                for (NumberList::Number const& number : numbers)
                    expected.push_back(number.value);
                old.replace(file, numbers, 1);
            }
            AuthorFile const again(folder.add("scene", file.editedText()), text.size());
            std::size_t at = again.text().find('|') + 1;
            for (List const& list : lists) {
                std::size_t const end = again.text().find('|', at) + 1;
                std::string const piece(again.text().substr(at, end - at)), was = list.begin + list.middle + list.end;
                ASSERT_TRUE(piece.starts_with(list.begin) && piece.ends_with(list.end)) << was << " -> " << piece;
                ASSERT_EQ(piece == was, stay.size() == 3) << was << " -> " << piece;
                ASSERT_EQ(NumberList(again, static_cast<std::uint32_t>(at + head.size())).numbers(), expected)
                    << was << " -> " << piece;
                for (std::string const& comment : list.comments)
                    ASSERT_TRUE(stay.size() < 2 || stay.front() != 0 || stay.back() != 2
                                || piece.find(comment) != std::string::npos)
                        << was << " -> " << piece;
                at = end;
                ++cases;
            }
        }
    }
    EXPECT_EQ(cases, 16u * 6 * (10 * 10 + 13 * 13));
}

// ---- Files

TEST(AuthorFile, KeepsItsForm)
{
    Folder const folder;
    for (std::string const& form : {std::string("<a>\r\nb\r\n</a>"), std::string("\xef\xbb\xbf<a>\n b </a>"),
                                    std::string("<?xml version='1.0' encoding='latin1'?><a>b</a>")})
        for (bool const zipped : {false, true}) {
            std::string const bytes = zipped ? gzipped(form) + '\0' : form;
            AuthorFile file(folder.add("scene", bytes), 1000);
            EXPECT_EQ(file.editedBytes(), bytes);
            auto const at = form.find('b', 3);
            file.replace(at, at + 1, "c");
            std::string expected = form;
            expected[at] = 'c';
            folder.add("scene", file.editedBytes());
            EXPECT_EQ(AuthorFile(folder.path("scene"), 1000).text(), expected);
            EXPECT_EQ(file.editedBytes().starts_with("\x1f\x8b"), zipped);
            EXPECT_THROW(file.requireUnchangedOnDisk(), Failure);
        }
    for (std::string const& refused :
         {std::string("\xff\xfe<\0", 4), std::string("<?xml version='1.0' encoding='latin1'?><a b='\xe4'/>")})
        EXPECT_THROW(AuthorFile(folder.add("scene", refused), 1000), Failure);
}

TEST(AuthorFile, ShowsItsEditsAsADiffThatPatchTakes)
{
    Folder const folder;
    std::string text;
    for (int i = 1; i <= 40; ++i)
        text += "line " + std::to_string(i) + '\n';
    AuthorFile file(folder.add("scene", text + "end"), 10'000);
    file.replace(text.find("line 3\n"), text.find("line 4\n"), "");
    file.replace(text.find("line 5"), text.find("line 5") + 4, "new\nrow");
    file.replace(text.find("5\n"), text.find("6\n"), "both ");
    file.replace(text.find("line 39"), text.find("line 40"), "x\n");
    std::ostringstream diff;
    file.writeDiff(diff);
    folder.add("change", diff.str());
    EXPECT_THAT(diff.str(), HasSubstr("@@ -1,9 +1,8 @@\n line 1\n line 2\n-line 3\n"));
    EXPECT_EQ(std::system(("cd " + folder.path("") + " && patch -s scene change").c_str()), 0) << diff.str();
    EXPECT_EQ(folder.read("scene"), file.editedText());
}

// ---- Scenes

std::string const waves = [] {
    std::string keys, values;
    for (int i = 0; i <= 50; ++i) {
        keys += std::to_string(i / 50.0) + ' ';
        values += std::to_string(std::sin(i / 8.0)) + " 0 1.000, ";
    }
    return "<TimeSensor DEF='Clock' loop='true'/>\n<PositionInterpolator DEF='Wave' key='" + keys + "'  keyValue = \"" + values
        + "\" />";
}();

struct Edited {
    explicit Edited(std::string const& text, char const* name = "scene.x3d")
        : read(text, {}, name), edits(*read.scene, true, 1'000'000)
    {}
    std::string text() { return edits.file(0).editedText(); }
    ReadScene read;
    SceneEdits edits;
};

TEST(Reduce, ChangesTheListsAndNothingElse)
{
    auto const without = [](std::string const& text) {
        return std::regex_replace(text, std::regex("[-+0-9.e]+[ ,0-9.e+-]*"), "N");
    };
    for (std::string text : {x3d(waves), std::regex_replace(x3d(waves), std::regex("\n"), "\r\n"),
                             "\xef\xbb\xbf" + x3d("\t<!-- key='0 1' -->" + waves)}) {
        Edited edited(text);
        auto const changes = reduceScene(*edited.read.scene, edited.edits, Tolerance({"1%"}), false);
        ASSERT_EQ(changes.size(), 1u);
        EXPECT_LT(changes[0].after, 20u);
        EXPECT_LE(changes[0].measured.largest, changes[0].asked);
        EXPECT_EQ(without(edited.text()), without(text));
        EXPECT_LT(edited.text().size(), text.size());
    }
}

TEST(Reduce, LeavesAloneWhatItCannotEdit)
{
    struct Case {
        char const* scene;
        char const* left;
    };
    Case const cases[] = {
        {"<SplineScalarInterpolator key='0 .5 1' keyValue='0 0 0'/>", "does not blend its values straight"},
        {"<ScalarInterpolator key='0 .5 1' keyValue='0 0'/>", "has 3 keys for 2 values"},
        {"<ScalarInterpolator key='0 .5 .3' keyValue='0 0 0'/>", "the keys are not in order"},
        {"<ScalarInterpolator key='0 nan 1' keyValue='0 0 0'/>", "a key is not a finite number"},
        {"<ScalarInterpolator key='0 .5 1' keyValue='0 inf 0'/>", "a value is not a finite number"},
        {"<ScalarInterpolator key='0 .5 1'/>", "has no keys or no values"},
        {"<ScalarInterpolator DEF='A' key='0 .5 1' keyValue='0 0 0'/><VectorInterpolator DEF='B' key='0 1' keyValue='0 1'/>"
         "<ROUTE fromNode='B' fromField='value_changed' toNode='A' toField='set_keyValue'/>",
         "a ROUTE sets its keys or values"},
    };
    for (Case const& c : cases) {
        Edited edited(x3d(c.scene));
        EXPECT_EQ(reduceScene(*edited.read.scene, edited.edits, Tolerance({"1%"}), true)[0].left, c.left);
        EXPECT_TRUE(edited.edits.changed().empty());
    }
}

TEST(Reduce, EditsThePrototypesBytesOnce)
{
    Edited edited(
        x3d("<ProtoDeclare name='P'><ProtoBody><Group><ScalarInterpolator DEF='S' key='0 .5 1' keyValue='1 2 3'/></Group>"
            "</ProtoBody></ProtoDeclare><ProtoInstance name='P' DEF='A'/><ProtoInstance name='P' DEF='B'/>"));
    EXPECT_EQ(reduceScene(*edited.read.scene, edited.edits, Tolerance({"1%"}), false).size(), 1u);
    EXPECT_THAT(edited.text(), HasSubstr("key='0 1' keyValue='1 3'"));
}

TEST(Tolerance, SaysWhatItMeans)
{
    KeyTrack positions, rotations;
    positions.width = positions.components = 3;
    positions.values = {0, 0, 0, 10, 1, 0};
    rotations.motion = Motion::rotation;
    Tolerance const mixed({"0.1%", "1deg", "Ball=0.5"});
    EXPECT_DOUBLE_EQ(*mixed.of(positions, "Box"), 0.01);
    EXPECT_DOUBLE_EQ(*mixed.of(positions, "Ball"), 0.5);
    EXPECT_NEAR(*mixed.of(rotations, "Box"), 0.0174533, 1e-6);
    EXPECT_FALSE(Tolerance({"1deg"}).of(positions, "Box").has_value());
    for (char const* const bad : {"", "-1", "nan", "inf", "x", "1rad", "A=", "1%%"})
        EXPECT_THROW(Tolerance({bad}), Failure) << bad;
}

TEST(Bake, MakesLinearKeysOfCurves)
{
    struct Case {
        char const* scene;
        char const* expected; ///< in the result
        char const* gone;
    };
    Case const cases[] = {
        {"<SplinePositionInterpolator DEF='P' closed='true' key='0 .3 1' keyValue='0 0 0 1 2 3 0 0 0'/>",
         "<PositionInterpolator DEF='P' key=", "closed"},
        {"<SplineScalarInterpolator DEF='P' key='0 .5 .5 1' keyValue='0 1 5 6'></SplineScalarInterpolator>",
         "</ScalarInterpolator>", "Spline"},
        {"<SquadOrientationInterpolator DEF='P' key='0 .5 1' keyValue='0 1 0 0 1 0 0 1 0 0 1 2'/>",
         "<OrientationInterpolator DEF='P'", "Squad"},
        {"<TimeSensor DEF='C'/><EaseInEaseOut DEF='E' key='0 .5 1' easeInEaseOut='0 .3 .2 .2 .4 0'/>"
         "<ScalarInterpolator DEF='P' key='0 .2 1' keyValue='0 4 1'/>"
         "<ROUTE fromNode='C' fromField='fraction_changed' toNode='E' toField='set_fraction'/>\n"
         "<ROUTE fromNode='E' fromField='modifiedFraction_changed' toNode='P' toField='set_fraction'/>",
         "<ROUTE fromNode='C' fromField='fraction_changed' toNode='P' toField='set_fraction'/>", "EaseInEaseOut"},
    };
    for (Case const& c : cases)
        for (bool const free : {false, true}) {
            SCOPED_TRACE(c.scene);
            Edited edited(x3d(c.scene));
            auto const result =
                bakeScene(*edited.read.scene, edited.edits, {Tolerance({"0.1%", "1deg"}), free, false, {}, true});
            ASSERT_EQ(result.changes.size(), 1u);
            EXPECT_EQ(result.changes[0].left, "");
            EXPECT_LE(result.changes[0].measured.largest, result.changes[0].asked);
            EXPECT_THAT(edited.text(), HasSubstr(c.expected));
            EXPECT_THAT(edited.text(), Not(HasSubstr(c.gone)));
            // Read back: nothing is left to bake, and no message came.
            Edited again(edited.text());
            EXPECT_EQ(again.read.messages(), "");
            EXPECT_TRUE(
                bakeScene(*again.read.scene, again.edits, {Tolerance({"1%", "1deg"}), free, false, {}, true}).changes.empty());
        }
}

TEST(Bake, EditsTheClassicSyntaxToo)
{
    Edited edited("#X3D V3.0 utf8\nDEF C TimeSensor { }\nDEF E EaseInEaseOut { key [0 1] easeInEaseOut [0 .5, .5 0] } # ease\n"
                  "DEF P SplineScalarInterpolator { closed TRUE key [ 0, 1 ] keyValue [ 0, 1 ] }\n"
                  "ROUTE C.fraction_changed TO E.set_fraction\nROUTE E.modifiedFraction_changed TO P.set_fraction\n",
                  "scene.x3dv");
    auto const result = bakeScene(*edited.read.scene, edited.edits, {Tolerance({"1%"}), false, false, {}, true});
    EXPECT_THAT(edited.text(), HasSubstr("DEF P ScalarInterpolator { key [ 0, "));
    EXPECT_THAT(edited.text(), HasSubstr("ROUTE C.fraction_changed TO P.set_fraction"));
    EXPECT_THAT(result.idle, testing::ElementsAre("E"));
}

// ---- Proof

TEST(Proof, SeesWhatWasNotMeant)
{
    struct Case {
        char const *from, *to, *seen;
    };
    Case const cases[] = {
        {"<!-- c -->", "<!-- d -->", ""},
        {"key='0 1'", "key='0,1' ", ""},
        {"</Scene>", "", "it fails: "},
        {"DEF='A'", "DEF='X'", "A is another node, or none"},
        {"DEF='A' ", "", "A is another node, or none"},
        {"Scalar", "SplineScalar", "A is another node, or none"},
        {"<ScalarInterpolator DEF='A' key='0 1' keyValue='2 3'/>", "", "A is another node, or none"},
        {"<TimeSensor", "<Group/><TimeSensor", ""}, // cannot be routed to
        {"<TimeSensor", "<TimeSensor DEF='N'/><TimeSensor", "T is another node, or none"},
        {"<ROUTE ", "<TimeSensor DEF='N'/><ROUTE ", "N is a node too many"},
        {"keyValue='2 3'", "keyValue='2 3.0000002'", "A.keyValue has another value"},
        {"keyValue='2 3'", "keyValue='2'", "A.keyValue has another value"},
        {"keyValue='2 3'", "", "A.keyValue is not set"},
        {"loop='true'", "", "T.loop is not set"},
        {"key='0 1'", "key='0 1' colour='x'", "more would be wrong: "},
        {"loop='true'", "loop='true' cycleInterval='x'", "more would be wrong: "},
        {"loop='true'", "loop='true' enabled='true'", "T has more fields"},
        {"description='x'", "description='y'", "T.description has another value"},
        {"fromNode='T'", "fromNode='A'", "the ROUTE to A.set_fraction "},
        {"fraction_changed'", "cycleTime'", "the ROUTE to A.set_fraction "},
        {"toNode='A'", "toNode='T'", "the ROUTE to A.set_fraction leads elsewhere"},
        {"<ROUTE fromNode='T' fromField='fraction_changed' toNode='A' toField='set_fraction'/>", "",
         "the ROUTE to A.set_fraction is none"},
        {"</Scene>", "<ROUTE fromNode='T' fromField='fraction_changed' toNode='A' toField='set_fraction'/></Scene>",
         "a ROUTE is too many"},
    };
    std::string const text = x3d("<!-- c --><TimeSensor DEF='T' description='x' loop='true'/>\n"
                                 "<ScalarInterpolator DEF='A' key='0 1' keyValue='2 3'/>\n"
                                 "<ROUTE fromNode='T' fromField='fraction_changed' toNode='A' toField='set_fraction'/>");
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " : " + c.to);
        Edited edited(text);
        std::size_t const at = text.find(c.from);
        ASSERT_NE(at, std::string::npos);
        edited.edits.file(0).replace(at, at + std::string(c.from).size(), c.to);
        std::string const seen = unintended(*edited.read.scene, edited.edits, {});
        EXPECT_EQ(seen.empty(), *c.seen == '\0') << seen;
        EXPECT_THAT(seen, testing::StartsWith(c.seen));
    }
}

TEST(Proof, KnowsWhatWasMeant)
{
    std::string const text = x3d("<ScalarInterpolator DEF='A' key='0 1' keyValue='2 3'/>");
    auto const seenWith = [&](std::vector<NumberList::Number> const& numbers, float intended) {
        Edited edited(text);
        SceneNode const& node = edited.read.node("A");
        Location const where = *edited.edits.placeOf(node, valuesOf(node));
        edited.edits.replace(where, edited.edits.list(where, valuesOf(node)), numbers, 1);
        edited.edits.intention.lists[where].back() = intended;
        return unintended(*edited.read.scene, edited.edits, {});
    };
    EXPECT_EQ(seenWith({{7, {}}, {8, {}}}, 8), "");
    EXPECT_EQ(seenWith({{7, {}}, {8, {}}}, std::nextafter(8.f, 9.f)), "A.keyValue has another value");
}

// ---- Fixes

// Reads a file anew and plays a second of it.
PlayAnew playing(std::string const& file)
{
    return [file](std::function<void(Scene&)> const& change, bool startAll) {
        std::ostringstream told;
        Diagnostics diagnostics(told);
        ScenePlay play{readScene(file, {}, diagnostics), {}};
        change(*play.scene);
        Recorder recorder(*play.scene, {.keepSamples = true});
        Clock clock(*play.scene);
        if (startAll)
            clock.startAll(0);
        for (Timing::Frame const& frame : Timing{0, 1, 60, {}}.frames())
            clock.advance(frame.time, [&recorder] { recorder.beginFrame(); });
        recorder.finish();
        play.tracks = recorder.allTracks();
        return play;
    };
}

TEST(Fixes, SilenceTheirCodesAndAreDoneOnce)
{
    for (CheckCode const& code : checkCodes()) {
        if (code.fix == Fix::none)
            continue;
        SCOPED_TRACE(code.code);
        CheckOptions all;
        all.hints = true;
        all.perNode = 0;
        Edited edited(x3d(code.bad));
        auto findings = checkScene(*edited.read.scene, {}, all);
        bool const safe =
            code.fix == Fix::safe && std::ranges::all_of(findings, [](Finding const& f) { return fixOf(f) != Fix::unsafe; });
        auto const outcomes = fixScene(*edited.read.scene, edited.edits, all, !safe, playing(edited.read.file));
        if (std::string(code.code) == "zero-axis") // its example has an angle, and the last value is sent as it is written
            continue;
        EXPECT_FALSE(edited.edits.changed().empty());
        Edited again(edited.text());
        findings = checkScene(*again.read.scene, {}, all);
        for (Finding const& finding : findings)
            EXPECT_NE(finding.code, code.code) << finding.message << '\n' << edited.text();
        fixScene(*again.read.scene, again.edits, all, !safe, playing(again.read.file));
        EXPECT_TRUE(again.edits.changed().empty()) << again.text();
    }
}

TEST(Fixes, DoWhatTheySay)
{
    struct Case {
        char const* code;
        char const* scene;
        bool unsafe;
        char const* expected; ///< "" when nothing changes
    };
    Case const cases[] = {
        {"values without keys", "<ScalarInterpolator DEF='S' key='0 1' keyValue='3, 4, 5'/>", false,
         "key='0 1' keyValue='3, 4'"},
        {"a zero axis within", "<OrientationInterpolator DEF='S' key='0 .5 1' keyValue='0 1 0 1, 0 0 0 0, 0 1 0 2'/>", false,
         "0 1 0 1, 0 0 1 0, 0 1 0 2"},
        {"a zero axis at the end", "<OrientationInterpolator DEF='S' key='0 1' keyValue='0 1 0 1, 0 0 0 0'/>", false, ""},
        {"with leave to change what is sent", "<OrientationInterpolator DEF='S' key='0 1' keyValue='0 1 0 1, 0 0 0 0'/>", true,
         "0 1 0 1, 0 0 1 0"},
        {"keys out of order", "<ScalarInterpolator DEF='S' key='0 .8 .5 1' keyValue='0 1 2 3'/>", true,
         "key='0 .5 .8 1' keyValue='0 2 1 3'"},
        {"unsafe without leave", "<ScalarInterpolator DEF='S' key='0 .8 .5 1' keyValue='0 1 2 3'/>", false, ""},
        {"colours of bytes", "<ColorInterpolator DEF='S' key='0 1' keyValue='255 0 0 51 0 0'/>", true, "'1 0 0 0.2 0 0'"},
        {"a full turn", "<OrientationInterpolator DEF='S' key='0 1' keyValue='0 1 0 0, 0 1 0 6'/>", true,
         "0 1 0 0, 0 1 0 2, 0 1 0 4, 0 1 0 6"},
    };
    for (Case const& c : cases) {
        Edited edited(x3d(c.scene));
        CheckOptions all;
        all.hints = true;
        all.perNode = 0;
        fixScene(*edited.read.scene, edited.edits, all, c.unsafe, playing(edited.read.file));
        if (*c.expected == '\0')
            EXPECT_TRUE(edited.edits.changed().empty()) << c.code;
        else
            EXPECT_THAT(edited.text(), HasSubstr(c.expected)) << c.code;
    }
}

// The nodes play alike, but the scene as a whole would not: nothing is mended.
TEST(Fixes, AreNotMadeWhenTheSceneWouldPlayOtherwise)
{
    for (bool const lies : {false, true}) {
        Edited edited(x3d("<TimeSensor DEF='C' loop='true'/><ScalarInterpolator DEF='S' key='0 1' keyValue='3, 4, 5'/>"
                          "<ROUTE fromNode='C' fromField='fraction_changed' toNode='S' toField='set_fraction'/>"));
        int plays = 0;
        auto const play = [&, honest = playing(edited.read.file)](std::function<void(Scene&)> const& change, bool startAll) {
            ScenePlay result = honest(change, startAll);
            EXPECT_GT(result.tracks.at(0).numbers.size(), 50u);
            if (lies && ++plays == 2)
                result.tracks[0].numbers[7] = std::nextafter(result.tracks[0].numbers[7], 9);
            return result;
        };
        auto const outcomes = fixScene(*edited.read.scene, edited.edits, {}, false, play);
        ASSERT_EQ(outcomes.size(), 1u);
        EXPECT_EQ(outcomes[0].done, !lies);
        EXPECT_EQ(outcomes[0].why, lies ? "the scene would play otherwise: S.value_changed" : "");
        EXPECT_EQ(edited.edits.changed().empty(), lies);
    }
}

} // namespace
} // namespace Zelvan::play::test
