#include "player/editing/Reduce.h"

#include "player/scene/Values.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Zelvan::play {

namespace {

std::vector<NumberList::Number> keptNumbers(NumberList const& list, std::vector<std::size_t> const& kept, std::size_t width)
{
    std::vector<NumberList::Number> numbers;
    for (std::size_t const key : kept)
        for (std::size_t i = key * width; i < (key + 1) * width; ++i)
            numbers.push_back({list.numbers()[i], i});
    return numbers;
}

bool isLinear(SceneNode const& node)
{
    NodeType const* const linear = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), "LinearInterpolator", searchExact);
    return node.node->type().isDerivedFrom(*linear) && node.node->type()._name != "TransformationInterpolator";
}

// Which key of the original a key of the result is; values may have moved.
std::vector<std::size_t> keysOf(KeyTrack const& result, KeyTrack const& original)
{
    std::vector<std::size_t> keys;
    std::size_t at = 0;
    for (std::size_t i = 0; i < result.size(); ++i, ++at) {
        while (original.keys[at] != result.keys[i])
            ++at;
        keys.push_back(at);
    }
    return keys;
}

void write(Reduced const& reduced, KeyTrack const& original, ListPlaces const& places, SceneNode const& node, SceneEdits& edits)
{
    NumberList const keys = edits.list(places.keys, *fieldOf(node, "key"));
    NumberList const values = edits.list(places.values, valuesOf(node));
    std::vector<std::size_t> const kept = keysOf(reduced.track, original);
    std::vector<NumberList::Number> numbers = keptNumbers(values, kept, original.width);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (float const value = reduced.track.values[i]; std::exchange(numbers[i].value, value) != value)
            numbers[i].old.reset();
    edits.replace(places.keys, keys, keptNumbers(keys, kept, 1), 1);
    edits.replace(places.values, values, numbers, original.components);
}

} // namespace

std::string hindrance(SceneNode const& node, SceneEdits const& edits)
{
    Field const& keys = *fieldOf(node, "key");
    Field const& values = valuesOf(node);
    if ((keys.empty() || values.empty()) && keys._routesIn == nullptr && values._routesIn == nullptr)
        return "has no keys or no values";
    if (std::string why = edits.hindrance(node); !why.empty())
        return why;
    bool const blocks = isList(outputOf(node)->dataType());
    if (blocks ? values.size() % keys.size() != 0 : values.size() != keys.size())
        return "has " + std::to_string(keys.size()) + " keys for " + std::to_string(values.size()) + " values";
    return "";
}

std::vector<TrackChange> reduceScene(Scene const& scene, SceneEdits& edits, Tolerance const& tolerance, bool free)
{
    std::vector<TrackChange> changes;
    std::set<ListPlaces> done;
    for (SceneNode const& node : scene.sceneNodes) {
        if (!isInterpolator(node))
            continue;
        TrackChange change;
        change.node = &node;
        change.before = change.after = fieldOf(node, "key")->size();
        auto const places = edits.placesOf(node);
        if (places && !done.insert(*places).second)
            continue;
        if (!isLinear(node))
            change.left = "does not blend its values straight";
        else
            change.left = hindrance(node, edits);
        if (change.left.empty()) {
            KeyTrack const track = trackOf(node);
            auto const allowed = tolerance.of(track, edits.instancesOf(node));
            change.angle = track.motion == Motion::rotation;
            change.left = !allowed ? "no --max-error fits its values" : faultOf(track);
            if (change.left.empty()) {
                change.asked = *allowed;
                try {
                    edits.file(places->keys.file);
                    edits.file(places->values.file);
                    Reduced const reduced = reduceTrack(track, *allowed, free);
                    change.after = reduced.track.size();
                    change.measured = reduced.difference;
                    if (change.after < change.before) {
                        write(reduced, track, *places, node, edits);
                        change.edited = true;
                    }
                } catch (Failure const& failure) {
                    if (failure.status() == exitMachine)
                        throw;
                    change.after = change.before;
                    change.left = failure.what();
                }
            }
        }
        changes.push_back(std::move(change));
    }
    return changes;
}

} // namespace Zelvan::play
