// Editing a scene: whatever it holds, what comes out reads back, and what was not meant is what it was.

#include "fuzz/SceneFolder.h"
#include "player/editing/Bake.h"
#include "player/editing/Fixes.h"
#include "player/playing/Clock.h"
#include "player/reading/SceneReader.h"

#include <fstream>

namespace {

using namespace Zelvan;
using fuzz::require;

// Every field that a file sets, but keys and values of interpolators.
std::vector<std::string> othersOf(play::Scene const& scene)
{
    std::vector<std::string> others;
    for (play::SceneNode const& node : scene.sceneNodes) {
        others.push_back(node.name);
        for (auto const& attribute : node.attributes)
            if (Field const* const field = node.node->fields()[attribute.index];
                !play::isInterpolator(node) || (field != play::fieldOf(node, "key") && field != &play::valuesOf(node)))
                others.push_back(std::string(field->findName()) + '=' + field->getValueAsStr());
    }
    return others;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static fuzz::SceneFolder folder;
    if (size == 0)
        return 0;
    std::string const file = folder.write(data, size), result = file + ".edited.x3d";
    play::ReadLimits const limits{.bytes = 1 << 18, .nodes = 200, .expanded = 200, .files = 8};
    play::Diagnostics diagnostics(std::cerr);
    try {
        auto const scene = play::readScene(file, limits, diagnostics);
        unsigned const errors = diagnostics.errors();
        play::SceneEdits edits(*scene, false, limits.bytes);
        play::Tolerance const tolerance({"1%", "1deg"});
        bool const bakes = size % 3 == 0;
        if (size % 3 == 1)
            for (play::TrackChange const& change : play::reduceScene(*scene, edits, tolerance, size % 2 == 0))
                require(change.measured.largest <= change.asked && change.after <= change.before, "the error is kept");
        else if (bakes)
            for (play::TrackChange const& change :
                 play::bakeScene(*scene, edits, {tolerance, size % 2 == 0, false, {}, false}).changes)
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
        std::ofstream(result) << edits.file(0).editedBytes();
        play::Diagnostics again(std::cerr);
        auto const edited = play::readScene(result, limits, again);
        require(again.errors() <= errors && edited->sceneNodes.size() == scene->sceneNodes.size(), "it reads back");
        require(bakes || othersOf(*edited) == othersOf(*scene), "what was not meant is unchanged");
    } catch (play::Failure const&) {
    }
    return 0;
}
