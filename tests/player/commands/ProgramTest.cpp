#include "tests/player/commands/Play.h"

#include "player/scene/Utf8.h"

#include <gmock/gmock.h>
#include <set>
#include <sstream>

namespace Zelvan::play::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

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
        {"run good.x3d --pool notalib.so", 3, "notalib.so"},
        {"run good.x3d --start Nobody", 2, "no TimeSensor is named \"Nobody\"; there are: Clock, Idle"},
        {"good.x3d --svg curves.svg", 0, ""},
        {"--strict ./good.x3d", 0, ""},
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

TEST(Program, RefusesOptionsBeyondTheirRangeAndWithoutSense)
{
    Folder const folder;
    folder.add("s.x3d", x3d(chain));
    auto const refused = [&](std::string const& arguments, std::string const& why) {
        Result const result = play(folder, arguments);
        EXPECT_EQ(result.status, 2) << arguments << result.err;
        EXPECT_THAT(result.err, HasSubstr(why)) << arguments;
        EXPECT_EQ(result.out, "");
    };
    struct Range {
        char const* commands;
        char const* options;
        std::vector<std::string> bad;
    };
    std::vector<std::string> const counts = {"0", "-1", "1.5e300", "nan", "x", "1x", "inf"},
                                   times = {"-1", "nan", "inf", "2e9", "1s"};
    Range const ranges[] = {
        {"run sweep check export", "--max-bytes", counts},
        {"run check", "--max-depth --max-elements --max-nodes --max-expanded --max-files --max-values", counts},
        {"run", "--max-depth", {"2001"}},
        {"check", "--per-node", {"-1", "nan"}},
        {"check", "--per-code", {"-1", "5000000000"}},
        {"run export", "--from --to --duration --at", times},
        {"run export", "--fps", {"0", "-5", "nan", "inf"}},
        {"export", "--rate", {"0", "nan", "1e9"}},
        {"sweep", "--at", {"nan", "inf", "1e30"}},
        {"sweep", "--from", {"nan", "-1e30"}},
        {"sweep", "--to", {"nan", "inf"}},
        {"sweep", "--steps", {"0", "-1", "1e8", "nan"}},
    };
    for (Range const& range : ranges) {
        std::istringstream commands(range.commands);
        for (std::string command, option; commands >> command;)
            for (std::istringstream options(range.options); options >> option;)
                for (std::string const& bad : range.bad)
                    refused(command + " s.x3d " + option + '=' + bad, option + ": expected a number from ");
    }
    for (std::string const clash :
         {"export s.x3d --at 1 --at-keys", "export s.x3d --fps 5 --rate 5", "export s.x3d --at-keys --rate 5",
          "run s.x3d --to 1 --duration 1", "sweep s.x3d --at 0 --at-keys", "sweep s.x3d --steps 5 --at 0",
          "sweep s.x3d --at-keys --from 0", "run s.x3d --at 1 --to 2", "export s.x3d --rate 5 --at 1"})
        refused(clash, "excludes");
    refused("run s.x3d --start Clock@nan", "expected a time from 0 to 1000000000, found \"nan\"");
    refused("run s.x3d --inject A.set_fraction=1@1e10", "expected a time from 0 to 1000000000");
}

TEST(Program, ShowsNothingRawToTheTerminal)
{
    Folder const folder;
    // As an attribute has them, where a line break is a blank, and as they are made visible.
    std::string const evil = "E&#27;[2J&#10;x.x3d:1:1: error: forged\u202E\u009B";
    std::string const shown = "E\\x1b[2J x.x3d:1:1: error: forged\\u202e\\u009b";
    folder.add("s.x3d",
               x3d("<TimeSensor DEF='T" + evil + "' loop='true'/><TimeSensor DEF='I" + evil + "'/><Group DEF='G" + evil
                   + "'/><ScalarInterpolator DEF='" + evil + "' key='0 1' keyValue='0 1' k" + "='1'/><ColorInterpolator DEF='C"
                   + evil + "' key='0 1' keyValue='9 9 9 -9 0 4'/><ScalarInterpolator DEF='" + evil + "' key='" + evil
                   + "'/><Inline url='&quot;" + evil + "&quot;'/><ROUTE fromNode='T" + evil
                   + "' fromField='fraction_changed' toNode='" + evil + "' toField='set_fraction'/><ROUTE fromNode='T" + evil
                   + "' fromField='fraction_changed' toNode='C" + evil + "' toField='set_fraction'/><ROUTE fromNode='C" + evil
                   + "' fromField='value_changed' toNode='G" + evil + "' toField='c'/>"));
    folder.add("encoding.x3d", "<?xml version='1.0' encoding='\x1b[2J\u202E'?><X3D/>");
    folder.add("root.x3d", "<X3\u202ED/>");
    for (std::string const arguments :
         {"run s.x3d", "run s.x3d --log-level 5", "sweep s.x3d", "export s.x3d --to 0", "check s.x3d", "run s.x3d --start x",
          "run s.x3d --start \"$(printf '\\033\\n')\"", "check encoding.x3d", "run encoding.x3d", "run root.x3d",
          "run \"$(printf '\\033[2J\\302\\233')\"", "types \"$(printf '\\033')\"",
          "run s.x3d --pool \"$(printf 'a\\033\\nb')\"", "run s.x3d --inject \"$(printf '\\033')\"",
          "run s.x3d \"$(printf '\\033')\""}) {
        Result const result = play(folder, arguments);
        bool const csv = arguments.starts_with("export");
        std::string const seen = csv ? result.err : result.err + result.out;
        for (std::string const raw : {"\x1b", "\u202E", "\u009B", "\nx.x3d"})
            EXPECT_EQ(seen.find(raw), std::string::npos) << arguments << '\n' << seen;
        if (arguments.find(" s.x3d") < 8 && result.status < 2) {
            EXPECT_THAT(seen, HasSubstr(shown)) << arguments;
        }
    }
}

TEST(Program, NeverWritesOverWhatItReads)
{
    Folder const folder;
    folder.add("part.x3d", x3d("<Group DEF='P'/>"));
    folder.add("proto.x3d", x3d("<ProtoDeclare name='E'><ProtoBody><Group/></ProtoBody></ProtoDeclare>"));
    folder.add(
        "s.x3d",
        x3d(chain
            + "<Inline url='\"part.x3d\"'/><ExternProtoDeclare name='E' url='\"proto.x3d#E\"'/><ProtoInstance name='E'/>"));
    std::filesystem::create_directory(folder.path("sub"));
    std::filesystem::create_symlink("../part.x3d", folder.path("sub/soft"));
    std::filesystem::create_symlink("sub", folder.path("way"));
    std::filesystem::create_hard_link(folder.path("proto.x3d"), folder.path("hard"));
    std::filesystem::create_symlink(loadPool("").back().file, folder.path("pool.so"));
    auto const contents = [&] {
        return folder.read("s.x3d") + folder.read("part.x3d") + folder.read("proto.x3d") + folder.read("pool.so");
    };
    std::string const before = contents();
    for (std::string const output :
         {"s.x3d", "./s.x3d", "sub/../s.x3d", "part.x3d", "sub/soft", "way/soft", "proto.x3d", "hard", "pool.so"})
        for (std::string const command :
             {"run s.x3d --csv ", "sweep s.x3d --svg ", "run s.x3d --jsonl new --html ", "export s.x3d -o ", "export - -o "}) {
            Result const result = play(folder, command + output + " <s.x3d");
            EXPECT_EQ(result.status, 2) << command << output;
            EXPECT_THAT(result.err, HasSubstr("and is not written over")) << command << output;
            ASSERT_EQ(contents(), before) << command << output;
        }
    EXPECT_FALSE(std::filesystem::exists(folder.path("new")));
    EXPECT_EQ(play(folder, "run s.x3d --csv a --svg way/../sub/../a").status, 2);
}

TEST(Program, WritesWhereAFileStands)
{
    Folder const folder;
    folder.add("s.x3d", x3d(chain));
    struct Case {
        char const* command; // of a shell; $P writes a file
        char const* says;
    };
    Case const cases[] = {
        {"umask 022; echo old >f; chmod 600 f; $P f; stat -c %a f", "600\n"},
        {"umask 022; $P g; stat -c %a g; echo old >f; chmod 664 f; $P f; stat -c %a f", "644\n664\n"},
        {"mkdir d; echo old >d/to; ln -s d/to l; $P l; readlink l; head -c 4 d/to; test -f d/to", "d/to\ntime"},
        {"ln -s d/new m; $P m; readlink m; head -c 4 d/new", "d/new\ntime"},
        {"ln -s loop loop; $P loop 2>&1", "zelvan-play: loop: cannot write: Too many levels of symbolic links\n"},
        {"for n in 250 255; do N=$(head -c $n /dev/zero | tr '\\0' n); $P $N; head -c 4 $N; done", "timetime"},
        {"$P $(head -c 256 /dev/zero | tr '\\0' n) 2>&1 | tail -c 20", " File name too long\n"},
        // Each signal that ends a process, while it writes.
        {"export ASAN_OPTIONS=handle_segv=0; for s in HUP INT QUIT TERM ABRT USR1 USR2 ALRM VTALRM PROF SEGV RTMAX; do ulimit -c 0; "
         "timeout -s $s 0.4 $P t --fps 1000000 --to 5 --format jsonl; ls -A | grep zelvan-play-; test -e t && echo finished; done; "
         "echo end",
         "end\n"},
    };
    for (Case const& c : cases) {
        std::string const shell = "cd '" + folder.path("") + "'; P='" ZELVAN_PLAY " export s.x3d -o'; { "
            + std::string(c.command) + "; } >.out 2>.err";
        std::ignore = std::system(shell.c_str());
        EXPECT_EQ(folder.read(".out"), c.says) << c.command << folder.read(".err");
    }
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
        {"for c in types 'settings s.x3d' 'explain loop-jump' 'diff s.x3d s.x3d --format json' 'reduce s.x3d --write'; do "
         "$P $c >/dev/full; test $? = 3 || exit 1; done; exit 3",
         3, "No space left"},
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
        // What draws scenes is looked for beside the program, and only what has been tried is taken.
        {"mkdir -p e/bin e/share/zelvan-play; cp $P e/bin/p; ln -s ${P%/bin/*}/lib e; e/bin/p run s.x3d --html h --scene", 3,
         "scripts/scene-engine fetches it"},
        {"echo x >e/share/zelvan-play/x3dom.js; e/bin/p run s.x3d --html h --scene; s=$?; rm -r e; exit $s", 3,
         "is not the X3DOM"},
        {"test \"$(echo *)\" = 'a.csv b.csv d s.x3d status' || { ls; exit 1; }", 0, ""},
    };
    for (Case const& c : cases) {
        std::string const shell = "cd '" + folder.path("") + "'; P='" ZELVAN_PLAY "'; { " + c.command + "; } >.out 2>.err";
        int const status = std::system(shell.c_str());
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), c.status) << c.command << '\n'
                                                                                              << folder.read(".out");
        EXPECT_THAT(folder.read(".err"), HasSubstr(c.err)) << c.command;
    }
}

TEST(Program, ReportsFitEightyColumns)
{
    Folder const folder;
    std::string const wide = "回転する大きな球の色と位置を決める補間器その一",
                      combining = std::string(30, 'e') + "\u0301\u0301";
    std::string nodes = "<TimeSensor DEF='A clock with a name of its own' cycleInterval='3' loop='true'/>";
    for (std::string const& name : {wide, combining, std::string(70, 'n')})
        nodes += "<OrientationInterpolator DEF='" + name
            + "' key='0 0.1 1' keyValue='0 1 0 0 0 1 0 3.1 0 1 0 6.2'/>"
              "<ROUTE fromNode='A clock with a name of its own' fromField='fraction_changed' toNode='"
            + name + "' toField='set_fraction'/>";
    folder.add("wide.x3d", x3d(nodes));
    for (std::string const command : {"run", "sweep", "sweep --at-keys"}) {
        std::istringstream out(play(folder, command + " wide.x3d").out);
        std::set<std::size_t> widths; // before the values: they stand in one column
        for (std::string line; std::getline(out, line);) {
            EXPECT_LE(displayWidth(line), 80u) << line;
            if (auto const values = line.find("turns "); values != std::string::npos)
                widths.insert(displayWidth(line.substr(0, values)));
        }
        EXPECT_EQ(widths.size(), 1u) << command;
    }
    EXPECT_THAT(play(folder, "run wide.x3d").out, HasSubstr("0 to 3 s: one cycle of A clock"));
    EXPECT_THAT(play(folder, "run wide.x3d --to 2").out,
                testing::AllOf(HasSubstr("turns 289.4"), HasSubstr("0 to 2 s: 66.7 % of a cycle of A clock")));
    EXPECT_THAT(play(folder, "sweep wide.x3d --at-keys --nodes '*nn'").out,
                testing::AllOf(HasSubstr("  1       0.1  0 1 0 3.1"), testing::Not(HasSubstr("eee"))));
    EXPECT_THAT(play(folder, "sweep wide.x3d --at 0.1 --nodes 'n*' --csv -").out, HasSubstr("\n0.1,nnn"));
}

TEST(Program, TellsWhyNothingMovesAndWhatIsNotRun)
{
    Folder const folder;
    folder.add("still.x3d",
               x3d("<TouchSensor DEF='Touch'/><TimeSensor DEF='Clock' enabled='false'/><Script DEF='Brain'/>"
                   "<ScalarInterpolator DEF='A' key='0 1' keyValue='0 1'/><Transform DEF='Box'/>"
                   "<ROUTE fromNode='Touch' fromField='isOver' toNode='Clock' toField='enabled'/>"
                   "<ROUTE fromNode='Touch' fromField='isOver' toNode='Clock' toField='nothing'/>"
                   "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='A' toField='set_fraction'/>"
                   "<ROUTE fromNode='A' fromField='value_changed' toNode='Brain' toField='x'/>"
                   "<ROUTE fromNode='Brain' fromField='y' toNode='Box' toField='translation'/>"));
    std::string const why = "TimeSensor Clock waits to be enabled by Touch.isOver (--start Clock)\n"
                            "Script Brain is not run (still.x3d:3:";
    std::string const moved = "): Box.translation would get events from it\n";
    for (char const* const command :
         {"export still.x3d", "export still.x3d --format jsonl", "run still.x3d --csv -", "run still.x3d --svg a.svg"}) {
        Result const result = play(folder, command);
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_THAT(result.err, AllOf(HasSubstr("still.x3d: nothing moves\n" + why), HasSubstr(moved))) << command;
    }
    EXPECT_THAT(play(folder, "export still.x3d --start Clock").err, testing::Not(HasSubstr("nothing moves")));
    Result const run = play(folder, "still.x3d --start-all");
    EXPECT_THAT(run.out, AllOf(HasSubstr("1 TimeSensor, 4 routes, "), HasSubstr(moved)));
    EXPECT_THAT(run.err, testing::Not(HasSubstr("nothing moves")));
}

TEST(Program, TellsTheTurnOfAMatrixByTheShorterWay)
{
    Folder const folder;
    struct Case {
        char const *columns, *turn;
    };
    for (Case const& c : {Case{"0 1 0 0 -1 0 0 0", "turns 90 deg about (0 0 1)"},
                          {"0 -1 0 0 1 0 0 0", "turns 90 deg about (0 0 -1)"},
                          {"-0.984808 -0.173648 0 0 0.173648 -0.984808 0 0", "turns 170 deg about (0 0 -1)"}})
        for (char const* const mode : {"matrix", "component"}) {
            folder.add("turn.x3d",
                       x3d("<TimeSensor DEF='C' loop='true'/><TransformationInterpolator DEF='S' mode='" + std::string(mode)
                           + "' key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 " + c.columns
                           + " 0 0 1 0 0 0 0 1'/><ROUTE fromNode='C' fromField='fraction_changed' toNode='S' "
                             "toField='set_fraction'/>"));
            for (char const* const command : {"run turn.x3d", "sweep turn.x3d"})
                EXPECT_THAT(play(folder, command).out, HasSubstr(c.turn)) << command << ' ' << mode;
        }
}

} // namespace
} // namespace Zelvan::play::test
