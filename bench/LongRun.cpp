// Hours of scene time, as fast as it goes: memory must not grow, the clock must not drift, and nothing is left behind.
#include "player/commands/Report.h"
#include "player/playing/Clock.h"
#include "player/playing/PoolLoader.h"
#include "player/playing/Recording.h"
#include "player/reading/SceneReader.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <memory>

using namespace Zelvan::play;

namespace {

constexpr double fps = 60;

double residentMegabytes()
{
    std::size_t pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * 4096 / 1e6;
}

/// A scene that is played frame by frame.
struct Play {
    explicit Play(char const* file) : scene(readScene(file, {}, diagnostics)), clock(*scene) { clock.startAll(0); }
    void advance(std::size_t frame, std::function<void()> const& begin = {})
    {
        clock.advance(static_cast<double>(frame) / fps, begin);
    }
    /// All values of all nodes.
    std::string state() const
    {
        std::string text;
        for (SceneNode const& node : scene->sceneNodes)
            for (Zelvan::Field const* const field : node.node != nullptr ? node.node->fields() : std::vector<Zelvan::Field*>())
                text += node.name + '.' + field->findName() + ' ' + field->getValueAsStr() + '\n';
        return text;
    }

    Diagnostics diagnostics{std::cerr};
    std::unique_ptr<Scene> scene;
    Clock clock;
};

bool run(char const* file, double hours)
{
    { // what is allocated once and stays, with as many scenes as there will be
        Play one(file), other(file);
        one.advance(0);
        other.advance(0);
        std::string const texts = one.state() + other.state();
    }
    std::size_t const before = ::mallinfo2().uordblks;
    std::size_t const frames = static_cast<std::size_t>(hours * 3600 * fps);
    std::size_t drifted = 0, looked = 0;
    double first = 0, last = 0;
    {
        Play play(file);
        Recorder recorder(*play.scene, {.statistics = shownRows}); // as `run` has it
        auto const begin = [&recorder] { recorder.beginFrame(); };
        for (std::size_t frame = 0; frame <= frames; ++frame) {
            play.advance(frame, begin);
            if (frame > 0 && frame % (frames / 24) == 0) { // a fresh scene that leaps to this frame is in the same state
                ++looked;
                last = residentMegabytes();
                first = looked == 2 ? last : first; // the first look has taken what it needs
                Play fresh(file);
                fresh.advance(0);
                fresh.advance(frame);
                drifted += fresh.state() != play.state();
                std::fprintf(stderr, "\r%s: %.2f of %.2f hours, %.1f MB, %zu states differ", file,
                             static_cast<double>(frame) / fps / 3600, hours, last, drifted);
            }
        }
        recorder.finish();
        std::fputc('\n', stderr);
        std::printf("%s: %zu frames, %zu events, %.1f MB at the second look and %.1f MB at the last, %zu of %zu states differ",
                    file, frames, recorder.events(), first, last, drifted, looked);
    }
    long const left = static_cast<long>(::mallinfo2().uordblks) - static_cast<long>(before);
    std::printf(", %ld bytes left\n", left);
    // Freed pieces that the allocator has at hand count as used.
    return drifted == 0 && last < first + 1 && left < 100'000;
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 3) {
        std::fputs("longRun HOURS SCENE...\n", stderr);
        return 2;
    }
    loadPool("");
    bool fine = true;
    for (int i = 2; i < count; ++i)
        fine = run(arguments[i], std::atof(arguments[1])) && fine;
    return fine ? 0 : 1;
}
