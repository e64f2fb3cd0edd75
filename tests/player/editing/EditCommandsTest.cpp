// Edits and comparisons through the program, and over whole scenes in the forms that authors write them.
#include "player/editing/Bake.h"
#include "player/editing/Fixes.h"
#include "tests/player/commands/Play.h"
#include "tests/player/editing/ClassicForm.h"
#include "tests/player/editing/Gzipped.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string const moving = "<TimeSensor DEF='Clock' loop='true'/>\n<PositionInterpolator DEF='Way' key='0 .5 1' "
                           "keyValue='0 0 0, 1 1 0, 2 2 0'/>\n<Transform DEF='Ball'/>\n"
                           "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Way' toField='set_fraction'/>\n"
                           "<ROUTE fromNode='Way' fromField='value_changed' toNode='Ball' toField='translation'/>";

std::string with(std::string text, std::string const& old, std::string const& by)
{
    auto const at = text.find(old);
    return at == std::string::npos ? throw std::logic_error(old) : text.replace(at, old.size(), by);
}

TEST(DiffCommand, ComparesWhatIsPlayed)
{
    struct Case {
        char const* name;
        std::string second;
        char const* options;
        int status;
        char const* out; ///< of standard output
    };
    std::string const reordered = "<PositionInterpolator keyValue='0,0,0 1,1,0 2,2,0' DEF='Way' key='0 0.5 1.0'/>";
    std::string const node = "<PositionInterpolator DEF='Way' key='0 .5 1' keyValue='0 0 0, 1 1 0, 2 2 0'/>";
    Case const cases[] = {
        {"the same", moving, "", 0, ""},
        {"attributes reordered", with(moving, node, reordered), "", 0, ""},
        {"a key moved by 0.01", with(moving, ".5", ".51"), "", 1, "Way.value_changed"},
        {"the same, allowed", with(moving, ".5", ".51"), "--max-error 0.02", 0, ""},
        {"a key less that nobody misses", with(with(moving, " .5 ", " "), " 1 1 0,", ""), "--max-error 0.1%", 0, ""},
        {"as JSON", with(moving, ".5", ".51"), "--format json", 1, "\"equal\":false"},
        {"a track less", with(moving, "DEF='Way'", "DEF='Path'"), "", 1, "only in a.x3d"},
        {"no such option", moving, "--sideways", 2, ""},
        {"a tolerance that is none", moving, "--max-error x", 2, ""},
        {"no XML", "<", "", 1, ""},
    };
    Folder const folder;
    folder.add("a.x3d", x3d(moving));
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        std::string text = c.second;
        if (auto const at = text.find("DEF='Path'"); at != std::string::npos)
            text = std::regex_replace(text, std::regex("Node='Way'"), "Node='Path'");
        folder.add("b.x3d", x3d(text));
        Result const result = play(folder, std::string("diff a.x3d b.x3d ") + c.options);
        EXPECT_EQ(result.status, c.status) << result.err;
        EXPECT_THAT(result.out, HasSubstr(c.out));
        EXPECT_EQ(result.out.empty(), c.status != 1 || *c.out == '\0');
    }
    EXPECT_EQ(play(folder, "diff a.x3d nowhere.x3d").status, 3);
    // Both curves stand in one chart.
    folder.add("b.x3d", x3d(with(moving, ".5", ".51")));
    EXPECT_EQ(play(folder, "diff a.x3d b.x3d --html page.html").status, 1);
    std::string const page = folder.read("page.html");
    EXPECT_THAT(page, HasSubstr("class=\"line c0\""));
    EXPECT_THAT(page, HasSubstr("class=\"line c0 second\""));
    EXPECT_THAT(page, HasSubstr("\"second\":true"));
    EXPECT_THAT(page, HasSubstr("dashed: b.x3d"));
}

TEST(EditCommands, WriteOverTheSceneAsItStands)
{
    namespace fs = std::filesystem;
    struct Case {
        char const* command;
        char const* expected;
    };
    for (Case const& c : {Case{"reduce link.x3d --write", "key='0 1'"},
                          Case{"check link.x3d --fix --write", "keyValue='0 0 0, 1 1 0, 2 2 0'"}}) {
        SCOPED_TRACE(c.command);
        Folder const folder;
        folder.add("scene.x3d", x3d(*c.command == 'c' ? with(moving, "2 2 0'", "2 2 0, 9 9 9'") : moving));
        fs::permissions(folder.path("scene.x3d"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_write);
        auto const before = fs::status(folder.path("scene.x3d")).permissions();
        fs::create_symlink("scene.x3d", folder.path("link.x3d"));
        Result const result = play(folder, c.command);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(folder.read("scene.x3d"), HasSubstr(c.expected));
        EXPECT_TRUE(fs::is_symlink(folder.path("link.x3d")));
        EXPECT_EQ(fs::status(folder.path("scene.x3d")).permissions(), before);
        // A second run has nothing to do and touches nothing.
        std::string const once = folder.read("scene.x3d");
        EXPECT_EQ(play(folder, c.command).status, 0);
        EXPECT_EQ(folder.read("scene.x3d"), once);
    }
}

TEST(EditCommands, EditOtherFilesOnlyWhenAsked)
{
    Folder const folder;
    folder.add("scene.x3d", x3d("<Inline DEF='In' url='part.x3d'/>"));
    folder.add("part.x3d", x3d(moving));
    std::string const part = folder.read("part.x3d");
    Result result = play(folder, "reduce scene.x3d --write");
    EXPECT_THAT(result.out, HasSubstr("--inlined edits that, too"));
    EXPECT_EQ(folder.read("part.x3d"), part);
    EXPECT_EQ(play(folder, "reduce scene.x3d --inlined -o out.x3d").status, 2);
    EXPECT_EQ(folder.read("part.x3d"), part);
    result = play(folder, "reduce scene.x3d --inlined --diff");
    EXPECT_THAT(result.out, HasSubstr("+++ part.x3d"));
    EXPECT_EQ(play(folder, "reduce scene.x3d --inlined --write").status, 0);
    EXPECT_THAT(folder.read("part.x3d"), HasSubstr("key='0 1'"));
}

TEST(BakeCommand, TakesKeysWhereItIsTold)
{
    std::string const eased =
        "<TimeSensor DEF='Clock' cycleInterval='2' loop='true'/>\n"
        "<EaseInEaseOut DEF='Ease' key='0 1' easeInEaseOut='0 .5 .5 0'/>\n"
        "<ScalarInterpolator DEF='Lift' key='0 .25 1' keyValue='0 4 1'/>\n"
        "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Ease' toField='set_fraction'/>\n"
        "<ROUTE fromNode='Ease' fromField='modifiedFraction_changed' toNode='Lift' toField='set_fraction'/>";
    struct Case {
        char const* options;
        char const* keys; ///< a pattern of the result's
    };
    Case const cases[] = {
        {"--rate 5", "key='0 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8 0.9 1'"},
        {"--at-keys", "key='0 0.3[0-9]* 1'"}, // where the easing passes .25
    };
    Folder const folder;
    folder.add("scene.x3d", x3d(eased));
    for (Case const& c : cases)
        for (bool const prune : {false, true}) {
            SCOPED_TRACE(c.options);
            Result const result = play(folder, std::string("bake scene.x3d ") + c.options + (prune ? " --prune" : ""));
            EXPECT_EQ(result.status, 0) << result.err;
            EXPECT_TRUE(std::regex_search(result.out, std::regex(c.keys))) << result.out;
            EXPECT_THAT(result.err, HasSubstr(prune ? "Ease was taken out" : "Ease: nothing depends on it any more"));
            EXPECT_EQ(result.out.find("Ease") == std::string::npos, prune) << result.out;
        }
    for (char const* const bad : {"--rate 0", "--rate nan", "--rate 5 --at-keys"})
        EXPECT_EQ(play(folder, std::string("bake scene.x3d ") + bad).status, 2) << bad;
}

// ---- Whole scenes, in every form

struct Form {
    char const* name;
    std::string (*made)(std::string const& text);
};
Form const forms[] = {
    {"as it is", [](std::string const& text) { return text; }},
    {"CRLF", [](std::string const& text) { return std::regex_replace(text, std::regex("\n"), "\r\n"); }},
    {"tabs", [](std::string const& text) { return std::regex_replace(text, std::regex("  "), "\t"); }},
    {"single quotes",
     [](std::string const& text) { return std::regex_replace(text, std::regex("=\"([^\"'<>]*)\""), "='$1'"); }},
    {"a byte order mark", [](std::string const& text) { return "\xef\xbb\xbf" + text; }},
    {"a DOCTYPE with an entity",
     [](std::string const& text) {
         std::string const type = "<!DOCTYPE X3D [ <!ENTITY half \"0.5\"> <!-- key=\"0 1\" --> ]>\n";
         return std::string(text).insert(text.find("<X3D"), type);
     }},
    {"CDATA",
     [](std::string const& text) {
         return std::string(text).insert(text.rfind("</Scene>"), "<![CDATA[ <Scene key=\"0\"> ]]>\n");
     }},
    {"gzip", gzipped},
    {"ClassicVRML", ClassicForm::of},
};

TEST(WholeScenes, SendTheSameEventsInBothSyntaxes)
{
    Folder const folder;
    std::size_t events = 0;
    for (auto const& entry : std::filesystem::directory_iterator(ZELVAN_EXAMPLES)) {
        if (entry.path().extension() != ".x3d")
            continue;
        SCOPED_TRACE(entry.path().filename().string());
        std::string const text = textOf(entry.path());
        folder.add("scene.x3d", text);
        folder.add("scene.x3dv", ClassicForm::of(text));
        std::string const options = " --start-all --fps 10 --duration 3 --format jsonl";
        Result const xml = play(folder, "export scene.x3d" + options), classic = play(folder, "export scene.x3dv" + options);
        EXPECT_EQ(classic.out, xml.out);
        EXPECT_EQ(classic.status, 0);
        EXPECT_EQ(classic.err, "");
        events += std::size_t(std::ranges::count(classic.out, '\n'));
    }
    EXPECT_GT(events, 1000u);
}

TEST(WholeScenes, NothingToDoLeavesEveryByteAndFormsDoNotMatter)
{
    std::size_t files = 0, unchanged = 0;
    for (auto const& entry : std::filesystem::directory_iterator(ZELVAN_EXAMPLES)) {
        if (entry.path().extension() != ".x3d")
            continue;
        ++files;
        std::string const original = textOf(entry.path());
        std::string const name = entry.path().filename().string();
        for (char const* const command : {"reduce --max-error 0", "reduce", "bake"}) {
            std::vector<std::size_t> plain;
            for (Form const& form : forms) {
                SCOPED_TRACE(name + ", " + command + ", " + form.name);
                std::string const bytes = form.made(original);
                ReadScene read(bytes, {}, name.c_str());
                SceneEdits edits(*read.scene, false, 10'000'000);
                Tolerance const tolerance({std::string(command).ends_with('0') ? "0" : "0.1%", "1deg"});
                auto const changes = *command == 'b'
                    ? bakeScene(*read.scene, edits, {tolerance, false, false, {}, false}).changes
                    : reduceScene(*read.scene, edits, tolerance, false);
                std::vector<std::size_t> keys;
                for (TrackChange const& change : changes)
                    keys.push_back(change.after);
                if (&form == forms)
                    plain = keys;
                EXPECT_EQ(keys, plain);
                if (edits.changed().empty()) {
                    ++unchanged;
                    EXPECT_EQ(edits.file(0).editedBytes(), bytes);
                } else {
                    // What has been edited reads back.
                    ReadScene again(edits.file(0).editedBytes(), {}, name.c_str());
                    EXPECT_EQ(again.scene->sceneNodes.size(), read.scene->sceneNodes.size());
                    EXPECT_EQ(again.messages(), read.messages());
                }
            }
        }
    }
    EXPECT_GT(files, 15u);
    EXPECT_GT(unchanged, files);
}

} // namespace
} // namespace Zelvan::play::test
