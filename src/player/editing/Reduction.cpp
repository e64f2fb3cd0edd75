#include "player/editing/Reduction.h"

#include "base/OpenSG.h"
#include "base/Rotation.h"
#include "player/editing/Cones.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Zelvan::play {

namespace {

constexpr std::uint32_t none = ~std::uint32_t(0);

/// The fewest allowed steps from one key to a later one, in breadth: all keys that one step reaches, then two, ...
template <class Cone>
class StepSearch {
public:
    /// No step passes more than `wide`, the cone of a larger tolerance, does from a key on its way.
    StepSearch(Cone& cone, Cone& wide, std::size_t first, std::size_t last)
        : _cone(cone), _wide(wide), _first(first), _last(last), _from(last - first + 1, none), _next(last - first + 2),
          _reach((last - first) / stride + 2)
    {
        std::iota(_next.begin(), _next.end(), std::uint32_t(0));
    }

    /// Appends the keys after `first`, up to `last`.
    void run(std::vector<std::size_t>& kept)
    {
        std::vector<std::uint32_t> layer = {0}, reached;
        visit(0, 0);
        while (_from.back() == none) {
            reached.clear();
            for (auto key = layer.rbegin(); key != layer.rend() && _from.back() == none; ++key) // the farthest first
                walk(*key, reached);
            std::ranges::sort(reached);
            layer.swap(reached);
        }
        std::size_t const before = kept.size();
        for (std::uint32_t key = static_cast<std::uint32_t>(_from.size() - 1); key != 0; key = _from[key])
            kept.push_back(_first + key);
        std::reverse(kept.begin() + static_cast<std::ptrdiff_t>(before), kept.end());
    }

private:
    static constexpr std::size_t stride = Cone::stride; ///< keys from one anchor to the next

    void walk(std::uint32_t key, std::vector<std::uint32_t>& reached)
    {
        std::uint32_t const most = reachOf(key);
        std::uint32_t unvisited = nextUnvisited(key + 1);
        if (unvisited > most || _cone.stopped(_first + key, _first + unvisited))
            return;
        _cone.start(_first + key);
        for (std::uint32_t to = key + 1; unvisited <= most; ++to) {
            Step const step = _cone.take(_first + to);
            if (step == Step::closed)
                break;
            if (to != unvisited)
                continue;
            if (step == Step::ends) {
                visit(to, key);
                reached.push_back(to);
            }
            unvisited = nextUnvisited(to + 1);
        }
    }
    void visit(std::uint32_t key, std::uint32_t from)
    {
        _from[key] = from;
        _next[key] = key + 1;
    }
    std::uint32_t nextUnvisited(std::uint32_t key)
    {
        while (_next[key] != key)
            key = _next[key] = _next[_next[key]];
        return key;
    }
    // The last key that a step from `key` may reach, at most.
    std::uint32_t reachOf(std::uint32_t key)
    {
        std::size_t const anchor = (key + stride - 1) / stride * stride, end = _last - _first;
        if (anchor >= end)
            return static_cast<std::uint32_t>(end);
        std::uint32_t& reach = _reach[anchor / stride];
        if (reach == 0) {
            _wide.start(_first + anchor);
            std::size_t to = anchor + 1;
            while (to <= end && _wide.take(_first + to) != Step::closed)
                ++to;
            reach = static_cast<std::uint32_t>(to - 1);
        }
        return reach;
    }

    Cone& _cone;
    Cone& _wide;
    std::size_t _first, _last;
    std::vector<std::uint32_t> _from;  ///< of the keys reached so far: the key before
    std::vector<std::uint32_t> _next;  ///< a key not reached yet, or towards the next such key
    std::vector<std::uint32_t> _reach; ///< of every stride-th key; 0 before it is asked for
};

// `search(first, last, kept)` for each part between steps, where both ends stay.
template <class Search>
std::vector<std::size_t> keptOf(KeyTrack const& track, Search search)
{
    std::vector<std::size_t> kept = {0};
    for (std::size_t first = 0; first + 1 < track.size();) {
        std::size_t last = first + 1;
        if (!track.jumps(first)) {
            while (last + 1 < track.size() && !track.jumps(last))
                ++last;
            search(first, last, kept);
        } else {
            kept.push_back(last);
        }
        first = last;
    }
    return kept;
}

template <class Cone>
std::vector<std::size_t> search(KeyTrack const& track, Cone cone, Cone wide)
{
    return keptOf(track, [&](std::size_t first, std::size_t last, std::vector<std::size_t>& kept) {
        StepSearch<Cone>(cone, wide, first, last).run(kept);
    });
}

// What a blend of vectors may be off so that the unit vectors differ by at most `tolerance`: for vectors u and v that
// is at most 2 |u - v| / (|u| + |v|), and u is never shorter than the blend of the track's own keys.
double normalTolerance(KeyTrack const& track, double tolerance)
{
    double shortest = std::numeric_limits<double>::infinity();
    for (std::size_t key = 0; key + 1 < track.size(); ++key) {
        auto const a = track.at(key), b = track.at(key + 1);
        for (std::size_t i = 0; i + 2 < a.size(); i += 3) {
            double along = 0, across = 0, square = 0; // the point of a line that is nearest to the origin
            for (std::size_t c = i; c < i + 3; ++c) {
                along -= double(a[c]) * (double(b[c]) - a[c]);
                across += (double(b[c]) - a[c]) * (double(b[c]) - a[c]);
            }
            double const t = across > 0 ? std::clamp(along / across, 0.0, 1.0) : 0;
            for (std::size_t c = i; c < i + 3; ++c)
                square += std::pow(a[c] + t * (double(b[c]) - a[c]), 2);
            shortest = std::min(shortest, std::sqrt(square));
        }
    }
    return 2 * shortest * tolerance / (2 + tolerance) / std::sqrt(3.0);
}

// With no tolerance: keys between two of the same value.
std::vector<std::size_t> unequalKeys(KeyTrack const& track)
{
    std::vector<std::size_t> kept = {0};
    for (std::size_t key = 1; key < track.size(); ++key)
        if (key + 1 == track.size() || track.jumps(key - 1) || track.jumps(key)
            || !std::ranges::equal(track.at(key), track.at(key - 1))
            || !std::ranges::equal(track.at(key), track.at(key + 1)))
            kept.push_back(key);
    return kept;
}

} // namespace

std::vector<std::size_t> fewestKeys(KeyTrack const& track, double tolerance)
{
    if (track.size() < 3 || !(tolerance > 0))
        return unequalKeys(track);
    switch (track.motion) {
    case Motion::rotation:
        return search(track, SpeedBalls(RotationSpeeds(track, tolerance)), SpeedBalls(RotationSpeeds(track, 3 * tolerance)));
    case Motion::color:
        return search(track, SpeedBalls(ColorSpeeds(track, tolerance)), SpeedBalls(ColorSpeeds(track, 3 * tolerance)));
    case Motion::normals: tolerance = normalTolerance(track, tolerance); [[fallthrough]];
    case Motion::linear: break;
    }
    // Where a step passes a key, it is off by the tolerance at most: seen from there, by twice as much.
    if (track.width == 1)
        return search(track, SlopeCone<1>(track, tolerance), SlopeCone<1>(track, 2 * tolerance));
    return search(track, SlopeCone<0>(track, tolerance), SlopeCone<0>(track, 2 * tolerance));
}

Reduced reduceTrack(KeyTrack const& track, double tolerance, bool free)
{
    Reduced result;
    if (track.size() == 0)
        return {track, {}, {}};
    // The search knows no rounding; what the pool plays does. It takes as much less as was too much.
    constexpr int tries = 12;
    double allowed = tolerance;
    for (int i = 0; i < tries && allowed > 0; ++i) {
        result.kept = fewestKeys(track, allowed);
        result.track = track.only(result.kept);
        result.difference = largestDifference(track, result.track);
        if (result.difference.largest <= tolerance)
            break;
        allowed -= std::max(1.1 * (result.difference.largest - tolerance), 1e-7 * tolerance);
    }
    if (result.track.size() == 0 || !(result.difference.largest <= tolerance)) {
        result.kept = unequalKeys(track);
        result.track = track.only(result.kept);
        result.difference = largestDifference(track, result.track);
    }
    if (!(result.difference.largest <= tolerance)) {
        result.kept.resize(track.size());
        std::iota(result.kept.begin(), result.kept.end(), std::size_t(0));
        result.track = track;
        result.difference = {};
    }
    allowed = tolerance;
    for (int i = 0; free && track.motion == Motion::linear && i < tries && allowed > 0 && track.size() > 2; ++i) {
        KeyTrack moved = fewestFreeKeys(track, allowed);
        if (moved.size() >= result.track.size())
            break;
        PlayedDifference const difference = largestDifference(track, moved);
        if (difference.largest <= tolerance) {
            result = {std::move(moved), {}, difference};
            break;
        }
        allowed -= std::max(1.1 * (difference.largest - tolerance), 1e-7 * tolerance);
    }
    return result;
}

} // namespace Zelvan::play
