#include "player/editing/Fixes.h"

#include "player/checking/Suppressions.h"
#include "player/editing/Mending.h"
#include "player/editing/Reduce.h"
#include "player/scene/Utf8.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace Zelvan::play {

namespace {

// The first track that did not send the same, bit for bit; "" when all did.
std::string otherTrack(ScenePlay const& a, ScenePlay const& b)
{
    auto const same = [](auto const& first, auto const& second) {
        return first.size() == second.size()
            && (first.empty() || std::memcmp(first.data(), second.data(), first.size() * sizeof first[0]) == 0);
    };
    for (std::size_t i = 0; i < std::min(a.tracks.size(), b.tracks.size()); ++i)
        if (Track const& first = a.tracks[i], &second = b.tracks[i]; first.type != second.type
            || !same(first.times, second.times) || !same(first.starts, second.starts) || !same(first.numbers, second.numbers))
            return first.name();
    return a.tracks.size() == b.tracks.size() ? "" : "its interpolators";
}

/// The mending of one scene. Nodes with the same bytes are mended together.
class Fixer {
public:
    Fixer(Scene& scene, SceneEdits& edits, CheckOptions const& options, bool unsafe)
        : _scene(scene), _edits(edits), _options(options), _unsafe(unsafe)
    {
        _options.perNode = 0;
        for (SceneNode& node : scene.sceneNodes)
            if (auto const places = isInterpolator(node) ? edits.placesOf(node) : std::nullopt)
                _nodes[*places].push_back(&node);
    }

    std::vector<FixOutcome> run(PlayAnew const& play)
    {
        // What plays otherwise afterwards was told before: no hints, nothing that another fix has uncovered.
        if (_unsafe) {
            _told.emplace();
            for (Finding const& finding : checkWithSuppressions(_scene, {}, _options))
                _told->insert({finding.subject, finding.code});
        }
        _options.hints = true;
        constexpr int rounds = 8; // one fix may uncover what another one mends
        for (int round = 0; round < rounds; ++round)
            if (!mendAll(checkWithSuppressions(_scene, {}, _options)))
                break;
        std::erase_if(_mendings, [](auto const& mending) { return !mending.second.changed(); });
        if (std::string const other = _unsafe || _mendings.empty() ? "" : otherwisePlayed(play); !other.empty()) {
            for (FixOutcome& outcome : _outcomes)
                if (std::exchange(outcome.done, false))
                    outcome.why = "the scene would play otherwise: " + other;
            for (auto const& [places, mending] : _mendings)
                for (SceneNode* const each : _nodes[places])
                    mending.restore(*each);
            return std::move(_outcomes);
        }
        for (auto const& [places, mending] : _mendings)
            write(places, mending);
        return std::move(_outcomes);
    }

    /// What each code that can be fixed at a node changes by itself, and whether that is safe. Nothing stays changed.
    using Proposals =
        std::map<std::pair<SceneNode const*, std::string>, std::pair<Fix, std::vector<TextChange>>>; // by node and code
    Proposals proposals(std::vector<Finding> const& findings)
    {
        Proposals all;
        _unsafe = true;
        for (auto const& [what, keys] : wantedOf(findings)) {
            auto const& [node, code] = what;
            // What is not safe for all of them may still be possible.
            for (Fix const fix : {Fix::safe, Fix::unsafe}) {
                _unsafe = fix == Fix::unsafe;
                if ((_unsafe || codeNamed(code).fix == Fix::safe) && mend(*node, code, keys)) {
                    if (auto changes = takeBack(*_edits.placesOf(*node)); !changes.empty())
                        all[{node, code}] = {fix, std::move(changes)};
                    break;
                }
            }
        }
        return all;
    }

private:
    static constexpr char const* changesWhatIsPlayed = "it would change what is played, as --unsafe-fixes may";
    using Wanted = std::map<std::pair<SceneNode*, std::string>, std::set<std::size_t>>; // keys by node and code
    // What is to be mended.
    Wanted wantedOf(std::vector<Finding> const& findings) const
    {
        Wanted wanted;
        for (Finding const& finding : findings) {
            Fix const fix = fixOf(finding);
            if (fix == Fix::none || (fix == Fix::unsafe && !mayMend(finding)))
                continue;
            if (finding.subject != nullptr && isInterpolator(*finding.subject))
                wanted[{const_cast<SceneNode*>(finding.subject), finding.code}].insert(finding.key.value_or(0));
        }
        return wanted;
    }

    bool mayMend(Finding const& finding) const
    {
        return _unsafe && (!_told || _told->contains({finding.subject, finding.code}));
    }

    // Whether anything was done.
    bool mendAll(std::vector<Finding> const& findings)
    {
        bool any = false;
        std::set<ListPlaces> mended; // of several codes at a node one at a time: keys move
        // Keys come first: what is said of values is said of keys in this order.
        for (auto const& [what, keys] : wantedOf(findings)) {
            auto const& [node, code] = what;
            auto const places = _edits.placesOf(*node);
            if (!_reported.contains(what) && (!places || !mended.contains(*places)))
                any |= mend(*node, code, keys) && mended.insert(*places).second;
        }
        return any;
    }

    bool mend(SceneNode& node, std::string const& code, std::set<std::size_t> const& keys)
    {
        FixOutcome outcome{code, node.name, false, ""};
        try {
            auto const places = _edits.placesOf(node);
            outcome.file = places ? places->keys.file : 0;
            outcome.why = _edits.hindrance(node);
            if (outcome.why.empty())
                outcome.why = apply(node, *places, code, keys);
        } catch (Failure const& failure) {
            if (failure.status() == exitMachine)
                throw;
            outcome.why = failure.what();
        }
        outcome.done = outcome.why.empty();
        if (!outcome.done)
            _reported.insert({&node, code});
        if (_outcomeOf.insert({node.name, code}).second)
            _outcomes.push_back(outcome);
        return outcome.done;
    }

    std::string apply(SceneNode& node, ListPlaces const& places, std::string const& code, std::set<std::size_t> const& keys)
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
        if (!mending.apply(code, keys, _unsafe))
            return !_unsafe && Mending(before).apply(code, keys, true) ? changesWhatIsPlayed
                                                                       : "this one is for its author to mend";
        for (SceneNode* const each : _nodes[places])
            mending.give(*each);
        if (!safely(node, code) || samePlayed(played, trackOf(node)))
            return "";
        mending = std::move(before);
        for (SceneNode* const each : _nodes[places])
            mending.give(*each);
        return changesWhatIsPlayed;
    }
    bool safely(SceneNode const& node, std::string const& code) const
    {
        return !_unsafe && codeNamed(code).fix == Fix::safe && node.node->type()._name != "TransformationInterpolator";
    }

    // The track that the scene as it was and the mended one do not play alike.
    std::string otherwisePlayed(PlayAnew const& play) const
    {
        auto const mended = [this](Scene& scene) {
            for (SceneNode const& node : scene.sceneNodes)
                if (auto const places = isInterpolator(node) ? _edits.placesOf(node) : std::nullopt)
                    if (auto const mending = _mendings.find(*places); mending != _mendings.end())
                        mending->second.give(node);
        };
        for (bool const startAll : {false, true})
            if (std::string other = otherTrack(play([](Scene&) {}, startAll), play(mended, startAll)); !other.empty())
                return other;
        return "";
    }

    void write(ListPlaces const& places, Mending const& mending)
    {
        NumberList const keys = _edits.list(places.keys, mending.oldKeys());
        NumberList const values = _edits.list(places.values, mending.oldValues());
        _edits.replace(places.keys, keys, mending.keys(), 1);
        _edits.replace(places.values, values, mending.values(), mending.components());
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
        std::string_view const text = file.text();
        std::string_view old = text.substr(edit.begin, edit.end - edit.begin), with = edit.with;
        auto begin = static_cast<std::size_t>(std::ranges::mismatch(old, with).in1 - old.begin());
        while (begin > 0 && blanksOfLists.find(old[begin - 1]) == std::string_view::npos) // numbers stay whole
            --begin;
        old.remove_prefix(begin);
        with.remove_prefix(begin);
        auto end = std::mismatch(old.rbegin(), old.rend(), with.rbegin(), with.rend()).first - old.rbegin();
        while (end > 0 && blanksOfLists.find(old[old.size() - static_cast<std::size_t>(end)]) == std::string_view::npos)
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
    std::set<std::pair<std::string, std::string>> _outcomeOf;
    std::optional<std::set<std::pair<SceneNode const*, std::string>>> _told; ///< alone may be mended unsafely
    std::vector<FixOutcome> _outcomes;
};

} // namespace

Fix fixOf(Finding const& finding)
{
    return finding.mendable ? codeNamed(finding.code).fix : Fix::none;
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
        if (auto const found = proposals.find({finding.subject, finding.code}); found != proposals.end() && fixable(finding)) {
            finding.fix = found->second.first;
            finding.changes = std::exchange(found->second.second, {});
        }
}

std::vector<FixOutcome> fixScene(Scene& scene, SceneEdits& edits, CheckOptions const& options, bool unsafe,
                                 PlayAnew const& play)
{
    return Fixer(scene, edits, options, unsafe).run(play);
}

} // namespace Zelvan::play
