// Reading a scene: whatever the file holds, it becomes a scene or is refused as one.

#include "fuzz/SceneFolder.h"
#include "player/SceneReader.h"

#include <ostream>

namespace Zelvan::fuzz {
namespace {

void read(std::string const& file, bool encoded)
{
    play::ReadLimits limits;
    limits.bytes = 1 << 18;
    limits.nodes = limits.expanded = 1000;
    limits.files = 8;
    std::ostream nowhere(nullptr);
    play::Diagnostics diagnostics(nowhere);
    diagnostics.onMessage = [&](play::Severity, play::Place const& place, std::string_view kind, std::string const& text) {
        require(!kind.empty() && !text.empty(), "a message has a kind and a text");
        require(place.file.starts_with(std::filesystem::path(file).parent_path().string()), "a message names a file of the scene");
    };
    try {
        auto const scene = play::readScene(file, limits, diagnostics);
        require(scene->sceneNodes.size() <= limits.nodes && scene->fileNames.size() <= limits.files, "limits are kept");
        for (play::SceneRoute const& route : scene->routes)
            require(route.route == nullptr || route.route->from().dataType() == route.route->to().dataType(),
                    "a route joins fields of one type");
        for (play::SceneNode const& node : scene->sceneNodes) {
            require(scene->place(node).line > 0, "a node has a place");
            require(!node.known || scene->sceneNode(*node.node) == &node, "a node is found by its framework node");
        }
        scene->goLive();
    } catch (play::Failure const& failure) {
        require(failure.status() == play::exitScene || encoded, "what cannot be read is the scene's fault");
    }
}

} // namespace
} // namespace Zelvan::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan::fuzz;
    static SceneFolder folder;
    if (std::string const file = folder.write(data, size); !file.empty())
        read(file, isEncoded(data, size));
    return 0;
}
