#include "tests/player/Files.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Result {
    int status;
    std::string out, err;
};

/// Runs the program in a folder; the command line is a shell's.
Result play(Folder const& folder, std::string const& arguments, std::string const& before = "")
{
    std::string const command = "cd '" + folder.path("") + "' && " + before + " '" ZELVAN_PLAY "' " + arguments + " >.out 2>.err";
    int const status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), folder.read(".out"), folder.read(".err")};
}

std::string const chain = R"(<TimeSensor DEF='Clock' cycleInterval='2' loop='true'/><TimeSensor DEF='Idle'/>
    <ScalarInterpolator DEF='A' key='0 1' keyValue='0 0.5'/><ColorInterpolator DEF='B' key='0 1' keyValue='1 0 0 0 0 1'/>
    <Material DEF='M'/><ROUTE fromNode='Clock' fromField='fraction_changed' toNode='A' toField='set_fraction'/>
    <ROUTE fromNode='A' fromField='value_changed' toNode='B' toField='set_fraction'/>
    <ROUTE fromNode='B' fromField='value_changed' toNode='M' toField='diffuseColor'/>)";

TEST(Program, EndsWithTheStatusThatTellsWhoIsAtFault)
{
    Folder const folder;
    folder.add("good.x3d", x3d(chain));
    folder.add("warned.x3d", x3d("<ROUTE fromNode='x' fromField='y' toNode='z' toField='w'/>" + chain));
    folder.add("bad.x3d", x3d("<ScalarInterpolator DEF='S' key='a'/>" + chain));
    folder.add("cut.x3d", x3d(chain).substr(0, 300));
    folder.add("notalib.so", "no library");
    struct Case {
        char const* arguments;
        int status;
        char const* err;
    };
    Case const cases[] = {
        {"run good.x3d", 0, ""},
        {"run warned.x3d", 0, "warned.x3d:3:1: warning: ROUTE x.y TO z.w"},
        {"run warned.x3d --strict", 1, "warned.x3d:3:1: error: ROUTE x.y TO z.w"},
        {"run bad.x3d", 1, "bad.x3d:3:34: error: S.key (MFFloat): expected a number, found \"a\""},
        {"run cut.x3d", 1, "zelvan-play: cut.x3d:"},
        {"run missing.x3d", 3, "zelvan-play: missing.x3d: cannot open: No such file or directory"},
        {"run .", 3, "zelvan-play: .: cannot read: Is a directory"},
        {"run good.x3d --pool notalib.so", 3, "notalib.so"},
        {"run good.x3d --csv no/where.csv", 3, "zelvan-play: no/where.csv: cannot write: No such file or directory"},
        {"run good.x3d --csv /dev/full", 3, "zelvan-play: /dev/full: cannot write: No space left on device"},
        {"run good.x3d --param no=true", 2, "no parameter is named \"no\"; there are: binSearchKeyIndex"},
        {"run good.x3d --fps 0", 2, "fps above 0"},
        {"run good.x3d --start Nobody", 2, "no TimeSensor is named \"Nobody\"; there are: Clock, Idle"},
        {"run good.x3d --nonsense", 2, ""},
        {"fly good.x3d", 2, ""},
        {"", 2, ""},
    };
    for (Case const& c : cases) {
        Result const result = play(folder, c.arguments);
        EXPECT_EQ(result.status, c.status) << c.arguments << '\n' << result.err;
        EXPECT_THAT(result.err, HasSubstr(c.err)) << c.arguments;
    }
    // What could not be finished leaves nothing behind, and what was there stays.
    folder.add("kept.csv", "old");
    EXPECT_EQ(play(folder, "export good.x3d -o kept.csv", "ulimit -f 1 &&").status, 3);
    EXPECT_EQ(folder.read("kept.csv"), "old");
}

TEST(Program, NoticesWhatTheMachineRefuses)
{
    Folder const folder;
    folder.add("s.x3d", x3d(chain));
    struct Case {
        char const* command; // of a shell; $P is the program
        int status;
        char const* err;
    };
    Case const cases[] = {
        {"$P run s.x3d >/dev/full", 3, "standard output: cannot write: No space left on device"},
        {"$P check s.x3d >/dev/full", 3, "No space left"},
        {"$P types >/dev/full", 3, "No space left"},
        {"$P export s.x3d -o /dev/full", 3, "No space left"},
        {"$P --help >/dev/full", 3, "standard output: cannot write"},
        {"$P run s.x3d >&-", 3, "standard output: cannot write: Bad file descriptor"},
        {"$P run - <&-", 3, "<stdin>: cannot read: Bad file descriptor"},
        {"$P run s.x3d 2>&-", 0, ""},
        {"{ sleep 0.2; $P export s.x3d; echo $? >status; } | true; exit $(cat status)", 3, "Broken pipe"},
        {"$P run /proc/self/mem", 3, "/proc/self/mem: cannot read: Input/output error"},
        {"mkdir d; $P export s.x3d -o d", 3, "d: cannot write: Is a directory"},
        // What is opened while standard output is closed gets none of it.
        {"$P run s.x3d --at 1 --csv a.csv >&-; $P run s.x3d --at 1 --csv b.csv; cmp a.csv b.csv", 0, "cannot write"},
        // The file grows to so many blocks, by a short write, and no further.
        {"for k in 1 2 5 80; do (ulimit -f $k; $P run s.x3d --html h; test $? = 3) || exit 1; done", 0, "File too large"},
        {"test \"$(echo *)\" = 'a.csv b.csv d s.x3d status' || { ls; exit 1; }", 0, ""},
    };
    for (Case const& c : cases) {
        std::string const shell = "cd '" + folder.path("") + "'; P='" ZELVAN_PLAY "'; { " + c.command + "; } >.out 2>.err";
        int const status = std::system(shell.c_str());
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), c.status)
            << c.command << '\n' << folder.read(".out");
        EXPECT_THAT(folder.read(".err"), HasSubstr(c.err)) << c.command;
    }
}

TEST(Program, TellsTheAngleOfAMatrixByTheShorterWay)
{
    Folder const folder;
    std::string const quarter = " 0 1 0 0 -1 0 0 0 0 0 1 0 0 0 0 1", back = " 0 -1 0 0 1 0 0 0 0 0 1 0 0 0 0 1";
    std::string const beyond = " -0.5 -0.866025 0 0 0.866025 -0.5 0 0 0 0 1 0 0 0 0 1";
    for (std::string const& key : {quarter, back, beyond}) {
        folder.add("turn.x3d", x3d("<TimeSensor DEF='C' loop='true'/><TransformationInterpolator DEF='S' key='0 1' keyValue='"
                                   + key + key + "'/><ROUTE fromNode='C' fromField='fraction_changed' toNode='S' "
                                   "toField='set_fraction'/>"));
        for (char const* const command : {"run turn.x3d", "sweep turn.x3d"})
            EXPECT_THAT(play(folder, command).out, HasSubstr(key == beyond ? "(120 deg)" : "(90 deg)")) << command << key;
    }
}

} // namespace
} // namespace Zelvan::play::test
