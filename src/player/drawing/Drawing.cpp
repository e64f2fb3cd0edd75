#include "player/drawing/Drawing.h"

#include "player/playing/Derived.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <optional>

namespace Zelvan::play {

namespace {

constexpr double gap = std::numeric_limits<double>::quiet_NaN();
/// Below this saturation a colour is a grey, and its hue is rounding noise.
constexpr double greyest = 1e-3;
constexpr std::size_t mostStripRows = 12;

enum class Kind : unsigned char { numbers, colour, rotation, matrix };

Kind kindOf(NodePartDataType type)
{
    switch (type) {
    case SFColorType: case MFColorType: return Kind::colour;
    case SFRotationType: case MFRotationType: return Kind::rotation;
    case SFMatrix4fType: case MFMatrix4fType: return Kind::matrix;
    default: return Kind::numbers;
    }
}

bool isPosition(NodePartDataType type)
{
    return type == SFVec2fType || type == SFVec3fType || type == SFMatrix4fType;
}

void add(Range& range, std::vector<double> const& values)
{
    for (double const value : values)
        if (drawable(value))
            range.add(value);
}

Range rangeOf(Line const& line)
{
    Range range;
    add(range, line.values);
    add(range, line.low);
    add(range, line.high);
    return range;
}

/// "low … high" with so many digits of the larger one: of 1e-9 … 1 the reader wants 0 … 1.
std::string text(Range const& range, int digits)
{
    double const size = std::max(std::abs(range.low), std::abs(range.high));
    double const step = size < 1e-200 ? 0 : std::pow(10., std::floor(std::log10(size)) - digits + 1);
    auto const rounded = [&](double value) {
        return std::abs(value) < step / 2 || step == 0 ? "0" : roundNumber(std::round(value / step) * step, 10);
    };
    std::string const low = rounded(range.low), high = rounded(range.high);
    return low == high ? low : low + " … " + high;
}

// -- Panels

struct PanelPlan {
    std::string title, unit;
    std::vector<std::string> names;
    unsigned colour = 0;             ///< of the first line
    std::optional<Span> atLeast = {}; ///< what the scale holds in any case
};

std::vector<PanelPlan> plansOf(NodePartDataType type, bool block)
{
    switch (kindOf(type)) {
    case Kind::colour:
        if (!block)
            return {{"colour", "", {"red", "green", "blue"}, 0, Span{0, 1}}, {"hue", "°", {"hue"}, 3, Span{0, 360}}};
        break;
    case Kind::rotation: return {{"axis", "", {"x", "y", "z"}, 0, Span{-1, 1}}, {"angle", "°", {"angle"}, 3}};
    case Kind::matrix:
        return {{"translation", "", {"x", "y", "z"}},
                {"rotation angle", "°", {"angle"}, 3},
                {"scale factors", "", {"x", "y", "z"}}};
    case Kind::numbers: break;
    }
    Components const components = componentsOf(type);
    if (components.count == 0)
        return {};
    if (components.count == 1)
        return {{type == SFTimeType ? "time" : "value", type == SFTimeType ? "s" : "", {"value"}, 3}};
    std::vector<std::string> const names(components.names, components.names + components.count);
    if (!block)
        return {{isPosition(type) ? "position" : "value", "", names}};
    // Bands over each other cannot be told apart.
    std::vector<PanelPlan> plans;
    for (std::string const& name : names)
        plans.push_back({name, "", {name}, unsigned(plans.size()),
                         kindOf(type) == Kind::colour ? std::optional(Span{0, 1}) : std::nullopt});
    return plans;
}

/// Fills the lines of the panels from the samples.
class Maker {
public:
    Maker(Curve const& curve, PictureOptions const& options, Span axis, std::size_t columns)
        : _track(*curve.track), _width(componentsOf(_track.type).count),
          _block(isList(_track.type) && _track.largestBlock != 1), _columns(std::max<std::size_t>(columns, 1))
    {
        drawing.name = _track.name();
        drawing.type = _track.node->typeName + ", " + dataTypeName(_track.type);
        drawing.axis = axis;
        drawing.keys = marks(curve.keys);
        drawing.seams = marks(curve.seams);
        order();
        drawing.samples = _events.size();
        drawing.facts.push_back(counted(_track.events, "event"));
        if (_width != 0 && !_events.empty()) {
            fill();
            addSpeed(options);
            state();
            addPath();
            addStrip();
        } else if (_width == 0) {
            drawing.facts.push_back("text has no curve");
        }
        if (!drawing.keys.empty())
            drawing.facts.push_back(counted(drawing.keys.size(), "key mark"));
        if (!drawing.seams.empty())
            drawing.facts.push_back(counted(drawing.seams.size(), "loop seam"));
        for (Panel& panel : drawing.panels) {
            breakAtWraps(panel);
            setScale(panel);
            thin(panel);
        }
        if (drawing.thinned)
            drawing.facts.push_back("thinned: least and greatest of " + std::to_string(_columns) + " columns");
    }

    Drawing drawing;

private:
    std::vector<double> marks(std::vector<double> places) const
    {
        std::erase_if(places, [&](double place) {
            return !(place >= drawing.axis.low && place <= drawing.axis.high);
        });
        std::sort(places.begin(), places.end());
        places.erase(std::unique(places.begin(), places.end()), places.end());
        return places;
    }

    /// The events that have a place on the axis, in its order.
    void order()
    {
        auto const& times = _track.times;
        for (std::size_t e = 0; e < times.size(); ++e)
            if (drawable(times[e]))
                _events.push_back(e);
        std::stable_sort(_events.begin(), _events.end(), [&](auto a, auto b) { return times[a] < times[b]; });
        for (std::size_t const e : _events)
            _times.push_back(times[e]);
    }

    std::size_t elements(std::size_t sample) const { return _track.sample(_events[sample]).size() / _width; }
    double const* element(std::size_t sample, std::size_t i) const
    {
        return _track.sample(_events[sample]).data() + i * _width;
    }

    static void reserve(Line& line, std::size_t count, bool band)
    {
        line.values.assign(count, gap);
        if (band) {
            line.low.assign(count, gap);
            line.high.assign(count, gap);
        }
    }

    /// One sample of a line from the values that its elements have; values that are not drawable leave a hole.
    struct Gather {
        Range range;
        double sum = 0;
        std::size_t count = 0;
        void add(double value)
        {
            if (!drawable(value))
                return;
            range.add(value);
            sum += value;
            ++count;
        }
        void into(Line& line, std::size_t sample) const
        {
            if (count == 0)
                return;
            // The mean of equal numbers may round to a neighbour of them.
            line.values[sample] = std::clamp(sum / double(count), range.low, range.high);
            if (!line.low.empty()) {
                line.low[sample] = range.low;
                line.high[sample] = range.high;
            }
        }
    };

    void fill()
    {
        std::vector<Line*> lines;
        std::vector<PanelPlan> const plans = plansOf(_track.type, _block);
        drawing.panels.reserve(plans.size() + 2);
        for (PanelPlan const& plan : plans) {
            Panel& panel = drawing.panels.emplace_back();
            panel.title = plan.title;
            panel.unit = plan.unit;
            panel.times = _times;
            for (unsigned i = 0; i < plan.names.size(); ++i)
                panel.lines.push_back({plan.names[i], std::min(plan.colour + i, 3u), {}, {}, {}});
            for (Line& line : panel.lines) {
                reserve(line, _times.size(), _block);
                lines.push_back(&line);
            }
            _atLeast.push_back(plan.atLeast);
        }
        std::vector<Gather> gathers(lines.size());
        double quantity[8];
        Range sizes;
        for (std::size_t s = 0; s < _times.size(); ++s) {
            std::fill(gathers.begin(), gathers.end(), Gather());
            std::size_t const size = elements(s);
            sizes.add(double(size));
            bool holes = false;
            for (std::size_t i = 0; i < size; ++i) {
                double const* const number = element(s, i);
                holes = holes || !std::all_of(number, number + _width, drawable);
                quantities(number, quantity, lines.size());
                for (std::size_t q = 0; q < lines.size(); ++q)
                    gathers[q].add(quantity[q]);
            }
            _holes += holes;
            for (std::size_t q = 0; q < lines.size(); ++q)
                gathers[q].into(*lines[q], s);
        }
        if (!_block)
            return;
        drawing.facts.push_back(sizes.low == sizes.high ? counted(std::size_t(sizes.high), "element")
                                                        : roundNumber(sizes.low) + " … "
                                                              + counted(std::size_t(sizes.high), "element"));
        if (sizes.low != sizes.high) {
            Panel panel{"elements", "", _times, {{"count", 3, {}, {}, {}}}, {}};
            for (std::size_t s = 0; s < _times.size(); ++s)
                panel.lines[0].values.push_back(double(elements(s)));
            drawing.panels.push_back(std::move(panel));
            _atLeast.push_back(Span{0, 1});
        }
    }

    void quantities(double const* number, double* quantity, std::size_t count)
    {
        switch (kindOf(_track.type)) {
        case Kind::numbers: std::copy(number, number + count, quantity); return;
        case Kind::colour:
            std::copy(number, number + 3, quantity);
            _outside = _outside || !std::all_of(number, number + 3, [](double c) { return c >= 0 && c <= 1; });
            if (count > 3) {
                Hsv const hsv = hsvOf(number);
                quantity[3] = hsv.saturation > greyest ? hsv.hue : gap;
            }
            return;
        case Kind::rotation: rotationQuantities(number, quantity); return;
        case Kind::matrix: _mirrored = matrixQuantities(number, quantity) || _mirrored; return;
        }
    }

    bool seamWithin(double from, double to) const
    {
        auto const seam = std::lower_bound(drawing.seams.begin(), drawing.seams.end(), from);
        return seam != drawing.seams.end() && *seam <= to;
    }

    /// Speed between neighbouring samples, at the time between them. A jump at a seam is not a speed.
    void addSpeed(PictureOptions const& options)
    {
        if (kindOf(_track.type) != Kind::rotation || _times.size() < 2)
            return;
        std::size_t const open = options.axis.find('('), close = options.axis.find(')');
        std::string const per = open < close && close != std::string::npos
                                    ? options.axis.substr(open + 1, close - open - 1)
                                    : options.axis;
        Panel panel{"angular speed", "° per " + per, {}, {{"speed", 3, {}, {}, {}}}, {}};
        reserve(panel.lines[0], _times.size() - 1, _block);
        for (std::size_t s = 1; s < _times.size(); ++s) {
            double const from = _times[s - 1], to = _times[s];
            panel.times.push_back(std::midpoint(from, to));
            if (to <= from || seamWithin(from, to))
                continue;
            Gather gather;
            for (std::size_t i = 0; i < std::min(elements(s - 1), elements(s)); ++i)
                gather.add(angleBetween(element(s - 1, i), element(s, i)) / (to - from));
            gather.into(panel.lines[0], s - 1);
        }
        drawing.panels.push_back(std::move(panel));
        _atLeast.push_back(Span{0, 1e-3});
    }

    /// What there is to say about the values.
    void state()
    {
        for (Panel const& panel : drawing.panels)
            for (Line const& line : panel.lines) {
                Range const range = rangeOf(line);
                if (panel.title == "axis" || panel.title == "hue" || panel.title == "elements" || !range.any)
                    continue;
                // Lines called x, y, z are told apart by their panel where there are several.
                std::string const name = panel.title == "scale factors" ? "scale " + line.name
                                         : line.name == "speed"         ? panel.title
                                                                        : line.name;
                std::string const unit = panel.unit.starts_with("°") || panel.unit.empty() ? panel.unit
                                                                                          : ' ' + panel.unit;
                drawing.facts.push_back(name + ' ' + text(range, 4) + unit);
            }
        if (_holes != 0)
            drawing.facts.push_back("not finite in " + counted(_holes, "sample"));
        if (_outside)
            drawing.facts.push_back("colours outside 0 … 1, clamped in the strip");
        if (_mirrored)
            drawing.facts.push_back("mirrored: negative scale factors");
    }

    // -- The path

    double valueAt(std::vector<double> const& values, double time) const
    {
        auto const after = std::size_t(std::lower_bound(_times.begin(), _times.end(), time) - _times.begin());
        if (after == _times.size())
            return gap;
        if (_times[after] == time || after == 0)
            return _times[after] == time ? values[after] : gap;
        double const part = (time - _times[after - 1]) / (_times[after] - _times[after - 1]);
        return std::lerp(values[after - 1], values[after], part);
    }

    void addPath()
    {
        PlanePath& path = drawing.path;
        if (_track.type == SFColorType) {
            path.kind = PlanePath::hueWheel;
            path.horizontal = path.vertical = {-1, 1};
            path.notes = {"hue around,", "saturation outwards"};
            setPoints([](double const* rgb) -> PlanePath::Point {
                if (!std::all_of(rgb, rgb + 3, drawable))
                    return {gap, gap};
                Hsv const hsv = hsvOf(rgb);
                double const hue = hsv.hue * std::numbers::pi / 180, radius = std::clamp(double(hsv.saturation), 0., 1.);
                return {radius * std::cos(hue), radius * std::sin(hue)};
            }, {&drawing.panels[0].lines[0], &drawing.panels[0].lines[1], &drawing.panels[0].lines[2]});
        } else if (isPosition(_track.type)) {
            std::vector<Line> const& lines = drawing.panels[0].lines;
            std::vector<Range> ranges;
            for (Line const& line : lines)
                ranges.push_back(rangeOf(line));
            unsigned const count = unsigned(lines.size());
            if (!std::all_of(ranges.begin(), ranges.end(), [](Range const& range) { return range.any; }))
                return;
            auto const width = [&](unsigned c) { return ranges[c].high - ranges[c].low; };
            unsigned left = 2; // the axis that is left out
            if (count == 3)
                for (unsigned const c : {1u, 0u})
                    if (width(c) < width(left))
                        left = c;
            unsigned const across = left == 0 ? 1 : 0, up = left == 2 ? 1 : 2;
            path.kind = PlanePath::position;
            path.axes = {across, up};
            path.horizontal = {ranges[across].low, ranges[across].high};
            path.vertical = {ranges[up].low, ranges[up].high};
            path.notes = {lines[across].name + " → " + text(ranges[across], 3),
                          lines[up].name + " ↑ " + text(ranges[up], 3)};
            if (count == 3)
                path.notes.push_back(lines[left].name + (width(left) > 0 ? " left out: " : " constant: ")
                                     + text(ranges[left], 3));
            setPoints([](double const* xy) -> PlanePath::Point { return {xy[0], xy[1]}; },
                      {&lines[across], &lines[up]});
        }
    }

    template <class Place>
    void setPoints(Place place, std::vector<Line const*> const& lines)
    {
        PlanePath& path = drawing.path;
        // Where the loop starts again somewhere else, nothing has moved along the way between.
        double const leap = 0.05 * std::max(path.horizontal.width(), path.vertical.width());
        double number[3];
        for (std::size_t s = 0; s < _times.size(); ++s) {
            for (std::size_t i = 0; i < lines.size(); ++i)
                number[i] = lines[i]->values[s];
            PlanePath::Point const point = place(number);
            if (s != 0 && seamWithin(_times[s - 1], _times[s])
                && std::hypot(point[0] - path.points.back()[0], point[1] - path.points.back()[1]) > leap)
                path.points.push_back({gap, gap});
            path.points.push_back(point);
        }
        for (double const key : drawing.keys) {
            for (std::size_t i = 0; i < lines.size(); ++i)
                number[i] = valueAt(lines[i]->values, key);
            PlanePath::Point const point = place(number);
            if (drawable(point[0]) && drawable(point[1]))
                path.keys.push_back(point);
        }
        thinPath();
    }

    /// Keeps of every run of neighbours the outermost points, so that the shape stays.
    void thinPath()
    {
        constexpr std::size_t runs = 500;
        std::vector<PlanePath::Point>& points = drawing.path.points;
        if (points.size() <= 4 * runs)
            return;
        std::vector<PlanePath::Point> kept;
        for (std::size_t run = 0; run < runs; ++run) {
            std::size_t const from = points.size() * run / runs, to = points.size() * (run + 1) / runs;
            std::vector<std::size_t> picked{from, to - 1};
            for (unsigned c = 0; c < 2; ++c) {
                std::size_t least = from, most = from;
                for (std::size_t i = from; i < to; ++i) {
                    if (!drawable(points[i][0]) || !drawable(points[i][1]))
                        picked[0] = i; // one hole of a run stays
                    if (!(points[i][c] >= points[least][c]))
                        least = i;
                    if (!(points[i][c] <= points[most][c]))
                        most = i;
                }
                picked.insert(picked.end(), {least, most});
            }
            std::sort(picked.begin(), picked.end());
            picked.erase(std::unique(picked.begin(), picked.end()), picked.end());
            for (std::size_t const i : picked)
                kept.push_back(points[i]);
        }
        points = std::move(kept);
    }

    // -- The strip

    void addStrip()
    {
        if (kindOf(_track.type) != Kind::colour)
            return;
        std::size_t const size = std::max<std::size_t>(_track.largestBlock, 1);
        std::size_t const rows = std::min(size, mostStripRows);
        if (rows < size)
            drawing.facts.push_back("strip of " + std::to_string(rows) + " elements");
        drawing.strip.rows.resize(rows);
        double nextTime = -std::numeric_limits<double>::infinity();
        for (std::size_t s = 0; s < _times.size(); ++s) {
            // One sample for each column is as much as the eye gets.
            if (_times.size() > _columns && _times[s] < nextTime && s + 1 != _times.size())
                continue;
            nextTime = _times[s] + drawing.axis.width() / double(_columns);
            drawing.strip.times.push_back(_times[s]);
            for (std::size_t row = 0; row < rows; ++row) {
                std::size_t const i = row * size / rows;
                drawing.strip.rows[row].push_back(i < elements(s) ? colour(element(s, i)) : Strip::none);
            }
        }
    }

    static std::uint32_t colour(double const* rgb)
    {
        std::uint32_t packed = 0;
        for (int c = 0; c < 3; ++c) {
            if (!drawable(rgb[c]))
                return Strip::none;
            packed = packed << 8 | std::uint32_t(std::lround(std::clamp(rgb[c], 0., 1.) * 255));
        }
        return packed;
    }

    // -- What all panels need

    /// A hue that runs from 350 to 10 degrees passes 0; it does not go back through all colours.
    static void breakAtWraps(Panel& panel)
    {
        if (panel.title != "hue")
            return;
        std::vector<double>& values = panel.lines[0].values;
        std::vector<double> times, broken;
        for (std::size_t s = 0; s < values.size(); ++s) {
            if (s != 0 && std::abs(values[s] - values[s - 1]) > 180) {
                times.push_back(std::midpoint(panel.times[s - 1], panel.times[s]));
                broken.push_back(gap);
            }
            times.push_back(panel.times[s]);
            broken.push_back(values[s]);
        }
        panel.times = std::move(times);
        values = std::move(broken);
    }

    void setScale(Panel& panel)
    {
        Range range;
        for (Line const& line : panel.lines)
            if (Range const own = rangeOf(line); own.any) {
                range.add(own.low);
                range.add(own.high);
            }
        if (std::optional<Span> const& atLeast = _atLeast[std::size_t(&panel - drawing.panels.data())]) {
            range.add(atLeast->low);
            range.add(atLeast->high);
        }
        double const size = std::max(std::abs(range.low), std::abs(range.high));
        double margin = (range.high - range.low) * 0.06;
        // The last digits of a float are no movement; times are doubles.
        if (range.high - range.low <= size * (_track.type == SFTimeType ? 1e-14 : 1e-5))
            margin = size < 1e-200 ? 1 : size * 0.25;
        panel.scale = {range.low - margin, range.high + margin};
    }

    std::size_t columnOf(double time) const
    {
        double const column = (time - drawing.axis.low) / drawing.axis.width() * double(_columns);
        return column < 0 ? 0 : column < double(_columns) ? std::size_t(column) : _columns;
    }

    void thin(Panel& panel)
    {
        if (panel.times.size() <= 2 * _columns)
            return;
        drawing.thinned = true;
        Panel thinned{panel.title, panel.unit, {}, {}, panel.scale};
        for (Line const& line : panel.lines)
            thinned.lines.push_back({line.name, line.colour, {}, {}, {}});
        for (std::size_t from = 0, to; from < panel.times.size(); from = to) {
            to = from + 1;
            while (to < panel.times.size() && columnOf(panel.times[to]) == columnOf(panel.times[from]))
                ++to;
            thinColumn(panel, from, to, thinned);
        }
        panel = std::move(thinned);
    }

    /// Up to three samples for those from `from` to `to`: least, greatest and a gap, if there is one, in their order.
    static void thinColumn(Panel const& panel, std::size_t from, std::size_t to, Panel& thinned)
    {
        auto const picked = [&](std::vector<double> const& values) {
            std::size_t least = to, most = to, hole = to;
            for (std::size_t s = from; s < to; ++s) {
                if (!drawable(values[s])) {
                    hole = s;
                    continue;
                }
                if (least == to || values[s] < values[least])
                    least = s;
                if (most == to || values[s] > values[most])
                    most = s;
            }
            if (least == to)
                return std::pair(std::array{gap, gap, gap}, false);
            double const first = values[std::min(least, most)], second = values[std::max(least, most)];
            return hole == to                     ? std::pair(std::array{first, second, second}, false)
                   : hole < std::min(least, most) ? std::pair(std::array{gap, first, second}, true)
                   : hole < std::max(least, most) ? std::pair(std::array{first, gap, second}, true)
                                                  : std::pair(std::array{first, second, gap}, true);
        };
        bool const asTheyAre = to - from <= 2;
        std::size_t count = asTheyAre ? to - from : 2;
        auto const append = [&](std::vector<double> const& values, std::vector<double>& kept) {
            if (values.empty())
                return;
            if (asTheyAre) {
                kept.insert(kept.end(), values.begin() + long(from), values.begin() + long(to));
                return;
            }
            auto const [pick, hole] = picked(values);
            kept.insert(kept.end(), pick.begin(), pick.end());
            count = hole ? 3 : count;
        };
        for (std::size_t l = 0; l < panel.lines.size(); ++l) {
            append(panel.lines[l].values, thinned.lines[l].values);
            append(panel.lines[l].low, thinned.lines[l].low);
            append(panel.lines[l].high, thinned.lines[l].high);
        }
        thinned.times.push_back(panel.times[from]);
        if (count > 1)
            thinned.times.push_back(panel.times[to - 1]);
        if (count > 2)
            thinned.times.push_back(panel.times[to - 1]);
        for (Line& line : thinned.lines)
            for (auto* const values : {&line.values, &line.low, &line.high})
                if (!values->empty())
                    values->resize(thinned.times.size());
    }

    Track const& _track;
    unsigned _width; ///< numbers per element
    bool _block;
    std::size_t _columns;
    std::vector<std::size_t> _events; ///< of the track, by time
    std::vector<double> _times;
    std::vector<std::optional<Span>> _atLeast; ///< for each panel
    std::size_t _holes = 0;
    bool _outside = false, _mirrored = false;
};

Span spanOf(Range range, std::vector<double> const& keys)
{
    if (!range.any)
        add(range, keys);
    if (!range.any)
        return {};
    // Something to divide by, for a single sample too.
    double const margin = range.high > range.low ? 0 : std::max(0.5, std::abs(range.low) * 1e-6);
    return {range.low - margin, range.high + margin};
}

} // namespace

bool drawable(double value)
{
    // Differences of larger numbers overflow.
    return std::abs(value) < 1e300;
}

std::uint32_t Strip::at(std::size_t row, double time) const
{
    std::vector<std::uint32_t> const& colours = rows[row];
    if (times.size() == 1)
        return colours[0];
    auto const after = std::size_t(std::lower_bound(times.begin(), times.end(), time) - times.begin());
    if (after == times.size() || (after == 0 && times[0] != time))
        return none;
    if (times[after] == time || colours[after] == none || colours[after - 1] == none)
        return times[after] == time ? colours[after] : none;
    double const part = (time - times[after - 1]) / (times[after] - times[after - 1]);
    std::uint32_t mixed = 0;
    for (unsigned const shift : {16u, 8u, 0u})
        mixed |= std::uint32_t(std::lround(std::lerp(double(colours[after - 1] >> shift & 255),
                                                     double(colours[after] >> shift & 255), part))) << shift;
    return mixed;
}

Span axisOf(Curve const& curve)
{
    Range range;
    add(range, curve.track->times);
    return spanOf(range, curve.keys);
}

Span axisOf(std::vector<Curve> const& curves)
{
    Range range;
    std::vector<double> keys;
    for (Curve const& curve : curves) {
        add(range, curve.track->times);
        keys.insert(keys.end(), curve.keys.begin(), curve.keys.end());
    }
    return spanOf(range, keys);
}

Drawing drawingOf(Curve const& curve, PictureOptions const& options, Span axis, std::size_t columns)
{
    return std::move(Maker(curve, options, axis, columns).drawing);
}

} // namespace Zelvan::play
