#include "player/editing/Compare.h"

#include "base/Fields.h"
#include "player/playing/Turning.h"
#include "player/scene/Scene.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <map>
#include <numbers>

namespace Zelvan::play {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

double differenceOf(NodePartDataType type, std::span<double const> a, std::span<double const> b)
{
    if (a.size() != b.size())
        return infinite;
    if (std::ranges::equal(a, b))
        return 0;
    double largest = 0;
    bool const rotations = type == SFRotationType || type == MFRotationType;
    std::size_t const width = rotations ? 4 : 1;
    for (std::size_t i = 0; i < a.size(); i += width) {
        if (std::isnan(a[i]) && std::isnan(b[i]))
            continue;
        double const d = rotations
            ? angleBetween(UnitQuaternion::ofAxisAngle(&a[i]), UnitQuaternion::ofAxisAngle(&b[i])) * std::numbers::pi / 180
            : a[i] == b[i] ? 0
                           : std::abs(a[i] - b[i]);
        largest = std::isnan(d) ? infinite : std::max(largest, d);
    }
    return largest;
}

/// A node of a scene, to be fed with fractions by hand.
class FedNode : public Playable {
public:
    explicit FedNode(SceneNode const& node)
        : _node(*node.node), _fraction(static_cast<SFFloat&>(*fieldOf(node, "set_fraction"))), _output(*outputOf(node))
    {}
    Field const& play(float fraction) override
    {
        _fraction._value = fraction;
        _node.fieldChanged(_fraction, 0, nullptr);
        return _output;
    }

private:
    Node& _node;
    SFFloat& _fraction;
    Field const& _output;
};

class Comparison {
public:
    explicit Comparison(TrackDifference& difference) : _difference(difference) {}
    void add(double at, double by)
    {
        if (by > _difference.allowed && !_difference.differs) {
            _difference.differs = true;
            _difference.from = at;
        }
        if (by > _difference.largest) {
            _difference.largest = by;
            _difference.at = at;
        }
    }

private:
    TrackDifference& _difference;
};

void comparePlayed(Track const& a, Track const& b, Comparison& comparison)
{
    std::size_t nextA = 0, nextB = 0;
    while (nextA < a.times.size() || nextB < b.times.size()) {
        double const timeA = nextA < a.times.size() ? a.times[nextA] : infinite;
        double const timeB = nextB < b.times.size() ? b.times[nextB] : infinite;
        double const time = std::min(timeA, timeB);
        // Of several events at one time the last one counts.
        while (nextA < a.times.size() && a.times[nextA] <= time)
            ++nextA;
        while (nextB < b.times.size() && b.times[nextB] <= time)
            ++nextB;
        bool const both = nextA > 0 && nextB > 0;
        comparison.add(time, both ? differenceOf(a.type, a.sample(nextA - 1), b.sample(nextB - 1)) : infinite);
    }
}

std::vector<float> const& keysOf(Track const& track)
{
    return static_cast<MFFloat const*>(fieldOf(*track.node, "key"))->_value;
}

void compareSwept(Track const& a, Track const& b, Comparison& comparison)
{
    FedNode first(*a.node), second(*b.node);
    std::vector<float> keys = keysOf(a);
    keys.insert(keys.end(), keysOf(b).begin(), keysOf(b).end());
    std::erase_if(keys, [](float key) { return !std::isfinite(key); });
    std::ranges::sort(keys);
    eachFraction(merged(keys, {}), 12, [&](float fraction) {
        comparison.add(fraction, play::differenceOf(first.play(fraction), second.play(fraction)));
    });
}

// What the tolerance goes by: the kind of the values and how far they reach.
KeyTrack measureOf(Track const& track)
{
    KeyTrack measure;
    measure.motion = track.type == SFRotationType || track.type == MFRotationType ? Motion::rotation : Motion::linear;
    measure.width = measure.components = std::max(1u, componentsOf(track.type).count);
    measure.values.assign(track.numbers.begin(), track.numbers.end());
    std::size_t block = track.starts.size() > 1 ? track.starts[1] : 0;
    for (std::size_t i = 0; i < track.starts.size(); ++i)
        block = track.starts[i] == i * block ? block : 0; // all of one length
    if (track.leaves && track.numbers.empty()) {
        std::vector<double> numbers;
        appendNumbers(valuesOf(*track.node), numbers);
        measure.values.assign(numbers.begin(), numbers.end());
        block = isList(track.type) && !keysOf(track).empty() ? numbers.size() / keysOf(track).size() : 0;
    }
    if (block > 0)
        measure.width = static_cast<unsigned>(block);
    return measure;
}

} // namespace

std::vector<TrackDifference> compareScenes(PlayedScene const& first, PlayedScene const& second, Tolerance const& tolerance)
{
    std::map<std::string, std::deque<Track const*>> others; // of one name in the order of the file
    for (Track const& track : second.tracks)
        if (track.node->named)
            others[track.name()].push_back(&track);
    std::vector<TrackDifference> differences;
    for (Track const& track : first.tracks) {
        if (!track.node->named)
            continue;
        TrackDifference difference{.track = track.name(), .kind = TrackDifference::onlyFirst, .first = &track};
        auto const other = others.find(difference.track);
        Track const* const same = other != others.end() && !other->second.empty() ? other->second.front() : nullptr;
        if (same != nullptr && same->type == track.type && same->leaves == track.leaves) {
            difference.second = same;
            other->second.pop_front();
            KeyTrack const measure = measureOf(track);
            difference.allowed = tolerance.of(measure, track.node->name).value_or(0);
            difference.angle = measure.motion == Motion::rotation;
            if (track.leaves) {
                difference.keysBefore = keysOf(track).size();
                difference.keysAfter = keysOf(*difference.second).size();
            }
            Comparison comparison(difference);
            bool const silent = track.times.empty() && difference.second->times.empty();
            difference.kind = silent && track.leaves ? TrackDifference::swept : TrackDifference::played;
            if (difference.kind == TrackDifference::swept)
                compareSwept(track, *difference.second, comparison);
            else
                comparePlayed(track, *difference.second, comparison);
        } else {
            difference.differs = true;
        }
        differences.push_back(difference);
    }
    for (auto const& [name, tracks] : others)
        for (Track const* const track : tracks)
            differences.push_back({.track = name, .kind = TrackDifference::onlySecond, .second = track, .differs = true});
    return differences;
}

} // namespace Zelvan::play
