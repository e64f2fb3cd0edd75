#pragma once

#include "player/editing/KeyTrack.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

// The speeds with which a step from one key passes all later ones within a tolerance. Three kinds, one interface:
// start(key), then take() each key after it. stopped() is a short cut: two keys that closed the cone of one key
// mostly do so for its neighbours, too.
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
    static constexpr std::size_t stride = 64; ///< for one key in so many it pays to ask how far a wider cone leads
    SlopeCone(KeyTrack const& track, double tolerance)
        : _keys(track.keys.data()), _values(track.values.data()), _width(track.width), _tolerance(tolerance),
          _bounds(track.width)
    {
    }
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
    /// True when it is plain that no step from `key` ends at `first` or later.
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
    Bounds _closing; ///< of the number that closed the last cone
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
    static constexpr std::size_t stride = 1024; ///< rarer than for slopes: wide cones have many balls
    explicit SpeedBalls(Speeds speeds) : _speeds(std::move(speeds)) {}
    void start(std::size_t key)
    {
        _key = key;
        _balls.clear();
        _low.fill({-std::numeric_limits<double>::infinity(), 0});
        _high.fill({std::numeric_limits<double>::infinity(), 0});
    }
    Step take(std::size_t key)
    {
        Ball const ball = ballOf(_key, key);
        bool ends = key == _key + 1 || ball.meant;
        std::size_t rejecting = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            if (ball.centre[c] < _low[c].speed || ball.centre[c] > _high[c].speed) {
                ends = false;
                rejecting = ball.centre[c] < _low[c].speed ? _low[c].key : _high[c].key;
            }
            double const reach = ball.radius * _speeds.extent(key, c);
            if (ball.centre[c] - reach > _low[c].speed)
                _low[c] = {ball.centre[c] - reach, key};
            if (ball.centre[c] + reach < _high[c].speed)
                _high[c] = {ball.centre[c] + reach, key};
            if (_low[c].speed > _high[c].speed) {
                _closing = std::minmax(_low[c].key, _high[c].key);
                return Step::closed;
            }
        }
        std::size_t left = 0;
        for (Ball const& other : _balls) {
            if (ends && distance(other, ball.centre) > other.radius) {
                ends = false;
                rejecting = other.key;
            }
            if (farthest(other) > other.radius) // the others are no limit any more
                _balls[left++] = other;
        }
        _balls.resize(left);
        _balls.push_back(ball);
        if (!ends && _ended)
            _rejecting = rejecting;
        _ended = ends;
        return ends ? Step::ends : Step::passes;
    }
    bool stopped(std::size_t key, std::size_t first) const
    {
        auto const [near, far] = _closing;
        if (near <= key || near >= first || _rejecting <= key || _rejecting >= first)
            return false;
        Ball const nearer = ballOf(key, near), farther = ballOf(key, far), rejecting = ballOf(key, _rejecting);
        bool apart = false;
        for (std::size_t c = 0; c < 3; ++c)
            apart |= std::abs(nearer.centre[c] - farther.centre[c])
                > nearer.radius * _speeds.extent(near, c) + farther.radius * _speeds.extent(far, c);
        for (std::size_t to = first; apart && to <= far; ++to) {
            Speed const centre = ballOf(key, to).centre;
            apart = distance(rejecting, centre) > rejecting.radius || distance(nearer, centre) > nearer.radius;
        }
        return apart;
    }

private:
    struct Ball {
        std::size_t key;
        Speed centre;
        double radius;
        bool meant;
    };
    struct Bound {
        double speed;
        std::size_t key;
    };
    Ball ballOf(std::size_t from, std::size_t to) const
    {
        double const rate = 1 / (_speeds.time(to) - _speeds.time(from));
        Speed const change = _speeds.change(from, to);
        return {to, {change[0] * rate, change[1] * rate, change[2] * rate}, _speeds.tolerance(to) * rate,
                _speeds.turnsAsMeant(change)};
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
            d[c] = std::max(ball.centre[c] - _low[c].speed, _high[c].speed - ball.centre[c]);
        return _speeds.distance(ball.key, d);
    }

    Speeds _speeds;
    std::size_t _key = 0;
    std::vector<Ball> _balls; ///< those that may still be a limit
    std::array<Bound, 3> _low{}, _high{}; ///< a box around what is left
    std::pair<std::size_t, std::size_t> _closing; ///< the two that closed the last cone, in order
    bool _ended = false;
    std::size_t _rejecting = 0; ///< through which no step could end there, when the last one had
};

} // namespace Zelvan::play
