#include "player/editing/Fixes.h"

#include "player/checking/Suppressions.h"
#include "player/editing/Mending.h"
#include "player/editing/Reduce.h"
#include "player/scene/Utf8.h"

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
            findings = checkWithSuppressions(_scene, {}, _options);
        for (auto const& [places, mending] : _mendings)
            if (mending.changed())
                write(places, mending);
        return std::move(_outcomes);
    }

    /// What each code that can be fixed at a node changes by itself, and whether that is safe. Nothing stays changed.
    using Proposals = std::map<std::pair<std::string, std::string>, std::pair<Fix, std::vector<TextChange>>>; // by node and code
    Proposals proposals(std::vector<Finding> const& findings)
    {
        Proposals all;
        _unsafe = true;
        for (auto const& [what, elements] : wantedOf(findings)) {
            auto const& [node, code] = what;
            // What is not safe for all of them may still be possible.
            for (Fix const fix : {Fix::safe, Fix::unsafe}) {
                _unsafe = fix == Fix::unsafe;
                if ((_unsafe || codeNamed(code).fix == Fix::safe) && mend(*node, code, elements)) {
                    if (auto changes = takeBack(*_edits.placesOf(*node)); !changes.empty())
                        all[{node->name, code}] = {fix, std::move(changes)};
                    break;
                }
            }
        }
        return all;
    }

private:
    using Wanted = std::map<std::pair<SceneNode*, std::string>, std::set<std::size_t>>; // elements by node and code
    // What is to be mended.
    Wanted wantedOf(std::vector<Finding> const& findings) const
    {
        Wanted wanted;
        for (Finding const& finding : findings) {
            Fix const fix = fixOf(finding);
            if (fix == Fix::none || (fix == Fix::unsafe && !_unsafe))
                continue;
            if (SceneNode* const node = _scene.find(finding.node))
                wanted[{node, finding.code}].insert(elementOf(finding).value_or(0));
        }
        return wanted;
    }

    // Whether anything was done.
    bool mendAll(std::vector<Finding> const& findings)
    {
        bool any = false;
        std::set<ListPlaces> mended; // of several codes at a node one at a time: elements move
        // Keys come first: what is said of values is said of keys in this order.
        for (auto const& [what, elements] : wantedOf(findings)) {
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
            outcome.file = places ? places->keys.file : 0;
            if (fieldOf(node, "key")->_routesIn != nullptr || valuesOf(node)._routesIn != nullptr)
                outcome.why = "a ROUTE sets its keys or values";
            else if (!places)
                outcome.why = "no file sets both its keys and its values";
            else if (std::string const other = _edits.sharing(node); !other.empty())
                outcome.why = "it shares its keys or values with " + other;
            else
                outcome.why = apply(node, *places, code, elements);
        } catch (Failure const& failure) {
            if (failure.status() == exitMachine)
                throw;
            outcome.why = failure.what();
        }
        outcome.done = outcome.why.empty();
        if (!outcome.done)
            _reported.insert({&node, code});
        if (_told.insert({node.name, code}).second)
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

    // What mending a list has changed in the texts; its nodes have what they had.
    std::vector<TextChange> takeBack(ListPlaces const& places)
    {
        auto const mended = _mendings.extract(places);
        write(places, mended.mapped());
        for (SceneNode* const each : _nodes[places])
            mended.mapped().restore(*each);
        std::vector<TextChange> changes;
        for (std::uint32_t const number : std::set{places.keys.file, places.values.file}) {
            AuthorFile& file = _edits.file(number);
            for (AuthorFile::Edit const& edit : file.edits())
                changes.push_back(changeOf(file, number, edit));
            file.forgetEdits();
        }
        return changes;
    }
    // Without what stays the same at both ends.
    TextChange changeOf(AuthorFile const& file, std::uint32_t number, AuthorFile::Edit const& edit) const
    {
        constexpr std::string_view blanks = " \t\r\n,";
        std::string_view const text = file.text();
        std::string_view old = text.substr(edit.begin, edit.end - edit.begin), with = edit.with;
        auto begin = static_cast<std::size_t>(std::ranges::mismatch(old, with).in1 - old.begin());
        while (begin > 0 && blanks.find(old[begin - 1]) == std::string_view::npos) // numbers stay whole
            --begin;
        old.remove_prefix(begin);
        with.remove_prefix(begin);
        auto end = std::mismatch(old.rbegin(), old.rend(), with.rbegin(), with.rend()).first - old.rbegin();
        while (end > 0 && blanks.find(old[old.size() - static_cast<std::size_t>(end)]) == std::string_view::npos)
            --end;
        old.remove_suffix(static_cast<std::size_t>(end));
        with.remove_suffix(static_cast<std::size_t>(end));
        begin += edit.begin;
        return {_scene.fileNames.at(number), pointAt(number, begin), pointAt(number, begin + old.size()), std::string(with)};
    }
    TextChange::Point pointAt(std::uint32_t number, std::size_t offset) const
    {
        Place const place = _scene.place({number, static_cast<std::uint32_t>(offset)});
        return {place.line, place.column};
    }

    Scene& _scene;
    SceneEdits& _edits;
    CheckOptions _options;
    bool _unsafe;
    std::map<ListPlaces, std::vector<SceneNode*>> _nodes;
    std::map<ListPlaces, Mending> _mendings;
    std::set<std::pair<SceneNode*, std::string>> _reported;
    std::set<std::pair<std::string, std::string>> _told;
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

void proposeFixes(Scene& scene, std::vector<Finding>& findings, CheckOptions const& options, std::size_t mostBytes)
{
    auto const fixable = [](Finding const& finding) { return fixOf(finding) != Fix::none; };
    if (std::ranges::none_of(findings, fixable))
        return;
    CheckOptions all = options;
    all.perNode = 0;
    bool const counted = std::ranges::any_of(findings, [&](Finding const& f) { return f.more > 0 && fixable(f); });
    SceneEdits edits(scene, true, mostBytes);
    auto proposals = Fixer(scene, edits, options, true).proposals(counted ? checkWithSuppressions(scene, {}, all) : findings);
    for (Finding& finding : findings)
        if (auto const found = proposals.find({finding.node, finding.code}); found != proposals.end() && fixable(finding)) {
            finding.fix = found->second.first;
            finding.changes = std::exchange(found->second.second, {});
        }
}

std::vector<FixOutcome> fixScene(Scene& scene, SceneEdits& edits, std::vector<Finding> findings, CheckOptions const& options, bool unsafe)
{
    return Fixer(scene, edits, options, unsafe).run(std::move(findings));
}

} // namespace Zelvan::play
