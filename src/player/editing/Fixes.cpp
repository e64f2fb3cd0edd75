#include "player/editing/Fixes.h"

#include "player/editing/Mending.h"
#include "player/editing/Reduce.h"

#include <algorithm>
#include <map>
#include <set>

namespace Zelvan::play {

namespace {

// "Ball.keyValue[3] to [4] ...": the first element that a message is about.
std::optional<std::size_t> elementOf(Finding const& finding)
{
    if (!finding.message.starts_with(finding.node + '.'))
        return std::nullopt;
    auto const bracket = finding.message.find('[', finding.node.size());
    if (bracket == std::string::npos)
        return std::nullopt;
    return std::strtoul(finding.message.c_str() + bracket + 1, nullptr, 10);
}

/// The mending of one scene. Nodes with the same bytes are mended together.
class Fixer {
public:
    Fixer(Scene& scene, SceneEdits& edits, CheckOptions const& options, bool unsafe)
        : _scene(scene), _edits(edits), _options(options), _unsafe(unsafe)
    {
        _options.perNode = 0;
        _options.hints = true;
        for (SceneNode& node : scene.sceneNodes)
            if (auto const places = isInterpolator(node) ? edits.placesOf(node) : std::nullopt)
                _nodes[*places].push_back(&node);
    }

    std::vector<FixOutcome> run(std::vector<Finding> findings)
    {
        constexpr int rounds = 8; // one fix may uncover what another one mends
        for (int round = 0; round < rounds && mendAll(findings); ++round)
            findings = checkScene(_scene, {}, _options);
        for (auto const& [places, mending] : _mendings)
            if (mending.changed())
                write(places, mending);
        return std::move(_outcomes);
    }

private:
    // Whether anything was done.
    bool mendAll(std::vector<Finding> const& findings)
    {
        // Keys come first: what is said of values is said of keys in this order.
        std::map<std::pair<SceneNode*, std::string>, std::set<std::size_t>> wanted;
        for (Finding const& finding : findings) {
            Fix const fix = fixOf(finding);
            if (fix == Fix::none || (fix == Fix::unsafe && !_unsafe))
                continue;
            if (SceneNode* const node = _scene.find(finding.node))
                wanted[{node, finding.code}].insert(elementOf(finding).value_or(0));
        }
        bool any = false;
        std::set<ListPlaces> mended; // of several codes at a node one at a time: elements move
        for (auto const& [what, elements] : wanted) {
            auto const& [node, code] = what;
            auto const places = _edits.placesOf(*node);
            if (!_reported.contains(what) && (!places || !mended.contains(*places)))
                any |= mend(*node, code, elements) && mended.insert(*places).second;
        }
        return any;
    }

    bool mend(SceneNode& node, std::string const& code, std::set<std::size_t> const& elements)
    {
        FixOutcome outcome{code, node.name, false, ""};
        try {
            auto const places = _edits.placesOf(node);
            if (fieldOf(node, "key")->_routesIn != nullptr || valuesOf(node)._routesIn != nullptr)
                outcome.why = "a ROUTE sets its keys or values";
            else if (!places)
                outcome.why = "no file sets both its keys and its values";
            else if (std::string const other = _edits.sharing(node); !other.empty())
                outcome.why = "it shares its keys or values with " + other;
            else
                outcome.why = apply(node, *places, code, elements);
        } catch (Failure const& failure) {
            outcome.why = failure.what();
        }
        outcome.done = outcome.why.empty();
        auto const same = [&](FixOutcome const& other) { return other.code == code && other.node == node.name; };
        if (!outcome.done)
            _reported.insert({&node, code});
        if (std::ranges::none_of(_outcomes, same))
            _outcomes.push_back(outcome);
        return outcome.done;
    }

    std::string apply(SceneNode& node, ListPlaces const& places, std::string const& code, std::set<std::size_t> const& elements)
    {
        auto known = _mendings.find(places);
        if (known == _mendings.end())
            known = _mendings
                        .try_emplace(places, node, _edits.list(places.keys, *fieldOf(node, "key")),
                                     _edits.list(places.values, valuesOf(node)))
                        .first;
        Mending& mending = known->second;
        Mending before = mending;
        KeyTrack const played = safely(node, code) ? trackOf(node) : KeyTrack();
        if (!mending.apply(code, elements, _unsafe))
            return "this one is for its author to mend";
        for (SceneNode* const each : _nodes[places])
            mending.give(*each);
        if (!safely(node, code) || samePlayed(played, trackOf(node)))
            return "";
        mending = std::move(before);
        for (SceneNode* const each : _nodes[places])
            mending.give(*each);
        return "it would change what is played";
    }
    bool safely(SceneNode const& node, std::string const& code) const
    {
        return !_unsafe && codeNamed(code).fix == Fix::safe && node.node->type()._name != "TransformationInterpolator";
    }

    void write(ListPlaces const& places, Mending const& mending)
    {
        NumberList const keys = _edits.list(places.keys, mending.oldKeys());
        NumberList const values = _edits.list(places.values, mending.oldValues());
        keys.replace(_edits.file(places.keys.file), mending.keys(), 1);
        values.replace(_edits.file(places.values.file), mending.values(), mending.components());
    }

    Scene& _scene;
    SceneEdits& _edits;
    CheckOptions _options;
    bool _unsafe;
    std::map<ListPlaces, std::vector<SceneNode*>> _nodes;
    std::map<ListPlaces, Mending> _mendings;
    std::set<std::pair<SceneNode*, std::string>> _reported;
    std::vector<FixOutcome> _outcomes;
};

} // namespace

Fix fixOf(Finding const& finding)
{
    bool const ease = finding.message.find("easeInEaseOut needs a pair") != std::string::npos;
    bool const identity = finding.advice == "write 0 0 1 0";
    return (finding.code == "too-few-values" && !ease) || (finding.code == "zero-axis" && !identity) ? Fix::none
                                                                                                     : codeNamed(finding.code).fix;
}

std::vector<FixOutcome> fixScene(Scene& scene, SceneEdits& edits, std::vector<Finding> findings, CheckOptions const& options, bool unsafe)
{
    return Fixer(scene, edits, options, unsafe).run(std::move(findings));
}

} // namespace Zelvan::play
