#include "player/editing/Bake.h"

#include "base/Fields.h"
#include "coreNodePool/TimeSensor.h"
#include "player/editing/Markup.h"
#include "player/editing/Sampling.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace Zelvan::play {

namespace {

/// Bakes one scene.
class Baker {
public:
    Baker(Scene const& scene, SceneEdits& edits, BakeOptions const& options) : _scene(scene), _edits(edits), _options(options)
    {}

    BakeResult run()
    {
        for (SceneNode const& node : _scene.sceneNodes)
            ++_names[node.name];
        for (SceneNode const& node : _scene.sceneNodes) {
            if (!isInterpolator(node) || isEase(node))
                continue;
            std::vector<SceneRoute const*> const chain = easesBefore(node);
            bool const curved = node.node->type()._name.starts_with("Spline") || node.node->type()._name.starts_with("Squad");
            auto const places = _edits.placesOf(node);
            if ((chain.empty() && !curved) || (places && !_done.insert(*places).second))
                continue;
            TrackChange change;
            change.node = &node;
            change.before = change.after = fieldOf(node, "key")->size();
            try {
                change.left = bake(node, chain, change);
            } catch (Failure const& failure) {
                if (failure.status() == exitMachine)
                    throw;
                change.after = change.before;
                change.left = failure.what();
            }
            _result.changes.push_back(std::move(change));
        }
        findIdle();
        return std::move(_result);
    }

private:
    static bool isEase(SceneNode const& node) { return isInterpolator(node) && node.node->type()._name == "EaseInEaseOut"; }
    static bool isFinite(KeyTrack const& track)
    {
        return std::ranges::all_of(track.values, [](float value) { return std::isfinite(value); });
    }
    static std::string scopeOf(SceneNode const& node) { return node.name.substr(0, node.name.rfind('/') + 1); }

    // The one ROUTE that leads into a node's fraction; null when there is none, or several.
    SceneRoute const* driverOf(SceneNode const& node) const
    {
        Field const* const fraction = fieldOf(node, "set_fraction");
        SceneRoute const* found = nullptr;
        for (SceneRoute const& route : _scene.routes)
            if (route.route != nullptr && &route.route->to() == fraction) {
                if (found != nullptr)
                    return nullptr;
                found = &route;
            }
        return found;
    }
    // The ROUTEs from each EaseInEaseOut that a node hangs behind, the nearest first.
    std::vector<SceneRoute const*> easesBefore(SceneNode const& node) const
    {
        constexpr std::size_t longest = 16;
        std::vector<SceneRoute const*> chain;
        for (SceneNode const* at = &node; chain.size() < longest; at = chain.back()->from) {
            SceneRoute const* const route = driverOf(*at);
            if (route == nullptr || !isEase(*route->from))
                break;
            chain.push_back(route);
        }
        return chain;
    }

    std::string bake(SceneNode const& node, std::vector<SceneRoute const*> const& eases, TrackChange& change)
    {
        if (std::string why = hindrance(node, _edits); !why.empty())
            return why;
        if (node.node->type()._name == "TransformationInterpolator")
            return "blends matrices";
        if (std::string why = splineHindrance(node); !why.empty())
            return why;
        std::vector<KeyTrack> tracks;
        SceneRoute const* source = nullptr;
        std::vector<SceneNode const*> const instances = _edits.instancesOf(node);
        for (SceneNode const* const other : instances)
            if (!playsAs(node, *other))
                return "its text stands for " + other->name + ", too, which plays otherwise";
        for (auto route = eases.rbegin(); route != eases.rend(); ++route) {
            for (Field const* const field : (*route)->from->node->fields())
                if (field->_routesIn != nullptr && field != fieldOf(*(*route)->from, "set_fraction"))
                    return "a ROUTE sets " + (*route)->from->name + '.' + field->findName();
            if (!static_cast<SFBool const*>(fieldOf(*(*route)->from, "enabled"))->_value)
                return (*route)->from->name + " is not enabled";
            tracks.push_back(trackOf(*(*route)->from));
            if (tracks.back().size() == 0)
                return (*route)->from->name + " has no keys or no values";
        }
        if (!eases.empty()) {
            source = driverOf(*eases.back()->from);
            if (source == nullptr)
                return "more or less than one ROUTE leads into " + eases.back()->from->name;
            if (isEase(*source->from))
                return "hangs behind a ring of EaseInEaseOuts, or more than " + std::to_string(eases.size());
            if (_names[source->from->name] > 1)
                return source->from->name + " is the name of several nodes";
            if (source->where.file != eases.front()->where.file || scopeOf(*source->from) != scopeOf(node)
                || scopeOf(*source->to) != scopeOf(node))
                return eases.back()->from->name + " is driven from another PROTO or file";
            if (source->from->where.file == node.where.file && source->from->where.offset > eases.front()->where.offset)
                return source->from->name + " stands behind the ROUTE that would come from it";
        }
        tracks.push_back(trackOf(node));
        for (std::size_t i = 0; i < tracks.size(); ++i)
            if (std::string why = faultOf(tracks[i]); !why.empty())
                return i < eases.size() ? eases[eases.size() - 1 - i]->from->name + ": " + why : why;
        auto const allowed = _options.tolerance.of(tracks.back(), instances);
        change.angle = tracks.back().motion == Motion::rotation;
        if (!allowed || (!(*allowed > 0) && !evenly()))
            return !allowed ? "no --max-error fits its values" : "an error of 0 cannot be kept";
        change.asked = *allowed;

        std::string name = node.node->type()._name;
        name = name.starts_with("Spline") ? name.substr(6) : name.starts_with("Squad") ? name.substr(5) : name;
        NodeType& type = *NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), name, searchExact)->creatableType();
        PlayedChain chain(std::move(tracks));
        KeyTrack const baked = keysFor(chain, type, source != nullptr ? source : driverOf(node), change);
        if (!isFinite(baked))
            return "its values leave the range of a float";
        if (evenly() || change.measured.largest <= change.asked) {
            change.after = baked.size();
            write(node, baked, eases, source);
            change.edited = true;
            if (evenly())
                change.asked = INFINITY;
            return "";
        }
        return "no keys keep to the error";
    }

    // The fields that only a spline has go with it.
    static constexpr char const* splineFields[] = {"closed", "normalizeVelocity",
                                                   "keyVelocity"}; // the last one without a Field
    static std::vector<Location> splinePlaces(SceneNode const& node)
    {
        std::vector<Location> places;
        for (auto const& attribute : node.attributes)
            if (attribute.index == ~0u || std::ranges::any_of(splineFields, [&](char const* name) {
                    Field const* const field = fieldOf(node, name);
                    return field != nullptr && indexOf(*field) == attribute.index;
                }))
                places.push_back(attribute.where);
        return places;
    }
    static std::size_t countOfWord(std::string_view text, std::string_view word)
    {
        auto const isPart = [&](std::size_t at) {
            return at < text.size() && (std::isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_');
        };
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find(word, at)) != text.npos; at += word.size())
            count += !isPart(at - 1) && !isPart(at + word.size());
        return count;
    }
    std::string splineHindrance(SceneNode const& node)
    {
        for (char const* const name : splineFields)
            if (Field const* const field = fieldOf(node, name); field != nullptr && field->_routesIn != nullptr)
                return std::string("a ROUTE sets its ") + name;
        if (!node.typeName.starts_with("Spline") && !node.typeName.starts_with("Squad"))
            return "";
        std::vector<Location> const places = splinePlaces(node);
        AuthorFile const& file = _edits.file(node.where.file);
        TextRange const whole = nodeText(file, node.where.offset).whole;
        std::size_t words = 0; // also by IS
        for (char const* const name : splineFields)
            words += countOfWord(file.text().substr(whole.begin, whole.end - whole.begin), name);
        bool const within = std::ranges::all_of(places, [&](Location where) {
            return where.file == node.where.file && where.offset > whole.begin && where.offset < whole.end;
        });
        return within && words <= places.size() ? ""
                                                : "what sets its closed, normalizeVelocity or keyVelocity cannot be taken out";
    }

    // Whether what is written for one fits the other, which has the same text.
    bool playsAs(SceneNode const& one, SceneNode const& other) const
    {
        auto const sameText = [](SceneNode const& a, SceneNode const& b, char const* name) {
            Field const *const x = fieldOf(a, name), *const y = fieldOf(b, name);
            return x == nullptr || x->getValueAsStr() == y->getValueAsStr();
        };
        if (!std::ranges::all_of(splineFields, [&](char const* name) { return sameText(one, other, name); }))
            return false;
        auto const a = easesBefore(one), b = easesBefore(other);
        auto const sameEase = [&](SceneRoute const* x, SceneRoute const* y) {
            return x->where == y->where && sameText(*x->from, *y->from, "key") && sameText(*x->from, *y->from, "easeInEaseOut")
                && sameText(*x->from, *y->from, "enabled");
        };
        if (a.empty() || !std::ranges::equal(a, b, sameEase))
            return a.empty() && b.empty();
        SceneRoute const *const from = driverOf(*a.back()->from), *const otherFrom = driverOf(*b.back()->from);
        return from && otherFrom ? from->where == otherFrom->where : from == otherFrom;
    }

    bool evenly() const { return _options.rate.has_value() || _options.atKeys; }

    KeyTrack keysFor(PlayedChain& chain, NodeType& type, SceneRoute const* driver, TrackChange& change) const
    {
        constexpr int steps = 24, tries = 6;
        auto const measure = [&](KeyTrack const& track) {
            PlayedTrack played(track);
            change.measured = largestDifference(chain, played, merged(chain.breaks(), track.keys), steps);
        };
        KeyTrack result;
        if (evenly()) {
            std::vector<float> fractions = chain.breaks();
            if (_options.rate)
                fractions = merged(evenFractions(driver, chain.breaks()), {});
            result = chain.sampled(type, fractions, change.asked);
            measure(result);
            return result;
        }
        KeyTrack const samples = chain.sampled(type, change.asked / 400);
        if (!isFinite(samples))
            return samples;
        double allowed = change.asked;
        for (int i = 0; i < tries; ++i, allowed *= i == 1 ? 0.95 : 0.9) {
            result = reduceTrack(samples, allowed, _options.free).track;
            measure(result);
            if (change.measured.largest <= change.asked)
                break;
        }
        return result;
    }
    std::vector<float> evenFractions(SceneRoute const* driver, std::vector<float> const& breaks) const
    {
        constexpr double most = 100'000;
        constexpr int longest = 16;
        double cycle = 1;
        for (int i = 0; i < longest && driver != nullptr && isInterpolator(*driver->from); ++i)
            driver = driverOf(*driver->from);
        if (driver != nullptr && driver->from->known && TimeSensor::isType(driver->from->node))
            cycle = static_cast<TimeSensor const*>(driver->from->node)->_cycleInterval._value;
        double const length = double(breaks.back()) - breaks.front(),
                     count = std::max(std::ceil(*_options.rate * cycle * length), 1.0);
        if (count > most)
            throw Failure(exitScene, "--rate asks for more than " + roundNumber(most, 6) + " keys");
        std::vector<float> fractions = {breaks.front()};
        for (double k = 1; k < count; ++k)
            fractions.push_back(static_cast<float>(breaks.front() + length * k / count));
        fractions.push_back(breaks.back());
        return fractions;
    }

    void write(SceneNode const& node, KeyTrack const& baked, std::vector<SceneRoute const*> const& eases,
               SceneRoute const* source)
    {
        ListPlaces const places = *_edits.placesOf(node);
        // All that may fail comes before the first edit.
        NumberList const keys = _edits.list(places.keys, *fieldOf(node, "key"));
        NumberList const values = _edits.list(places.values, valuesOf(node));
        AuthorFile& file = _edits.file(node.where.file);
        NodeText const text = nodeText(file, node.where.offset);
        std::vector<TextRange> gone;
        for (Location const where : splinePlaces(node))
            gone.push_back(fieldText(file, node.where.offset, where.offset));
        std::optional<RouteText> from, to;
        if (source != nullptr) {
            AuthorFile& routes = _edits.file(source->where.file);
            from = routeText(routes, source->where.offset);
            to = routeText(routes, eases.front()->where.offset);
        }

        auto const numbers = [](std::vector<float> const& list) {
            std::vector<NumberList::Number> all;
            for (float const number : list)
                all.push_back({number, {}});
            return all;
        };
        _edits.replace(places.keys, keys, numbers(baked.keys), 1);
        _edits.replace(places.values, values, numbers(baked.values), baked.components);
        for (TextRange const range : gone)
            file.replace(range.begin, range.end, "");
        std::size_t const prefix = node.typeName.starts_with("Spline") ? 6 : node.typeName.starts_with("Squad") ? 5 : 0;
        if (prefix > 0)
            _edits.intention.types[node.where] = node.typeName.substr(prefix);
        for (TextRange const name : {text.name, text.endName})
            if (prefix > 0 && name.end > 0)
                file.replace(name.begin, name.begin + prefix, "");
        if (source != nullptr) {
            AuthorFile& routes = _edits.file(source->where.file);
            std::string const all(routes.text());
            std::string_view const name(&all[from->fromNode.begin], from->fromNode.end - from->fromNode.begin);
            // A name that has the other quotes in it brings its own along.
            std::size_t const quote = !routes.classic() && name.find(all[to->fromNode.end]) != name.npos;
            routes.replace(to->fromNode.begin - quote, to->fromNode.end + quote,
                           all.substr(from->fromNode.begin - quote, name.size() + 2 * quote));
            routes.replace(to->fromField.begin, to->fromField.end,
                           all.substr(from->fromField.begin, from->fromField.end - from->fromField.begin));
            _edits.intention.sources[eases.front()->where] = source->where;
        }
    }

    bool isRerouted(Location route) const { return _edits.intention.sources.contains(route); }

    // What leads nowhere now: an EaseInEaseOut none of whose ROUTEs is left, or leads to such a one.
    void findIdle()
    {
        std::set<SceneNode const*> idle;
        for (bool more = true; more;) {
            more = false;
            for (SceneNode const& node : _scene.sceneNodes) {
                if (!isEase(node) || idle.contains(&node))
                    continue;
                bool any = false, needed = false;
                for (SceneRoute const& route : _scene.routes)
                    if (route.from == &node) {
                        any = true;
                        needed |= !isRerouted(route.where) && !idle.contains(route.to);
                    }
                if (any && !needed)
                    more = idle.insert(&node).second;
            }
        }
        for (SceneNode const& node : _scene.sceneNodes) {
            if (!idle.contains(&node) || isNeeded(node, idle))
                continue;
            _result.idle.push_back(node.name);
            if (_options.prune)
                prune(node);
        }
    }
    // Whether an EaseInEaseOut whose ROUTEs lead nowhere has to stay all the same.
    bool isNeeded(SceneNode const& ease, std::set<SceneNode const*> const& idle)
    {
        Needs* needs = nullptr;
        TextRange whole;
        try {
            needs = &needsOf(ease.where.file, idle);
            whole = nodeText(_edits.file(ease.where.file), ease.where.offset).whole;
            for (SceneRoute const& route : _scene.routes)
                if (route.to == &ease || route.from == &ease)
                    routeText(_edits.file(route.where.file), route.where.offset);
        } catch (Failure const& failure) {
            if (failure.status() == exitMachine)
                throw;
            return true; // its file is not edited, or a ROUTE is not understood
        }
        auto const within = [&](Location where) {
            return where.file == ease.where.file && where.offset > whole.begin && where.offset < whole.end;
        };
        return ease.exported || ease.holder != nullptr || !needs->mayGo.contains(ease.where.offset)
            || needs->names.contains(std::string_view(ease.name).substr(scopeOf(ease).size()))
            || (ease.named && needs->names.contains(anyName))
            || std::ranges::any_of(_scene.sceneNodes,
                                   [&](SceneNode const& node) {
                                       return (within(node.where) && (node.known || node.named))
                                           || (node.where == ease.where && !idle.contains(&node));
                                   })
            || std::ranges::any_of(_scene.routes, [&](SceneRoute const& route) { return within(route.where); });
    }
    /// What a file needs of the nodes in it.
    struct Needs {
        std::set<std::string_view> names;
        std::set<std::uint32_t> mayGo; ///< where they stand, of those that lead nowhere now
    };
    Needs& needsOf(std::uint32_t number, std::set<SceneNode const*> const& idle)
    {
        AuthorFile const& file = _edits.file(number);
        auto const [known, isNew] = _needs.try_emplace(number);
        if (isNew) {
            std::set<std::uint32_t> places;
            for (SceneNode const* const node : idle)
                if (node->where.file == number)
                    places.insert(node->where.offset);
            known->second = {usedNames(file), looseNodes(file, places)};
        }
        return known->second;
    }
    void prune(SceneNode const& node)
    {
        if (!_edits.intention.gone.insert(node.where).second)
            return; // as another instance
        AuthorFile& file = _edits.file(node.where.file);
        auto const remove = [&](TextRange range) {
            range = withItsLine(file, range);
            file.replace(range.begin, range.end, "");
        };
        remove(nodeText(file, node.where.offset).whole);
        for (SceneRoute const& route : _scene.routes)
            if ((route.to == &node || route.from == &node) && !isRerouted(route.where)
                && _edits.intention.gone.insert(route.where).second)
                remove(routeText(file, route.where.offset).whole);
    }

    Scene const& _scene;
    SceneEdits& _edits;
    BakeOptions const& _options;
    BakeResult _result;
    std::set<ListPlaces> _done;
    std::map<std::string_view, unsigned> _names;
    std::map<std::uint32_t, Needs> _needs; ///< by file
};

} // namespace

BakeResult bakeScene(Scene const& scene, SceneEdits& edits, BakeOptions const& options)
{
    return Baker(scene, edits, options).run();
}

} // namespace Zelvan::play
