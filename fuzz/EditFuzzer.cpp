// Editing a scene: whatever it holds, what comes out reads back, and what was not meant is what it was.

#include "fuzz/SceneFolder.h"
#include "player/editing/Bake.h"
#include "player/editing/Fixes.h"
#include "player/editing/Proof.h"
#include "player/playing/Clock.h"
#include "player/reading/SceneReader.h"

#include <fstream>

using namespace Zelvan;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static fuzz::SceneFolder folder;
    if (size == 0)
        return 0;
    std::string const file = folder.write(data, size);
    play::ReadLimits const limits{.bytes = 1 << 18, .nodes = 200, .expanded = 200, .files = 8};
    play::Diagnostics diagnostics(std::cerr);
    try {
        auto const scene = play::readScene(file, limits, diagnostics);
        play::SceneEdits edits(*scene, false, limits.bytes);
        play::Tolerance const tolerance({"1%", "1deg"});
        if (size % 3 == 1)
            for (play::TrackChange const& change : play::reduceScene(*scene, edits, tolerance, size % 2 == 0))
                require(change.measured.largest <= change.asked && change.after <= change.before, "the error is kept");
        else if (size % 3 == 0)
            for (play::TrackChange const& change :
                 play::bakeScene(*scene, edits, {tolerance, size % 2 == 0, false, {}, size % 4 == 0}).changes)
                require(!change.left.empty() || change.measured.largest <= change.asked, "the error is kept");
        else
            play::fixScene(*scene, edits, {}, size % 2 == 0, [&](auto const& change, bool startAll) {
                play::ScenePlay played{play::readScene(file, limits, diagnostics), {}};
                change(*played.scene);
                play::Recorder recorder(*played.scene, {.keepSamples = true, .mostKept = 1 << 16});
                play::Clock clock(*played.scene);
                if (startAll)
                    clock.startAll(0);
                for (play::Timing::Frame const& frame : play::Timing{0, 1, 8, {}}.frames())
                    clock.advance(frame.time, [&recorder] { recorder.beginFrame(); });
                recorder.finish();
                played.tracks = recorder.allTracks();
                return played;
            });
        if (edits.changed().empty()) {
            require(edits.file(0).editedBytes() == std::string(std::istreambuf_iterator<char>(std::ifstream(file).rdbuf()), {}),
                    "nothing to do is nothing done");
            return 0;
        }
        std::string const other = play::unintended(*scene, edits, limits);
        require(other.empty(), other.c_str());
    } catch (play::Failure const&) {
    }
    return 0;
}
