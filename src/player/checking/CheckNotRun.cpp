#include "player/checking/CheckRules.h"

#include "player/playing/NotRun.h"
#include "player/scene/Values.h"

namespace Zelvan::play {

void checkNotRun(Scene const& scene, FindingCollector& findings)
{
    for (NotRun const& entry : nodesNotRun(scene))
        findings.add(
            "foreign-driver", *entry.node, nullptr,
            [&] {
                return " is " + withArticle(entry.node->typeName) + ", which is not run here: "
                    + (entry.targets.empty() ? "what it does is not seen" : entry.targetText() + " would get events from it");
            },
            entry.targets.empty() ? "" : "--inject plays its part");
}

} // namespace Zelvan::play
