// Hours of scene time, as fast as it goes: memory must not grow, the clock must not drift, and nothing is left behind.
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

/// A scene that is played frame by frame, with the recorder that `run` has.
struct Play {
    explicit Play(char const* file) : scene(readScene(file, {}, diagnostics)), clock(*scene), recorder(*scene, {})
    {
        clock.startAll(0);
    }
    void advance(std::size_t frame)
    {
        clock.advance(static_cast<double>(frame) / fps, [this] { recorder.beginFrame(); });
    }
    /// All values of all nodes.
    std::string state() const
    {
        std::string text;
        for (SceneNode const* const node : scene->sceneNodes)
            for (Zelvan::Field const* const field : node->node->fields())
                text += node->name + '.' + field->findName() + ' ' + field->getValueAsStr() + '\n';
        return text;
    }

    Diagnostics diagnostics{std::cerr};
    std::unique_ptr<Scene> scene;
    Clock clock;
    Recorder recorder;
};

bool run(char const* file, double hours)
{
    { // what is allocated once and stays
        Play(file).advance(0);
    }
    std::size_t const before = ::mallinfo2().uordblks;
    std::size_t const frames = static_cast<std::size_t>(hours * 3600 * fps);
    std::size_t drifted = 0, looked = 0;
    double first = 0, last = 0;
    {
        Play play(file);
        for (std::size_t frame = 0; frame <= frames; ++frame) {
            play.advance(frame);
            if (frame == frames / 100)
                first = residentMegabytes();
            if (frame > 0 && frame % (frames / 24) == 0) { // a fresh scene that leaps to this frame is in the same state
                ++looked;
                last = residentMegabytes();
                Play fresh(file);
                fresh.advance(0);
                fresh.advance(frame);
                drifted += fresh.state() != play.state();
            }
        }
        play.recorder.finish();
        std::printf("%s: %zu frames, %zu events, %.1f MB after a hundredth and %.1f MB at the end, %zu of %zu states differ",
                    file, frames, play.recorder.events(), first, last, drifted, looked);
    }
    long const left = static_cast<long>(::mallinfo2().uordblks) - static_cast<long>(before);
    std::printf(", %ld bytes left\n", left);
    return drifted == 0 && last < first + 1 && left == 0;
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
