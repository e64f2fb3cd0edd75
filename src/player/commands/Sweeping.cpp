#include "player/commands/Sweeping.h"

#include "base/Fields.h"

namespace Zelvan::play {

void sweepAll(Scene& scene, Recorder& recorder, std::function<std::vector<float>(SceneNode const& node)> const& fractionsFor)
{
    for (SceneRoute const& route : scene.routes)
        if (route.route != nullptr)
            Route::remove(*route.route);
    scene.goLive();
    for (SceneNode const& node : scene.sceneNodes) {
        if (recorder.trackOf(node) == nullptr)
            continue;
        auto& fraction = static_cast<SFFloat&>(*fieldOf(node, "set_fraction"));
        recorder.only = &node;
        for (float const f : fractionsFor(node)) {
            recorder.beginFrame();
            fraction._value = f;
            node.node->fieldChanged(fraction, f, nullptr);
        }
    }
    recorder.only = nullptr;
}

} // namespace Zelvan::play
