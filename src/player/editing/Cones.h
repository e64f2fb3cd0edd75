#pragma once

#include "player/editing/KeyTrack.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

// The speeds with which a step from one key passes all later ones within a tolerance. Three kinds, one interface:
// start(key), then take() each key after it. reachOf() and stopped() are short cuts.
namespace Zelvan::play {

/// What a key means for the steps from an earlier one.
enum class Step : unsigned char {
    closed, ///< none passes it
    passes, ///< some pass it, but none ends there
    ends    ///< one may end there
};

/// Numbers, each by itself: an interval of slopes. `fixed` is the width, 0 for any.
template <std::size_t fixed>
class SlopeCone {
public:
    static constexpr std::size_t followed = std::numeric_limits<std::size_t>::max(); ///< keys of a layer
    SlopeCone(KeyTrack const& track, double tolerance)
        : _keys(track.keys.data()),
          _values(track.values.data()),
          _width(track.width),
          _tolerance(tolerance),
          _bounds(track.width),
          _reach(track.size() / stride + 2)
    {}
    void start(std::size_t key)
    {
        _key = key;
        std::ranges::fill(_bounds, Bounds());
    }
    Step take(std::size_t key)
    {
        double const rate = 1 / (double(_keys[key]) - _keys[_key]);
        double const slack = _tolerance * rate;
        float const* const from = _values + _key * width();
        float const* const to = _values + key * width();
        bool ends = true;
        for (std::size_t c = 0; c < width(); ++c) {
            Bounds& bounds = _bounds[c];
            double const slope = (double(to[c]) - from[c]) * rate;
            ends = ends && slope >= bounds.low && slope <= bounds.high;
            if (slope - slack > bounds.low) {
                bounds.low = slope - slack;
                bounds.lowKey = key;
            }
            if (slope + slack < bounds.high) {
                bounds.high = slope + slack;
                bounds.highKey = key;
            }
            if (bounds.low > bounds.high) {
                _closing = bounds;
                _component = c;
                return Step::closed;
            }
        }
        return ends ? Step::ends : Step::passes;
    }
    /// The last key, up to `last`, that a step from `key` may reach, at most. Where a step passes a key it is off by the
    /// tolerance at most: seen from there, by twice as much.
    std::size_t reachOf(std::size_t key, std::size_t last)
    {
        std::size_t const anchor = (key + stride - 1) / stride * stride;
        if (anchor >= last)
            return last;
        std::size_t& reach = _reach[anchor / stride];
        if (reach == 0) {
            _tolerance *= 2;
            start(anchor);
            for (reach = anchor; reach < last && take(reach + 1) != Step::closed;)
                ++reach;
            _tolerance /= 2;
        }
        return reach;
    }
    /// True when it is plain that no step from `key` ends at `first` or later: two keys that closed the cone of one key
    /// mostly do so for its neighbours, too.
    bool stopped(std::size_t key, std::size_t first) const
    {
        auto const [near, far] = std::minmax(_closing.lowKey, _closing.highKey);
        if (near <= key || near >= first)
            return false;
        auto const slope = [&](std::size_t to, double tolerance) {
            return (double(_values[to * width() + _component]) - _values[key * width() + _component] + tolerance)
                / (double(_keys[to]) - _keys[key]);
        };
        double const low = slope(_closing.lowKey, -_tolerance), high = slope(_closing.highKey, _tolerance);
        if (!(low > high))
            return false;
        // Up to the farther of the two the nearer one alone decides.
        bool const below = near == _closing.lowKey;
        double const sign = below ? 1 : -1, bound = below ? low : high;
        double const from = _values[key * width() + _component], begin = _keys[key];
        bool any = false;
        for (std::size_t to = first; to <= far; ++to)
            any |= sign * (_values[to * width() + _component] - from) >= sign * bound * (_keys[to] - begin);
        return !any;
    }

private:
    static constexpr std::size_t stride = 64; ///< keys from one anchor to the next
    struct Bounds {
        double low = -std::numeric_limits<double>::infinity(), high = std::numeric_limits<double>::infinity();
        std::size_t lowKey = 0, highKey = 0; ///< where they come from
    };
    std::size_t width() const { return fixed ? fixed : _width; }

    float const* _keys;
    float const* _values;
    std::size_t _width;
    double _tolerance;
    std::size_t _key = 0;
    std::vector<Bounds> _bounds;
    std::vector<std::size_t> _reach; ///< of every stride-th key; 0 before it is asked for
    Bounds _closing;                 ///< of the number that closed the last cone
    std::size_t _component = 0;
};

using Speed = std::array<double, 3>;

/// Rotation by constant angular velocity: the tangent vector from one key to another. The exponential map does not
/// expand, so that a velocity within tolerance / dt of it passes the key within the tolerance.
class RotationSpeeds {
public:
    RotationSpeeds(KeyTrack const& track, double tolerance);
    Speed change(std::size_t from, std::size_t to) const;
    double tolerance(std::size_t key) const { return _tolerances[key]; }
    double distance(std::size_t, Speed const& d) const { return std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]); }
    /// How far along one axis a distance of 1 goes.
    double extent(std::size_t, std::size_t) const { return 1; }
    /// How much longer a distance from one key may be when seen from another.
    double stretch(std::size_t, std::size_t) const { return 1; }
    /// The blend takes the shorter arc: that is not this way if the change is half a turn or more.
    bool turnsAsMeant(Speed const& change) const;
    double time(std::size_t key) const { return _track.keys[key]; }

private:
    KeyTrack const& _track;
    std::vector<std::array<double, 4>> _quaternions;
    std::vector<double> _tolerances;
};

/// Hue, saturation and value: |d rgb| <= |dv| + v |ds| + v s |dh| / 60, with the largest v and s around the key.
class ColorSpeeds {
public:
    ColorSpeeds(KeyTrack const& track, double tolerance);
    Speed change(std::size_t from, std::size_t to) const;
    double tolerance(std::size_t) const { return _tolerance; }
    double distance(std::size_t key, Speed const& d) const;
    double extent(std::size_t key, std::size_t c) const { return 1 / _weights[key][c]; }
    double stretch(std::size_t from, std::size_t to) const;
    bool turnsAsMeant(Speed const&) const { return true; }
    double time(std::size_t key) const { return _track.keys[key]; }

private:
    KeyTrack const& _track;
    double _tolerance;
    std::vector<Speed> _hsv, _weights;
};

/// The common part of balls of speeds, one for each key passed.
template <class Speeds>
class SpeedBalls {
public:
    static constexpr std::size_t followed = 8; ///< of a layer: a ball costs much more than a slope
    explicit SpeedBalls(Speeds speeds) : _speeds(std::move(speeds)) {}
    void start(std::size_t key)
    {
        _key = key;
        _balls.clear();
        _groups.clear();
        _firstGroup = 0;
        _low.fill(-std::numeric_limits<double>::infinity());
        _high.fill(std::numeric_limits<double>::infinity());
    }
    Step take(std::size_t key)
    {
        Speed const change = _speeds.change(_key, key);
        double const rate = 1 / (_speeds.time(key) - _speeds.time(_key));
        Ball const ball{key, {change[0] * rate, change[1] * rate, change[2] * rate}, _speeds.tolerance(key) * rate};
        bool ends = key == _key + 1 || _speeds.turnsAsMeant(change);
        for (std::size_t c = 0; c < 3; ++c) {
            ends = ends && ball.centre[c] >= _low[c] && ball.centre[c] <= _high[c];
            double const reach = ball.radius * _speeds.extent(key, c);
            _low[c] = std::max(_low[c], ball.centre[c] - reach);
            _high[c] = std::min(_high[c], ball.centre[c] + reach);
            if (_low[c] > _high[c])
                return Step::closed;
        }
        while (_firstGroup < _groups.size() && farthest(_groups[_firstGroup]) <= _groups[_firstGroup].radius)
            ++_firstGroup; // no limit any more
        for (std::size_t group = _groups.size(); ends && group-- > _firstGroup;)
            if (distance(_groups[group], ball.centre) > _groups[group].radius)
                ends = isIn(group, ball.centre);
        add(ball);
        return ends ? Step::ends : Step::passes;
    }
    std::size_t reachOf(std::size_t, std::size_t last) const { return last; }
    bool stopped(std::size_t, std::size_t) const { return false; }

private:
    static constexpr std::size_t groupSize = 32;
    struct Ball {
        std::size_t key;
        Speed centre;
        double radius;
    };
    // A group has a ball that is within all of its own.
    void add(Ball const& ball)
    {
        if (_balls.size() % groupSize == 0)
            _groups.push_back(ball);
        Ball& group = _groups.back();
        group.radius =
            std::min(group.radius, (ball.radius - distance(ball, group.centre)) / _speeds.stretch(group.key, ball.key));
        _balls.push_back(ball);
    }
    bool isIn(std::size_t group, Speed const& speed) const
    {
        std::size_t const end = std::min((group + 1) * groupSize, _balls.size());
        for (std::size_t i = group * groupSize; i < end; ++i)
            if (distance(_balls[i], speed) > _balls[i].radius)
                return false;
        return true;
    }
    double distance(Ball const& ball, Speed const& speed) const
    {
        return _speeds.distance(ball.key, {speed[0] - ball.centre[0], speed[1] - ball.centre[1], speed[2] - ball.centre[2]});
    }
    // From the centre of a ball to the farthest point of the box around what is left.
    double farthest(Ball const& ball) const
    {
        Speed d;
        for (std::size_t c = 0; c < 3; ++c)
            d[c] = std::max(ball.centre[c] - _low[c], _high[c] - ball.centre[c]);
        return _speeds.distance(ball.key, d);
    }

    Speeds _speeds;
    std::size_t _key = 0;
    std::vector<Ball> _balls, _groups;
    std::size_t _firstGroup = 0; ///< that may still be a limit
    Speed _low{}, _high{};       ///< a box around what is left
};

} // namespace Zelvan::play
