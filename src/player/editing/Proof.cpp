#include "player/editing/Proof.h"

#include "player/reading/SceneReader.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <bit>
#include <sstream>
#include <unordered_map>

namespace Zelvan::play {

namespace {

/// Compares a scene with what has become of it.
class Proof {
public:
    Proof(Scene const& before, Scene const& after, SceneEdits const& edits)
        : _before(before), _after(after), _edits(edits), _intention(edits.intention)
    {}

    std::string difference()
    {
        std::string other = nodes();
        return other.empty() ? routes() : other;
    }

private:
    bool stays(Location where) const { return !_intention.gone.contains(where); }

    std::string nodes()
    {
        auto after = _after.sceneNodes.begin();
        for (SceneNode const& node : _before.sceneNodes) {
            if (!stays(node.where))
                continue;
            auto const type = _intention.types.find(node.where);
            if (after == _after.sceneNodes.end() || after->named != node.named || (node.named && after->name != node.name)
                || after->known != node.known
                || after->typeName != (type != _intention.types.end() ? type->second : node.typeName))
                return node.name + " is another node, or none";
            if (std::string other = fields(node, *after); !other.empty())
                return node.name + other;
            _became[&node] = &*after++;
        }
        return after == _after.sceneNodes.end() ? "" : after->name + " is a node too many";
    }

    // Those that the file sets.
    std::string fields(SceneNode const& node, SceneNode const& after) const
    {
        std::size_t count = 0;
        for (auto const& attribute : node.attributes) {
            Field const* const field = node.known && attribute.index != ~0u ? node.node->fields()[attribute.index] : nullptr;
            Field const* const same = field != nullptr ? fieldOf(after, field->findName()) : nullptr;
            if (same == nullptr && _intention.types.contains(node.where))
                continue; // what only the former type has
            if (count == after.attributes.size() || (same != nullptr && after.attributes[count].index != indexOf(*same)))
                return same != nullptr ? std::string(".") + same->findName() + " is not set" : " has fewer fields";
            ++count;
            bool const counts = same != nullptr && _edits.placeOf(node, *field) == attribute.where; // it may be given twice
            if (counts && !holds(*same, *field, attribute.where))
                return std::string(".") + same->findName() + " has another value";
        }
        return count == after.attributes.size() ? "" : " has more fields";
    }
    bool holds(Field const& after, Field const& before, Location where) const
    {
        std::vector<double> now, then;
        appendNumbers(after, now);
        if (auto const list = _intention.lists.find(where); list != _intention.lists.end())
            then.assign(list->second.begin(), list->second.end());
        else if (componentsOf(before.dataType()).count > 0)
            appendNumbers(before, then);
        else
            return after.getValueAsStr() == before.getValueAsStr();
        return std::ranges::equal(now, then, {}, std::bit_cast<std::uint64_t, double>, std::bit_cast<std::uint64_t, double>);
    }

    std::string routes() const
    {
        std::multimap<Location, SceneRoute const*> byPlace;
        if (!_intention.sources.empty())
            for (SceneRoute const& route : _before.routes)
                byPlace.emplace(route.where, &route);
        auto after = _after.routes.begin();
        for (SceneRoute const& route : _before.routes) {
            if (!stays(route.where))
                continue;
            auto const name = [&] { return "the ROUTE to " + route.to->name + '.' + route.toField; };
            if (after == _after.routes.end())
                return name() + " is none";
            if (became(route.to) != after->to || route.toField != after->toField || route.refused() != after->refused())
                return name() + " leads elsewhere";
            bool same = false;
            if (auto const source = _intention.sources.find(route.where); source != _intention.sources.end()) {
                auto const [begin, end] = byPlace.equal_range(source->second); // one for each instance of a PROTO
                for (auto at = begin; at != end; ++at)
                    same = same || comesFrom(*after, *at->second);
            } else {
                same = comesFrom(*after, route);
            }
            if (!same)
                return name() + " comes from elsewhere";
            ++after;
        }
        return after == _after.routes.end() ? "" : "a ROUTE is too many";
    }
    bool comesFrom(SceneRoute const& after, SceneRoute const& before) const
    {
        return became(before.from) == after.from && before.fromField == after.fromField;
    }
    SceneNode const* became(SceneNode const* node) const
    {
        auto const found = _became.find(node);
        return found == _became.end() ? nullptr : found->second;
    }

    Scene const& _before;
    Scene const& _after;
    SceneEdits const& _edits;
    Intention const& _intention;
    std::unordered_map<SceneNode const*, SceneNode const*> _became;
};

/// A scene that is read, and what reading reports, by kind.
struct ReadAnew {
    ReadAnew(std::string const& file, ReadLimits const& limits, EditedTexts const* edited)
    {
        std::ostringstream none;
        Diagnostics diagnostics(none);
        diagnostics.onMessage = [this](Severity, Place const&, std::string_view kind, std::string const& message) {
            ++reported.try_emplace(std::string(kind), 0, message).first->second.first;
        };
        scene = readScene(file, limits, diagnostics, nullptr, edited);
    }
    std::map<std::string, std::pair<std::size_t, std::string>> reported; ///< with the first message
    std::unique_ptr<Scene> scene;
};

} // namespace

std::string unintended(Scene const& scene, SceneEdits const& edits, ReadLimits const& limits)
try {
    EditedTexts texts;
    for (AuthorFile const* const file : edits.changed())
        texts.emplace(file->path(), file->editedBytes());
    if (texts.empty())
        return "";
    std::string const& main = scene.fileNames.front();
    ReadAnew const after(main, limits, &texts);
    if (std::string other = Proof(scene, *after.scene, edits).difference(); !other.empty())
        return other;
    if (after.reported.empty())
        return "";
    ReadAnew const before(main, limits, nullptr);
    for (auto const& [kind, reported] : after.reported)
        if (auto const known = before.reported.find(kind);
            reported.first > (known == before.reported.end() ? 0 : known->second.first))
            return "more would be wrong: " + reported.second;
    return "";
} catch (Failure const& failure) {
    if (failure.status() == exitMachine)
        throw;
    return std::string("it fails: ") + failure.what();
}

} // namespace Zelvan::play
