// Reading a scene: whatever the file holds, it becomes a scene or is refused as one.

#include "fuzz/SceneFolder.h"
#include "player/reading/SceneReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan;
    using fuzz::require;
    static fuzz::SceneFolder folder;
    std::string const file = folder.write(data, size);
    play::ReadLimits const limits{.bytes = 1 << 18, .nodes = 1000, .expanded = 1000, .files = 8};
    play::Diagnostics diagnostics(std::cerr);
    try {
        auto const scene = play::readScene(file, limits, diagnostics);
        require(scene->sceneNodes.size() <= limits.nodes && scene->fileNames.size() <= limits.files, "limits");
        for (play::SceneNode const& node : scene->sceneNodes)
            require(scene->place(node).line > 0 && (!node.known || scene->sceneNode(*node.node) == &node),
                    "a node has a place, and is found again");
        for (play::SceneRoute const& route : scene->routes)
            require(!route.route || route.route->from().dataType() == route.route->to().dataType(), "its ends fit");
        scene->goLive();
    } catch (play::Failure const& failure) {
        require(failure.status() == play::exitScene, "what cannot be read is the scene's fault");
    }
    return 0;
}
