#include "player/commands/Processes.h"
#include "tests/player/commands/Play.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string const unsorted = "<ScalarInterpolator DEF='A' key='0 1 0.5' keyValue='0 1 2'/>";
std::string const range =
    "<TimeSensor DEF='C' loop='true'/><ScalarInterpolator DEF='W' key='0 2' keyValue='0 0'/>"
    "<Transform DEF='T'/><ROUTE fromNode='C' fromField='fraction_changed' toNode='W' toField='set_fraction'/>"
    "<ROUTE fromNode='W' fromField='value_changed' toNode='T' toField='x'/>";

// Folders with good, bad, broken and hidden scenes, and what is none.
void addScenes(Folder const& folder)
{
    folder.add("in/b.x3d", x3d(unsorted));
    folder.add("in/a/deep", x3d(range));
    folder.add("in/a/v.wrl", "#VRML V2.0 utf8\nDEF A ScalarInterpolator { key [0 1 .5] keyValue [0 1 2] }\n");
    folder.add("in/broken.x3d", "<X3D><Scene>");
    folder.add("in/page.html", "<html><body>x</body></html>");
    folder.add("in/.hidden/h.x3d", x3d(unsorted));
    folder.add("in/.h.x3d", x3d(unsorted));
    for (int i = 0; i < 40; ++i)
        folder.add("in/many/" + std::to_string(i) + ".x3d", x3d(i % 3 == 0 ? unsorted : range));
}

TEST(Pipeline, ManyFilesGiveTheSameWhateverTheNumberOfProcesses)
{
    Folder const folder;
    addScenes(folder);
    for (std::string const format : {"text", "json", "sarif", "github"}) {
        Result const one = play(folder, "check in missing.x3d -j 1 --format " + format);
        for (std::string const jobs : {"2", "7"}) {
            Result const more = play(folder, "check in missing.x3d -j " + jobs + " --format " + format);
            EXPECT_EQ(more.out, one.out) << format;
            EXPECT_EQ(more.err, one.err) << format;
            EXPECT_EQ(more.status, 3) << "the missing one";
        }
        for (std::string const file : {"in/b.x3d", "in/a/deep", "in/a/v.wrl", "in/broken.x3d", "missing.x3d", "in/many/39.x3d"})
            EXPECT_THAT(one.out, HasSubstr(file)) << format;
        EXPECT_THAT(one.out, Not(testing::AnyOf(HasSubstr("hidden"), HasSubstr(".h.x3d"), HasSubstr("page.html"))));
    }
    EXPECT_THAT(play(folder, "check in missing.x3d").err, StartsWith("45 files: "));
    auto const json = nlohmann::json::parse(play(folder, "check in missing.x3d --format json").out);
    EXPECT_EQ(json["files"], 45);
    EXPECT_EQ(json["errors"], 14 + 2 + 1 + 1) << "unsorted keys, also in VRML, broken, missing";
    EXPECT_EQ(play(folder, "check in/a/deep in/many/1.x3d").status, 0);
    EXPECT_EQ(play(folder, "check - in/a/deep <in/b.x3d").status, 1);
}

TEST(Pipeline, OneFindingInEveryFormat)
{
    Folder const folder;
    folder.add(
        "a b,c.x3d",
        "<X3D><Scene>\n<Group/><!-- \u00e9 --> <ScalarInterpolator DEF='\u00e9%' key='0 1 0.5' keyValue='0 1 2'/></Scene></X3D>");
    auto const write = [&](std::string const& format) {
        return play(folder, "check 'a b,c.x3d' --only key-order --format " + format);
    };
    EXPECT_THAT(write("text").out, StartsWith("a b,c.x3d:2:58: error: \u00e9%.key[2] is 0.5, after 1"));
    EXPECT_THAT(write("text").out, testing::EndsWith(" [key-order]\n"));
    EXPECT_THAT(write("github").out,
                StartsWith("::error file=a b%2Cc.x3d,line=2,col=58,title=key-order::\u00e9%25.key[2] is 0.5"));
    auto const sarif = nlohmann::json::parse(write("sarif").out)["runs"][0];
    auto const& result = sarif["results"][0];
    auto const& place = result["locations"][0]["physicalLocation"];
    EXPECT_EQ(place["artifactLocation"]["uri"], "a%20b,c.x3d");
    EXPECT_EQ(place["region"]["startLine"], 2);
    EXPECT_EQ(place["region"]["startColumn"], 58) << "characters, not bytes";
    EXPECT_EQ(sarif["tool"]["driver"]["rules"][result["ruleIndex"].get<std::size_t>()]["id"], "key-order");
    EXPECT_EQ(result["level"], "error");
    // The same into a file, which is no input.
    EXPECT_EQ(play(folder, "check 'a b,c.x3d' --only key-order --format sarif -o out.sarif").out, "");
    EXPECT_EQ(folder.read("out.sarif"), write("sarif").out);
    EXPECT_EQ(play(folder, "check 'a b,c.x3d' -o './a b,c.x3d'").status, 2);
    // People see the line, and a mark under the place.
    Result const seen =
        play(folder, "", "script -qec \"'" ZELVAN_PLAY "' check 'a b,c.x3d' --only key-order\" /dev/null; true ");
    if (seen.out.find("key-order") != std::string::npos) {
        EXPECT_THAT(seen.out, HasSubstr("| " + std::string(39, ' ') + "^"));
    }
}

TEST(Pipeline, ManyScenesAreEditedWhateverTheNumberOfProcesses)
{
    std::string const reducible = "<ScalarInterpolator DEF='W' key='0 0.5 1' keyValue='0 1 2'/>";
    char const* const commands[] = {"check in --fix --unsafe-fixes", "reduce in --max-error 0.1%,W=0.01", "bake in"};
    for (std::string const command : commands)
        for (std::string const where : {" --write", " --diff"}) {
            std::vector<std::string> seen;
            for (std::string const jobs : {"1", "3"}) {
                Folder const folder;
                addScenes(folder);
                for (int i = 0; i < 9; ++i)
                    folder.add("in/r" + std::to_string(i) + ".x3d", x3d(reducible));
                folder.add("in/part.x3d", x3d(unsorted + reducible));
                folder.add("in/a/whole.x3d", x3d("<Inline url='../part.x3d'/>"));
                std::string const before = folder.read("in/b.x3d");
                Result const result = play(folder, command + where + " --root in -j " + jobs);
                EXPECT_EQ(result.status, 1) << command << where << ": the broken one\n" << result.err;
                EXPECT_THAT(result.err, HasSubstr("in/broken.x3d:1:"));
                EXPECT_EQ(folder.read("in/b.x3d") == before, !command.starts_with("check") || where == " --diff")
                    << command << where;
                EXPECT_EQ(folder.read("in/.h.x3d"), x3d(unsorted));
                std::string all = result.out + '|' + result.err;
                for (std::string const file :
                     {"in/b.x3d", "in/a/v.wrl", "in/many/39.x3d", "in/r3.x3d", "in/part.x3d", "in/broken.x3d"})
                    all += '|' + folder.read(file);
                seen.push_back(all);
            }
            EXPECT_EQ(seen[0], seen[1]) << command << where;
            EXPECT_THAT(seen[0], HasSubstr("55 files: ")) << command;
        }

    Folder const folder;
    addScenes(folder);
    folder.add("w.x3d", x3d(reducible));
    folder.add("in/w.x3d", x3d(reducible));
    folder.add("none/page.html", "<html/>");
    std::pair<char const*, char const*> const refused[] = {
        {"reduce in", "reduce: 45 files do not go into one: --write"},
        {"reduce in w.x3d -o out.x3d", "46 files do not go into one"},
        {"check --fix in", "45 files do not go into one"},
        {"bake in/b.x3d w.x3d", "2 files"},
        {"reduce - w.x3d --write <w.x3d", "standard input"},
        {"reduce none --write", "no scene"},
        {"check --fix w.x3d", "where to?"},
        {"reduce in --diff --max-error W=1,Nobody=1", "Nobody"},
    };
    for (auto const& [arguments, says] : refused) {
        Result const result = play(folder, arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_THAT(result.err, HasSubstr(says)) << arguments;
    }
    EXPECT_EQ(folder.read("w.x3d"), x3d(reducible));
    // What comes through a pipe is read once.
    EXPECT_THAT(play(folder, "check /dev/stdin", "cat in/b.x3d | ").err,
                StartsWith("/dev/stdin: 1 error, 0 warnings, 1 note\n"));
    // The same file twice is one.
    EXPECT_THAT(play(folder, "reduce w.x3d ./w.x3d --write").out, HasSubstr("w.x3d: 1 of 1 interpolators reduced"));
    // What is ignored stays, also when something else was fixed before.
    folder.add("s.x3d",
               x3d("<!-- zelvan: ignore key-order - meant -->\n" + unsorted
                   + "\n<PositionInterpolator DEF='P' key='0' keyValue='0 0 0 1 1 1'/>"));
    EXPECT_THAT(play(folder, "check s.x3d --fix --unsafe-fixes --write").err, HasSubstr("s.x3d: 1 fixed"));
    EXPECT_THAT(folder.read("s.x3d"), HasSubstr("key='0 1 0.5'"));
}

TEST(Pipeline, SettingsComeFromTheNearestFileUpToTheRepository)
{
    Folder const folder;
    folder.add("zelvan-play.toml", "strict = true\n"); // above the repository
    folder.add("r/.git/HEAD", "");
    folder.add("r/zelvan-play.toml",
               "ignore = ['idle-sensor']\nmax-warnings = 7\n[severity]\nkey-range = 'error'\n[limits]\nmax-files = 9\n"
               "[[overrides]]\nfiles = ['./old/**', '**/?.wrl']\nseverity = {key-order = 'off', key-range = 'note'}\n");
    folder.add("r/a/b/s.x3d", x3d(range));
    folder.add("r/old/x/s.x3d", x3d(range + unsorted));
    Result const shown = play(folder, "settings r/a/b/s.x3d");
    for (std::string const row :
         {"severity.idle-sensor +off +r/zelvan-play.toml:1:11", "severity.key-range +error +r/zelvan-play.toml:4:1",
          "max-warnings +7 +r/zelvan-play.toml:2:1", "limits.max-files +9 +r/zelvan-play.toml:6:1", "strict +false +default",
          "limits.max-depth +500 +default"})
        EXPECT_THAT(shown.out, testing::ContainsRegex(row)) << shown.err;
    EXPECT_THAT(play(folder, "settings r/old/x/s.x3d").out,
                testing::ContainsRegex("severity.key-order +off +r/zelvan-play.toml:9"));
    EXPECT_EQ(play(folder, "check r/a/b/s.x3d").status, 1);
    EXPECT_EQ(play(folder, "check r/a/b/s.x3d --no-config").status, 0);
    EXPECT_EQ(play(folder, "check r/a/b/s.x3d --severity key-range=note").status, 0);
    EXPECT_EQ(play(folder, "check r/old").status, 0);
    EXPECT_EQ(play(folder, "run r/a/b/s.x3d --to 0").status, 1) << "what check calls an error";
    EXPECT_EQ(play(folder, "run r/old/x/s.x3d --to 0").status, 0);
    EXPECT_EQ(play(folder, "check r/old --config r/../zelvan-play.toml").status, 1);
    struct Case {
        char const* text;
        char const* says;
    };
    Case const cases[] = {
        {"strict = 1", "bad.toml:1:10: error: strict: expected true or false"},
        {"\nfoo = 1", "bad.toml:2:1: error: there is no setting \"foo\" here; there are: fail-on, "},
        {"[limits]\nmax-bites = 1", "bad.toml:2:1: error: there is no setting \"max-bites\" here; there are: max-bytes"},
        {"[limits]\nmax-files = 0", "max-files: expected a number from 1 to 100000"},
        {"fps = nan", "fps: expected a number from "},
        {"jobs = 1.5", "jobs: expected a whole number"},
        {"ignore = ['nonsense']", "there is no code \"nonsense\""},
        {"ignore = 'key-order'", "ignore: expected a list of strings"},
        {"[severity]\nkey-order = 'bad'", "bad.toml:2:13: error: key-order: expected hint, note, warning, error or off"},
        {"[[overrides]]\nignore = []", "overrides: expected files"},
        {"format = 'xml'", "format: expected one of text, json, sarif, github"},
        {"strict = ", "bad.toml:1:"},
        {"[[overrides]]\nfiles = ['a', '[b']", "bad.toml:2:15: error: files: \"[b\" fits nothing: a bracket does not end"},
        {"[[overrides]]\nfiles = ['../a/**']", "fits nothing: patterns begin in the folder of this file"},
        {"[[overrides]]\nfiles = ['']", "fits nothing: it is empty"},
    };
    for (Case const& c : cases) {
        folder.add("bad.toml", c.text);
        Result const result = play(folder, "check r --config bad.toml");
        EXPECT_EQ(result.status, 2) << c.text;
        EXPECT_THAT(result.err, HasSubstr(c.says)) << c.text;
    }
    EXPECT_EQ(play(folder, "check r --config missing.toml").status, 2);
}

TEST(Pipeline, CommentsIgnoreWhatIsMeant)
{
    Folder const folder;
    struct Case {
        std::string scene;
        char const* codes; // that are left, of these two
    };
    std::string const two = "<ScalarInterpolator DEF='A' key='0 1 0.5 1' keyValue='0 1 2'/>"; // key-order, too-few-values
    Case const cases[] = {
        {two, "key-order too-few-values "},
        {"<!-- zelvan: ignore key-order, too-few-values – meant -->\n" + two, ""},
        {"<!-- zelvan: ignore key-order -->" + two, "too-few-values "},
        {two + "<!-- zelvan: ignore too-few-values\n - why -->", "key-order "},
        {"<!-- zelvan: ignore key-order -->\n\n" + two, "unused-ignore key-order too-few-values "},
        {two + "\n<!-- zelvan: ignore-file key-order too-few-values -->", ""},
        {"<!-- zelvan: ignore-file zero-axis -->" + two, "key-order too-few-values "}, // which was not asked for
        {"<!-- zelvan: ignore nonsense --><!-- zelvan: what key-order --><!-- zelvan: -->" + two,
         "unused-ignore unused-ignore unused-ignore key-order too-few-values "},
        {"<!-- ignore key-order -->" + two, "key-order too-few-values "},
    };
    for (Case const& c : cases) {
        folder.add("s.x3d", x3d(c.scene));
        auto const json =
            nlohmann::json::parse(play(folder, "check s.x3d --format json --only key-order,too-few-values,unused-ignore").out);
        std::string codes;
        for (auto const& finding : json["findings"])
            codes += finding["code"].get<std::string>() + ' ';
        EXPECT_EQ(codes, c.codes) << c.scene;
    }
    folder.add("s.x3d",
               "<!-- zelvan: ignore-file key-order -->\n" + x3d(two).substr(39)
                   + "<!-- zelvan: ignore-file too-few-values -->");
    EXPECT_EQ(play(folder, "check s.x3d --only key-order,too-few-values,unused-ignore").out, "");
    folder.add(
        "s.wrl",
        "#VRML V2.0 utf8\n# zelvan: ignore key-order -- meant\nDEF A ScalarInterpolator { key [0 1 .5] keyValue [0 1 2] }\n");
    EXPECT_EQ(play(folder, "check s.wrl --only key-order,unused-ignore").out, "");
}

TEST(Pipeline, EndsWithTheStatusThatIsAskedFor)
{
    Folder const folder;
    folder.add("w.x3d", x3d(range));
    folder.add("e.x3d", x3d(unsorted));
    std::pair<char const*, int> const cases[] = {
        {"check w.x3d", 0},
        {"check w.x3d --fail-on warning", 1},
        {"check w.x3d w.x3d --max-warnings 1", 1},
        {"check w.x3d --max-warnings 1", 0},
        {"check w.x3d --only key-span --fail-on note", 0},
        {"check w.x3d missing e.x3d", 3},
        {"run e.x3d", 1},
        {"sweep e.x3d", 1},
        {"export e.x3d", 1},
        {"run w.x3d", 0},
        {"check e.x3d --severity key-order=off", 0},
    };
    for (auto const& [arguments, status] : cases)
        EXPECT_EQ(play(folder, arguments).status, status) << arguments;
    EXPECT_THAT(play(folder, "run e.x3d").err, HasSubstr("e.x3d:3:38: error: A.key[2] is 0.5, after 1"));
    Result const explained = play(folder, "explain key-order");
    EXPECT_THAT(explained.out,
                testing::AllOf(StartsWith("key-order (error): "), HasSubstr("\nBad:\n"), HasSubstr("\nGood:\n"),
                               HasSubstr("Curve"), HasSubstr("\u2588")));
}

TEST(Processes, GiveResultsInOrderAndTellHowTheyDied)
{
    std::signal(SIGPIPE, SIG_IGN); // as the program does
    for (unsigned const jobs : {1u, 3u, 50u}) {
        std::string all; // also what a process that died had been given besides
        auto const work = [](std::size_t n) {
            if (n == 3 || n == 19)
                ::raise(SIGKILL);
            if (n == 7)
                throw std::bad_alloc();
            ::usleep(n % 4 == 0 ? 3000 : 0);
            return n == 11 ? std::string(1 << 20, 'x') : std::to_string(n);
        };
        inProcesses(20, jobs, work, [&](std::size_t n, std::string const& result, std::string const& death) {
            all += std::to_string(n) + '=' + (result.size() > 9 ? std::to_string(result.size()) : result) + death + ' ';
        });
        EXPECT_EQ(all,
                  "0=0 1=1 2=2 3=by signal 9 (Killed) 4=4 5=5 6=6 7=with status 3 8=8 9=9 10=10 11=1048576 12=12 13=13 14=14 "
                  "15=15 16=16 17=17 18=18 19=by signal 9 (Killed) ");
        EXPECT_LT(::waitpid(-1, nullptr, WNOHANG), 0) << "none is left behind";
        // So many that each process is given several at a time.
        std::size_t next = 0, dead = 0;
        auto const many = [](std::size_t n) { return n % 97 == 5 ? (::raise(SIGKILL), "") : std::to_string(n); };
        inProcesses(1000, jobs, many, [&](std::size_t n, std::string const& result, std::string const& death) {
            EXPECT_EQ(n, next++);
            EXPECT_EQ(result, n % 97 == 5 ? "" : std::to_string(n));
            dead += !death.empty();
        });
        EXPECT_EQ(dead, 11);
    }
}

} // namespace
} // namespace Zelvan::play::test
