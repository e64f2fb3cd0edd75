#include "tests/player/Files.h"

#include "base/BaseObject.h"
#include "base/NodeType.h"
#include "player/commands/Application.h"
#include "player/commands/LogOutput.h"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// A program of its own: every allocation in it is counted, and any of them can be made to fail.

static long blocks = 0;       // allocated and not given back
static long untilFailure = 0; // allocations up to the one that fails; 0: none does
static bool lasting = false;  // those after it fail, too
static long tries = 0;        // of all allocations

static bool fails()
{
    ++tries;
    if (untilFailure == 0 || (untilFailure > 1 && --untilFailure > 0))
        return false;
    if (!lasting)
        untilFailure = 0;
    errno = ENOMEM;
    return true;
}

template <class Allocate>
static void* counted(Allocate allocate)
{
    void* const block = fails() ? nullptr : allocate();
    blocks += block != nullptr;
    return block;
}

#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) noexcept
{
    return counted([=] { return __libc_malloc(size); });
}
void* calloc(std::size_t count, std::size_t size) noexcept
{
    return counted([=] { return __libc_calloc(count, size); });
}
void* realloc(void* block, std::size_t size) noexcept
{
    if (block == nullptr)
        return malloc(size);
    return fails() ? nullptr : __libc_realloc(block, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return counted([=] { return __libc_memalign(alignment, size); });
}
void free(void* block) noexcept
{
    blocks -= block != nullptr;
    __libc_free(block);
}
}
#pragma GCC visibility pop

namespace Zelvan::play::test {
namespace {

struct Outcome {
    int status;
    long left;  ///< blocks more than before
    long tries; ///< to allocate
};

/// What the process that tries tells the one that waits for it.
struct Report {
    long allocation; ///< that fails
    bool thenAll;    ///< and those after it
    long tried[2];   ///< without and with those after it
    char wrong[4000];
};

/// The pool once more, if it is loaded.
void* loadedPool()
{
    static std::string const file = loadPool("").back().file;
    return ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
}

/// However often the process has loaded the pool.
void unloadPool()
{
    while (void* const pool = loadedPool())
        ::dlclose(pool), ::dlclose(pool);
}

class AllocationFailure : public testing::Test {
protected:
    AllocationFailure()
    {
        // PROTOs, an Inline in UTF-16, every message, values of every kind.
        std::filesystem::copy(ZELVAN_FAILING_SCENE, folder.path(""));
        if (std::system(("gzip '" + folder.path("scene.x3d") + "'").c_str()) != 0)
            throw std::runtime_error("no gzip");
        std::filesystem::current_path(folder.path(""));
    }
    ~AllocationFailure() override { std::filesystem::current_path("/"); }

    /// Does the work where allocation `k` fails, and perhaps all that follow; it may take 20 s.
    template <class Work>
    static Outcome outcomeOf(Work work, long k, bool thenAll)
    {
        for (auto const& [name, fd] : {std::pair{".out", STDOUT_FILENO}, std::pair{".err", STDERR_FILENO}}) {
            int const file = ::open(name, O_CREAT | O_TRUNC | O_WRONLY, 0600);
            ::dup2(file, fd);
            ::close(file);
        }
        // A process that ends would not know of it.
        std::cout.clear(), std::cerr.clear();
        ::alarm(20);
        long const before = blocks, first = tries;
        untilFailure = k;
        lasting = thenAll;
        int const status = work();
        untilFailure = 0;
        return {status, blocks - before, tries - first};
    }

    static std::map<std::string, std::string> files()
    {
        std::map<std::string, std::string> found;
        for (auto const& entry : std::filesystem::directory_iterator("."))
            found[entry.path().filename()] = textOf(entry.path());
        return found;
    }

    /// The work with each allocation from `start` on failing, alone and with all that follow, until there are no more.
    /// Returns what is wrong.
    template <class Work>
    static std::string wrongOf(Work work, std::vector<char const*> const& outputs, long start, Report& report)
    {
        Outcome const usual = outcomeOf(work, 0, false);
        auto const complete = files();
        if (usual.status > exitScene || usual.left != 0)
            return "as usual: " + complete.at(".err");
        for (bool const thenAll : {false, true}) {
            for (long k = start;; k += thenAll ? 7 : 1) {
                report.allocation = k;
                report.thenAll = thenAll;
                for (char const* const name : outputs)
                    std::ofstream(name) << "old";
                Outcome const outcome = outcomeOf(work, k, thenAll);
                auto found = files();
                if (outcome.left != 0)
                    return "blocks are left: " + found[".err"];
                if (outcome.status != usual.status) {
                    if (outcome.status != exitMachine || found[".err"].empty())
                        return "status " + std::to_string(outcome.status) + ": " + found[".err"];
                    found[".out"] = complete.at(".out");
                    found[".err"] = complete.at(".err");
                    for (char const* const name : outputs)
                        if (found[name] == "old")
                            found[name] = complete.at(name);
                } // else nobody needed that memory: then nothing is missing
                for (auto const& [name, text] : found)
                    if (!complete.contains(name) || complete.at(name) != text)
                        return name + ": " + text;
                if (found.size() != complete.size())
                    return "files are missing";
                if (outcome.tries < k)
                    break;
                ++report.tried[thenAll];
            }
        }
        return "";
    }

    /// All that in a process of its own, which may crash.
    template <class Work>
    static void tryAll(Work work, std::vector<char const*> const& outputs, long start)
    {
        auto& report =
            *static_cast<Report*>(::mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        pid_t const child = ::fork();
        if (child == 0)
            [&]() noexcept {
                std::string const wrong = wrongOf(work, outputs, start, report);
                wrong.copy(report.wrong, sizeof report.wrong - 1);
                ::_exit(0);
            }();
        int state = 0;
        ::waitpid(child, &state, 0);
        SCOPED_TRACE("allocation " + std::to_string(report.allocation) + (report.thenAll ? " and all that follow" : ""));
        EXPECT_EQ(state, 0);
        EXPECT_STREQ(report.wrong, "");
        EXPECT_GT(report.tried[1], 0);
        std::cout << report.tried[0] << " allocations, " << report.tried[1] << " and all that follow" << std::endl;
        ::munmap(&report, sizeof report);
    }

    /// A command line, all of it or what comes after the options have been read, which is the same for all.
    void tryCommand(std::vector<char const*> const& arguments, std::vector<char const*> const& outputs, bool whole = false)
    {
        auto const play = [whole](std::vector<char const*> const& line) {
            int const status = runApplication(static_cast<int>(line.size()), line.data());
            untilFailure = 0;
            forgetShown(1);
            if (whole)
                unloadPool();
            return status;
        };
        // What is made once for a process is made now.
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        play({"zelvan-play", "check", "scene.x3d.gz", "--log-level", "5"}); // the log keeps room for its lines
        play(arguments), play(arguments);
        long const before = tries;
        play({"zelvan-play", "check"});
        long const start = whole ? 1 : tries - before - 9;
        testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr();
        tryAll([&] { return play(arguments); }, outputs, start);
    }

    // In memory where there is such a folder: a file that takes the place of another is written to the disk at once.
    Folder const folder = [] {
        if (::access("/dev/shm", W_OK) == 0)
            ::setenv("TMPDIR", "/dev/shm", 1);
        return Folder();
    }();
};

TEST_F(AllocationFailure, WhileThePoolIsLoaded)
{
    tryCommand({"zelvan-play", "types"}, {}, true);
}

TEST_F(AllocationFailure, WhileASceneIsRead)
{
    tryCommand({"zelvan-play", "check", "scene.x3d.gz", "--log-level", "5"}, {});
}

TEST_F(AllocationFailure, WhileASceneIsPlayed)
{
    tryCommand({"zelvan-play", "run", "scene.x3d.gz", "--to", "1", "--fps", "2", "--csv", "a.csv", "--jsonl", "a.jsonl",
                "--html", "a.html"},
               {"a.csv", "a.jsonl", "a.html"});
}

TEST_F(AllocationFailure, WhileValuesAreExported)
{
    tryCommand({"zelvan-play", "export", "scene.x3d.gz", "--at-keys", "-o", "all.csv"}, {"all.csv"});
}

TEST_F(AllocationFailure, CannotKeepASceneAndThePoolLoaded)
{
    Diagnostics diagnostics(std::cout);
    diagnostics.onMessage = [](auto...) {};
    auto const open = [&] { return loadPool(""), readScene("scene.x3d.gz", {}, diagnostics); };
    for (int i = 0; i < 3; ++i) {
        open();
        unloadPool();
    }
    unsigned const objects = BaseObject::_objCount;
    std::size_t const types = theSceneNodeTypeFactory().types().size();
    long const before = blocks;
    std::unique_ptr<Scene> scene = open();
    void* const pool = loadedPool();
    long const triesBefore = tries;
    scene.reset();
    ::dlclose(pool), ::dlclose(pool);
    EXPECT_EQ(tries, triesBefore) << "What needs memory to go may not be able to.";
    EXPECT_EQ(blocks, before);
    EXPECT_EQ(BaseObject::_objCount, objects);
    EXPECT_EQ(theSceneNodeTypeFactory().types().size(), types);
}

} // namespace
} // namespace Zelvan::play::test
