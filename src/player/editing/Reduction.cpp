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
/// From each such layer all keys are followed, or of costly cones so many, the farthest and others evenly before it.
template <class Cone>
class StepSearch {
public:
    StepSearch(Cone& cone, std::size_t first, std::size_t last)
        : _cone(cone), _first(first), _last(last), _from(last - first + 1, none), _next(last - first + 2)
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
            std::size_t const followed = std::min(layer.size(), Cone::followed);
            for (std::size_t i = followed; i > 0 && _from.back() == none; --i) // the farthest first
                walk(layer[i * layer.size() / followed - 1], reached);
            std::ranges::sort(reached);
            layer.swap(reached);
        }
        std::size_t const before = kept.size();
        for (std::uint32_t key = static_cast<std::uint32_t>(_from.size() - 1); key != 0; key = _from[key])
            kept.push_back(_first + key);
        std::reverse(kept.begin() + static_cast<std::ptrdiff_t>(before), kept.end());
    }

private:
    void walk(std::uint32_t key, std::vector<std::uint32_t>& reached)
    {
        std::uint32_t const most = static_cast<std::uint32_t>(_cone.reachOf(_first + key, _last) - _first);
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

    Cone& _cone;
    std::size_t _first, _last;
    std::vector<std::uint32_t> _from; ///< of the keys reached so far: the key before
    std::vector<std::uint32_t> _next; ///< a key not reached yet, or towards the next such key
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
std::vector<std::size_t> search(KeyTrack const& track, Cone cone)
{
    return keptOf(track, [&](std::size_t first, std::size_t last, std::vector<std::size_t>& kept) {
        StepSearch<Cone>(cone, first, last).run(kept);
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
            || !std::ranges::equal(track.at(key), track.at(key - 1)) || !std::ranges::equal(track.at(key), track.at(key + 1)))
            kept.push_back(key);
    return kept;
}

// The search knows no rounding; what the pool plays does. So it takes as much less as was too much, and ever more.
double lessFor(double measured, double tolerance, int tries)
{
    return std::max(1.1 * (measured - tolerance), std::ldexp(1e-6 * tolerance, 2 * tries));
}

} // namespace

std::vector<std::size_t> fewestKeys(KeyTrack const& track, double tolerance)
{
    if (track.size() < 3 || !(tolerance > 0))
        return unequalKeys(track);
    switch (track.motion) {
    case Motion::rotation: return search(track, SpeedBalls(RotationSpeeds(track, tolerance)));
    case Motion::color: return search(track, SpeedBalls(ColorSpeeds(track, tolerance)));
    case Motion::normals: tolerance = normalTolerance(track, tolerance); [[fallthrough]];
    case Motion::linear: break;
    }
    return track.width == 1 ? search(track, SlopeCone<1>(track, tolerance)) : search(track, SlopeCone<0>(track, tolerance));
}

Reduced reduceTrack(KeyTrack const& track, double tolerance, bool free)
{
    Reduced result;
    if (track.size() == 0)
        return {track, {}, {}};
    constexpr int tries = 12;
    double allowed = tolerance;
    for (int i = 0; i < tries && allowed > 0; ++i) {
        result.kept = fewestKeys(track, allowed);
        result.track = track.only(result.kept);
        result.difference = largestDifference(track, result.track);
        if (result.difference.largest <= tolerance)
            break;
        allowed -= lessFor(result.difference.largest, tolerance, i);
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
        allowed -= lessFor(difference.largest, tolerance, i);
    }
    return result;
}

} // namespace Zelvan::play
