#include "player/editing/Reduction.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Zelvan::play {

namespace {

/// Values of one number at a key, and the slopes from there, with which a straight step passes all later keys within
/// the tolerance: a convex polygon.
class Lines {
public:
    /// Starts between `low` and `high` and passes the first later key, `time` after it, between `under` and `over`.
    Lines(double low, double high, double time, double under, double over)
        : _corners{{low, (under - low) / time}, {high, (under - high) / time}, {high, (over - high) / time},
                   {low, (over - low) / time}}
    {
    }
    /// Of the lines, those between `low` and `high` at `time`.
    void cut(double time, double low, double high)
    {
        cutAbove(time, high, 1);
        cutAbove(time, low, -1);
    }
    bool any() const { return !_corners.empty(); }
    struct Interval {
        double low, high;
    };
    Interval at(double time) const
    {
        Interval interval{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
        for (Corner const& corner : _corners) {
            double const value = corner.value + corner.slope * time;
            interval.low = std::min(interval.low, value);
            interval.high = std::max(interval.high, value);
        }
        return interval;
    }

private:
    struct Corner {
        double value, slope;
    };
    void cutAbove(double time, double bound, double sign)
    {
        auto const over = [&](Corner const& c) { return sign * (c.value + c.slope * time - bound); };
        if (std::ranges::all_of(_corners, [&](Corner const& c) { return over(c) <= 0; }))
            return;
        _cut.clear();
        for (std::size_t i = 0; i < _corners.size(); ++i) {
            Corner const& a = _corners[i];
            Corner const& b = _corners[i + 1 < _corners.size() ? i + 1 : 0];
            double const overA = over(a), overB = over(b);
            if (overA <= 0)
                _cut.push_back(a);
            if ((overA < 0 && overB > 0) || (overA > 0 && overB < 0)) {
                double const t = overA / (overA - overB);
                _cut.push_back({a.value + t * (b.value - a.value), a.slope + t * (b.slope - a.slope)});
            }
        }
        _corners.swap(_cut);
    }
    std::vector<Corner> _corners, _cut;
};

class FreeSearch {
public:
    FreeSearch(KeyTrack const& track, double tolerance) : _track(track), _tolerance(tolerance), _at(track.size(), none) {}

    /// Appends the keys after `first`, up to `last`, with their values; `first` itself is there.
    void run(std::size_t first, std::size_t last, KeyTrack& result)
    {
        _last = last;
        _nodes.assign(1, Node{first, 0, numbers(first), numbers(first)});
        std::vector<std::size_t> layer = {0};
        std::size_t found = none;
        while ((found = step(layer)) == none) {}
        std::vector<std::size_t> path = {found};
        while (path.back() != 0)
            path.push_back(_nodes[path.back()].from);
        std::reverse(path.begin(), path.end());
        // Backwards: where a step has to end says where it may begin.
        std::vector<std::vector<double>> values(path.size());
        values.back() = numbers(last);
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

    /// A key that so many steps reach, with the values they reach it with.
    struct Node {
        std::size_t key, from;
        std::vector<double> low, high;
    };
    std::vector<double> numbers(std::size_t key) const { return {_track.at(key).begin(), _track.at(key).end()}; }
    double time(Node const& from, std::size_t to) const { return double(_track.keys[to]) - _track.keys[from.key]; }
    std::vector<Lines> linesFrom(Node const& node) const
    {
        std::vector<Lines> lines;
        for (std::size_t c = 0; c < _track.width; ++c) {
            double const value = _track.at(node.key + 1)[c];
            lines.emplace_back(node.low[c], node.high[c], time(node, node.key + 1), value - _tolerance, value + _tolerance);
        }
        return lines;
    }
    // Smallest share of the room for values that a node leaves.
    double room(Node const& node) const
    {
        double least = std::numeric_limits<double>::infinity();
        for (std::size_t c = 0; c < node.low.size(); ++c)
            least = std::min(least, node.high[c] - node.low[c]);
        return least;
    }

    // One step more from each node of the layer, which is replaced. The node of the last key when it is reached.
    std::size_t step(std::vector<std::size_t>& layer)
    {
        for (Node const& node : _reached)
            _at[node.key] = none;
        _reached.clear();
        std::size_t farthestBefore = 0;
        for (std::size_t const index : layer) {
            farthestBefore = std::max(farthestBefore, _nodes[index].key);
            if (walk(index))
                return _nodes.size() - 1;
        }
        std::ranges::sort(_reached, std::greater(), &Node::key);
        // The farthest keys leave little room for their values: some way back there is more.
        layer.clear();
        std::size_t const farthest = _reached.front().key, back = (farthest - farthestBefore) / 2;
        std::size_t wanted = farthest;
        for (Node& node : _reached)
            if (node.key <= wanted) {
                layer.push_back(_nodes.size());
                wanted = node.key - std::min(node.key, std::max<std::size_t>(1, back / candidates));
                _nodes.push_back(node);
                if (layer.size() > candidates)
                    break;
            }
        return none;
    }

    bool walk(std::size_t index)
    {
        std::vector<Lines> lines = linesFrom(_nodes[index]);
        for (std::size_t key = _nodes[index].key + 1; key <= _last; ++key) {
            Node reached{key, index, {}, {}};
            for (std::size_t c = 0; c < lines.size(); ++c) {
                double const value = _track.at(key)[c], after = time(_nodes[index], key);
                if (key == _last) {
                    auto const [low, high] = lines[c].at(after);
                    if (!(low <= value && value <= high))
                        return false;
                    continue;
                }
                lines[c].cut(after, value - _tolerance, value + _tolerance);
                if (!lines[c].any())
                    return false;
                auto const [low, high] = lines[c].at(after);
                reached.low.push_back(low);
                reached.high.push_back(high);
            }
            if (key == _last) {
                _nodes.push_back({key, index, numbers(key), numbers(key)});
                return true;
            }
            if (_at[key] == none) {
                _at[key] = _reached.size();
                _reached.push_back(std::move(reached));
            } else if (Node& other = _reached[_at[key]]; room(reached) > room(other)) {
                other = std::move(reached);
            }
        }
        return false;
    }

    // Values with which a step from `node` ends at `key` with the values `end`: the middle of those there are.
    std::vector<double> beginning(Node const& node, std::size_t key, std::vector<double> const& end) const
    {
        std::vector<Lines> lines = linesFrom(node);
        std::vector<double> values;
        for (std::size_t c = 0; c < lines.size(); ++c) {
            for (std::size_t k = node.key + 1; k < key; ++k)
                lines[c].cut(time(node, k), _track.at(k)[c] - _tolerance, _track.at(k)[c] + _tolerance);
            double const rounding = 1e-9 * _tolerance;
            lines[c].cut(time(node, key), end[c] - rounding, end[c] + rounding);
            auto const [low, high] = lines[c].at(0);
            values.push_back(low <= high ? (low + high) / 2 : (node.low[c] + node.high[c]) / 2);
        }
        return values;
    }

    KeyTrack const& _track;
    double _tolerance;
    std::size_t _last = 0;
    std::vector<Node> _nodes;
    std::vector<Node> _reached;      ///< in this layer
    std::vector<std::size_t> _at;    ///< of keys reached in this layer: where in _reached
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
