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

    /// Does the work in a process of its own, where allocation `k` fails, and perhaps all that follow.
    template <class Work>
    Outcome outcomeOf(Work work, long k, bool thenAll)
    {
        static auto* const outcome =
            static_cast<Outcome*>(::mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        pid_t const child = ::fork();
        if (child == 0)
            [&]() noexcept {
                ::alarm(20);
                ::dup2(::open(".out", O_CREAT | O_TRUNC | O_WRONLY, 0600), STDOUT_FILENO);
                ::dup2(::open(".err", O_CREAT | O_TRUNC | O_WRONLY, 0600), STDERR_FILENO);
                long const before = blocks, first = tries;
                untilFailure = k;
                lasting = thenAll;
                int const status = work();
                untilFailure = 0;
                *outcome = {status, blocks - before, tries - first};
                ::_exit(0);
            }();
        int state = 0;
        ::waitpid(child, &state, 0);
        if (state != 0)
            *outcome = {WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state), 0, k};
        return *outcome;
    }

    std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> found;
        for (auto const& entry : std::filesystem::directory_iterator("."))
            found[entry.path().filename()] = folder.read(entry.path().filename());
        return found;
    }

    /// The work with each allocation from `start` on failing, alone and with all that follow, until there are no more.
    template <class Work>
    void tryAll(Work work, std::vector<char const*> const& outputs, long start, long left)
    {
        Outcome const usual = outcomeOf(work, 0, false);
        ASSERT_LE(usual.status, exitScene) << folder.read(".err");
        ASSERT_EQ(usual.left, left);
        auto const complete = files();
        for (bool const thenAll : {false, true}) {
            unsigned tried = 0;
            for (long k = start;; k += thenAll ? 7 : 1) {
                for (char const* const name : outputs)
                    folder.add(name, "old");
                Outcome const outcome = outcomeOf(work, k, thenAll);
                auto found = files();
                std::string const where = "allocation " + std::to_string(k) + ": " + found[".err"];
                ASSERT_EQ(outcome.left, left) << where;
                if (outcome.status != usual.status) {
                    ASSERT_EQ(outcome.status, exitMachine) << where;
                    ASSERT_NE(found[".err"], "") << where;
                    found[".out"] = complete.at(".out");
                    found[".err"] = complete.at(".err");
                    for (char const* const name : outputs)
                        if (found[name] == "old")
                            found[name] = complete.at(name);
                } // else nobody needed that memory: then nothing is missing
                for (auto const& [name, text] : found)
                    ASSERT_TRUE(complete.contains(name) && complete.at(name) == text) << name << ": " << where;
                ASSERT_EQ(found.size(), complete.size()) << where;
                if (outcome.tries < k)
                    break;
                ++tried;
            }
            std::cout << tried << (thenAll ? " allocations and all that follow" : " allocations") << std::endl;
        }
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
        testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr();
        long const start = whole ? 1 : outcomeOf([&] { return play({"zelvan-play", "check"}); }, 0, false).tries - 9;
        tryAll([&] { return play(arguments); }, outputs, start, 0);
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
    auto const unload = [&] {
        scene.reset();
        ::dlclose(pool), ::dlclose(pool);
        return BaseObject::_objCount == objects && theSceneNodeTypeFactory().types().size() == types ? 0 : 9;
    };
    tryAll(unload, {}, 1, before - blocks);
}

} // namespace
} // namespace Zelvan::play::test
