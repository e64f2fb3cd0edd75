#include "player/checking/CheckRules.h"

#include "player/reading/SceneReader.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

std::vector<Finding> checkScene(Scene& scene, std::vector<Finding> readerFindings, CheckOptions const& options)
{
    FindingCollector findings(scene, options);
    // "Mover.keyValue" where a text was refused, for the first instance of a PROTO: that the field is empty is no news then.
    std::unordered_set<std::string> refusedFields;
    for (Finding& finding : readerFindings) {
        if (finding.code == kinds::badValue)
            refusedFields.emplace(withoutInstance(finding.message.substr(0, finding.message.find(" ("))));
        findings.add(std::move(finding));
    }
    FailedEnds failed;
    for (SceneRoute const& route : scene.routes)
        if (route.refused())
            failed.insert({route.from, route.to});
    for (SceneNode const& node : scene.sceneNodes) {
        if (!isInterpolator(node))
            continue;
        KeyedValues values(node);
        Drive const drive = driveOf(scene, node);
        auto const usable = std::span(values.keys).first(values.count);
        values.ordered = std::is_sorted(usable.begin(), usable.end());
        auto const finite = [](auto number) { return std::isfinite(number); };
        values.finite = std::all_of(usable.begin(), usable.end(), finite)
            && std::all_of(values.numbers.begin(),
                           values.numbers.begin() + static_cast<std::ptrdiff_t>(values.count * values.perKey * values.width),
                           finite);
        if (checkMissing(values, drive, failed, refusedFields, findings))
            checkKeys(values, drive, findings);
        checkValues(values, findings);
        checkLoop(values, drive, findings);
    }
    checkNotRun(scene, findings);
    checkRouteLoops(scene, findings);
    checkSensors(scene, findings);
    return findings.take();
}

std::vector<Finding> checkUnread(std::vector<Finding> readerFindings, CheckOptions const& options)
{
    Scene const none;
    FindingCollector findings(none, options);
    for (Finding& finding : readerFindings)
        findings.add(std::move(finding));
    return findings.take();
}

} // namespace Zelvan::play
