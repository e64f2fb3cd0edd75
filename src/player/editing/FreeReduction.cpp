#include "player/editing/Reduction.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Zelvan::play {

namespace {

/// Of the straight lines that pass one window of values after another, the steepest. It goes through the bottom of one
/// window and the top of a later one; the bottoms that may matter are a hull, of which the line only moves on to later
/// ones (O'Rourke, "An on-line algorithm for fitting straight lines between data ranges", 1981).
class Steepest {
public:
    /// The first window, at time 0.
    void start(double bottom)
    {
        _hull.assign(1, {0, bottom});
        _begin = 0;
        _through = _hull[0];
        _slope = std::numeric_limits<double>::infinity();
    }
    double at(double time) const { return _through.value + _slope * (time - _through.time); }
    /// The next window, at a later time. False when no line passes it, too.
    bool pass(double time, double bottom, double top)
    {
        double const value = at(time);
        if (value < bottom)
            return false;
        if (value > top) {
            auto const slope = [&](Point const& from) { return (top - from.value) / (time - from.time); };
            while (_begin + 1 < _hull.size() && slope(_hull[_begin + 1]) <= slope(_hull[_begin]))
                ++_begin;
            _through = {time, top};
            _slope = slope(_hull[_begin]);
        }
        while (_hull.size() >= _begin + 2 && isUnder(_hull[_hull.size() - 1], _hull[_hull.size() - 2], {time, bottom}))
            _hull.pop_back();
        _hull.push_back({time, bottom});
        return true;
    }

private:
    struct Point {
        double time, value;
    };
    static bool isUnder(Point const& point, Point const& a, Point const& b)
    {
        return (point.value - a.value) * (b.time - a.time) <= (b.value - a.value) * (point.time - a.time);
    }
    std::vector<Point> _hull;
    std::size_t _begin = 0; ///< of the hull: the others are left behind
    Point _through{};
    double _slope = 0;
};

/// The lines between the steepest and the flattest one, which is the steepest of the mirrored windows.
class Lines {
public:
    void start(double low, double high)
    {
        _steepest.start(low);
        _flattest.start(-high);
    }
    bool pass(double time, double low, double high)
    {
        return _steepest.pass(time, low, high) && _flattest.pass(time, -high, -low);
    }
    double lowest(double time) const { return -_flattest.at(time); }
    double highest(double time) const { return _steepest.at(time); }

private:
    Steepest _steepest, _flattest;
};

class FreeSearch {
public:
    FreeSearch(KeyTrack const& track, double tolerance)
        : _track(track), _tolerance(tolerance), _lines(track.width), _at(track.size(), none)
    {}

    /// Appends the keys after `first`, up to `last`, with their values; `first` itself is there.
    void run(std::size_t first, std::size_t last, KeyTrack& result)
    {
        _last = last;
        _nodes.assign(1, Node{first, 0, boundsOf(first)});
        std::vector<std::size_t> layer = {0};
        while (_nodes.back().key != last)
            step(layer);
        std::vector<std::size_t> path = {_nodes.size() - 1};
        while (path.back() != 0)
            path.push_back(_nodes[path.back()].from);
        std::reverse(path.begin(), path.end());
        // Backwards: where a step has to end says where it may begin.
        std::vector<std::vector<double>> values(path.size());
        values.back().assign(_track.at(last).begin(), _track.at(last).end());
        for (std::size_t i = path.size() - 1; i-- > 1;)
            values[i] = beginning(_nodes[path[i]], _nodes[path[i + 1]].key, values[i + 1]);
        for (std::size_t i = 1; i < path.size(); ++i) {
            result.keys.push_back(_track.keys[_nodes[path[i]].key]);
            for (double const value : values[i])
                result.values.push_back(static_cast<float>(value));
        }
    }

private:
    static constexpr std::size_t none = ~std::size_t(0);
    static constexpr std::size_t candidates = 8; ///< followed in each layer

    struct Interval {
        double low, high;
    };
    /// A key that so many steps reach, with the values they reach it with.
    struct Node {
        std::size_t key, from;
        std::vector<Interval> bounds;
    };
    std::vector<Interval> boundsOf(std::size_t key) const
    {
        std::vector<Interval> bounds;
        for (float const value : _track.at(key))
            bounds.push_back({value, value});
        return bounds;
    }
    double time(std::size_t from, std::size_t to) const { return std::abs(double(_track.keys[to]) - _track.keys[from]); }

    // One step more from each node of the layer, which is replaced. The node of the last key comes last when it is reached.
    void step(std::vector<std::size_t>& layer)
    {
        for (Reached const& reached : _reached)
            _at[reached.key] = none;
        _reached.clear();
        _bounds.clear();
        std::size_t farthestBefore = 0;
        for (std::size_t const index : layer) {
            farthestBefore = std::max(farthestBefore, _nodes[index].key);
            if (walk(index))
                return;
        }
        std::ranges::sort(_reached, std::greater(), &Reached::key);
        // The farthest keys leave little room for their values: some way back there is more.
        layer.clear();
        std::size_t const farthest = _reached.front().key, back = (farthest - farthestBefore) / 2;
        std::size_t wanted = farthest;
        for (Reached const& reached : _reached)
            if (reached.key <= wanted) {
                layer.push_back(_nodes.size());
                wanted = reached.key - std::min(reached.key, std::max<std::size_t>(1, back / candidates));
                auto const bounds = _bounds.begin() + static_cast<std::ptrdiff_t>(reached.slot * _track.width);
                _nodes.push_back({reached.key, reached.from, {bounds, bounds + _track.width}});
                if (layer.size() == candidates)
                    break;
            }
    }

    bool walk(std::size_t index)
    {
        std::size_t const from = _nodes[index].key, width = _track.width;
        for (std::size_t c = 0; c < width; ++c)
            _lines[c].start(_nodes[index].bounds[c].low, _nodes[index].bounds[c].high);
        _scratch.resize(width);
        for (std::size_t key = from + 1; key <= _last; ++key) {
            double const after = time(from, key);
            double const slack = key < _last ? _tolerance : 0;
            double room = std::numeric_limits<double>::infinity();
            for (std::size_t c = 0; c < width; ++c) {
                double const value = _track.at(key)[c];
                if (!_lines[c].pass(after, value - slack, value + slack))
                    return false;
                _scratch[c] = {_lines[c].lowest(after), _lines[c].highest(after)};
                room = std::min(room, _scratch[c].high - _scratch[c].low);
            }
            if (key == _last)
                break;
            std::size_t& at = _at[key];
            if (at == none) {
                at = _reached.size();
                _reached.push_back({key, index, at, room});
                _bounds.insert(_bounds.end(), _scratch.begin(), _scratch.end());
            } else if (room > _reached[at].room) {
                _reached[at] = {key, index, at, room};
                std::ranges::copy(_scratch, _bounds.begin() + static_cast<std::ptrdiff_t>(at * width));
            }
        }
        _nodes.push_back({_last, index, boundsOf(_last)});
        return true;
    }

    // Values with which a step from `node` ends at `key` with the values `end`: the middle of those there are.
    std::vector<double> beginning(Node const& node, std::size_t key, std::vector<double> const& end)
    {
        std::vector<double> values;
        for (std::size_t c = 0; c < node.bounds.size(); ++c) {
            Lines& lines = _lines[c];
            double const rounding = 1e-9 * _tolerance;
            lines.start(end[c] - rounding, end[c] + rounding);
            bool any = true;
            for (std::size_t k = key; any && --k > node.key;)
                any = lines.pass(time(k, key), _track.at(k)[c] - _tolerance, _track.at(k)[c] + _tolerance);
            auto const [low, high] = node.bounds[c];
            any = any && lines.pass(time(node.key, key), low, high);
            double const after = time(node.key, key);
            values.push_back(any ? (lines.lowest(after) + lines.highest(after)) / 2 : (low + high) / 2);
        }
        return values;
    }

    /// A key that one step more reaches: `bounds` from slot * width on.
    struct Reached {
        std::size_t key, from, slot;
        double room; ///< the least there is for one of its values
    };

    KeyTrack const& _track;
    double _tolerance;
    std::size_t _last = 0;
    std::vector<Node> _nodes;
    std::vector<Lines> _lines; ///< of each number
    std::vector<Interval> _scratch;
    std::vector<Reached> _reached; ///< in this layer
    std::vector<Interval> _bounds;
    std::vector<std::size_t> _at; ///< of keys reached in this layer: where in _reached
};

} // namespace

KeyTrack fewestFreeKeys(KeyTrack const& track, double tolerance)
{
    KeyTrack result = track.only({0});
    FreeSearch search(track, tolerance);
    for (std::size_t first = 0; first + 1 < track.size();) {
        std::size_t last = first + 1;
        while (!track.jumps(first) && last + 1 < track.size() && !track.jumps(last))
            ++last;
        if (last == first + 1) {
            result.keys.push_back(track.keys[last]);
            result.values.insert(result.values.end(), track.at(last).begin(), track.at(last).end());
        } else {
            search.run(first, last, result);
        }
        first = last;
    }
    return result;
}

} // namespace Zelvan::play
