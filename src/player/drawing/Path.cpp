#include "player/drawing/Stages.h"

#include "player/playing/Derived.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Zelvan::play {

namespace {

double valueAt(std::vector<double> const& times, std::vector<double> const& values, double time)
{
    auto const after = std::size_t(std::lower_bound(times.begin(), times.end(), time) - times.begin());
    if (after == times.size())
        return gap;
    if (times[after] == time || after == 0)
        return times[after] == time ? values[after] : gap;
    double const part = (time - times[after - 1]) / (times[after] - times[after - 1]);
    return std::lerp(values[after - 1], values[after], part);
}

/// Keeps of every run of neighbours the outermost points, so that the shape stays.
void thinPoints(std::vector<PlanePath::Point>& points)
{
    constexpr std::size_t runs = 500;
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

/// What marks the axis.
struct Marks {
    std::vector<double> const &keys, &seams;
};

/// `place` makes a point of the lines' values at one time.
template <class Place>
void setPoints(PlanePath& path, std::vector<double> const& times, std::vector<Line const*> const& lines, Marks marks,
               Place place)
{
    // Where the loop starts again somewhere else, nothing has moved along the way between.
    double const leap = 0.05 * std::max(path.horizontal.width(), path.vertical.width());
    double number[3];
    for (std::size_t s = 0; s < times.size(); ++s) {
        for (std::size_t i = 0; i < lines.size(); ++i)
            number[i] = lines[i]->values[s];
        PlanePath::Point const point = place(number);
        if (s != 0 && seamWithin(marks.seams, times[s - 1], times[s])
            && std::hypot(point[0] - path.points.back()[0], point[1] - path.points.back()[1]) > leap)
            path.points.push_back({gap, gap});
        path.points.push_back(point);
    }
    for (double const key : marks.keys) {
        for (std::size_t i = 0; i < lines.size(); ++i)
            number[i] = valueAt(times, lines[i]->values, key);
        PlanePath::Point const point = place(number);
        if (drawable(point[0]) && drawable(point[1]))
            path.keys.push_back(point);
    }
    thinPoints(path.points);
}

void addWheel(PlanePath& path, Samples const& samples, std::vector<Line> const& lines, Marks marks)
{
    path.kind = PlanePath::hueWheel;
    path.horizontal = path.vertical = {-1, 1};
    path.notes = {"hue around", "saturation outwards"};
    auto const place = [](double const* rgb) -> PlanePath::Point {
        if (!std::all_of(rgb, rgb + 3, drawable))
            return {gap, gap};
        Hsv const hsv = hsvOf(rgb);
        double const hue = hsv.hue * std::numbers::pi / 180, radius = std::clamp(double(hsv.saturation), 0., 1.);
        return {radius * std::cos(hue), radius * std::sin(hue)};
    };
    setPoints(path, samples.times(), {&lines[0], &lines[1], &lines[2]}, marks, place);
}

void addPosition(PlanePath& path, Samples const& samples, std::vector<Line> const& lines, Marks marks)
{
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
    // As the eye has it in front (x to the right, y up), above (x to the right, z to the viewer) or to the right.
    constexpr unsigned acrossOf[] = {2, 0, 0}, upOf[] = {1, 2, 1};
    constexpr char const* seenFrom[] = {"the right", "above", "the front"};
    unsigned const across = acrossOf[left], up = upOf[left];
    path.kind = PlanePath::position;
    path.axes = {across, up};
    path.signs = {left == 0 ? -1. : 1., left == 1 ? -1. : 1.};
    auto const span = [](Range const& range, double sign) {
        return sign > 0 ? Span{range.low, range.high} : Span{-range.high, -range.low};
    };
    path.horizontal = span(ranges[across], path.signs[0]);
    path.vertical = span(ranges[up], path.signs[1]);
    path.notes = {lines[across].name + (left == 0 ? " ← " : " → ") + rangeText(ranges[across], 3),
                  lines[up].name + (left == 1 ? " ↓ " : " ↑ ") + rangeText(ranges[up], 3)};
    if (count == 3)
        path.notes.push_back(std::string("from ") + seenFrom[left] + ", " + lines[left].name + ' '
                             + rangeText(ranges[left], 3));
    setPoints(path, samples.times(), {&lines[across], &lines[up]}, marks, [&](double const* xy) -> PlanePath::Point {
        return {xy[0] * path.signs[0], xy[1] * path.signs[1]};
    });
}

} // namespace

PlanePath pathOf(Samples const& samples, std::vector<Line> const& lines, std::vector<double> const& keys,
                 std::vector<double> const& seams)
{
    PlanePath path;
    if (samples.type() == SFColorType)
        addWheel(path, samples, lines, {keys, seams});
    else if (isPosition(samples.type()))
        addPosition(path, samples, lines, {keys, seams});
    return path;
}

} // namespace Zelvan::play
