#include "player/drawing/Drawing.h"
#include "player/drawing/Svg.h"

#include "base/OpenSG.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace Zelvan::play {

using namespace svg;

namespace {

/// The ring of hues, and the axes of equal hue every 60 degrees.
void appendWheel(std::string& svg, double x, double y, double radius)
{
    constexpr int pieces = 72;
    constexpr double piece = 2 * std::numbers::pi / pieces;
    double const outer = radius + 7;
    auto const at = [&](double angle, double r) { return point(x + r * std::cos(angle), y - r * std::sin(angle)); };
    for (int i = 0; i < pieces; ++i) {
        osg::Color3f colour;
        colour.setValuesHSV(360.f * float(i) / pieces, 1, 1);
        std::uint32_t packed = 0;
        for (unsigned c = 0; c < 3; ++c)
            packed = packed << 8 | std::uint32_t(std::lround(colour[c] * 255));
        // A little longer than its share, or hairlines show between the pieces.
        double const from = (i - 0.5) * piece, to = (i + 0.55) * piece;
        svg += "<path fill=\"" + hex(packed) + "\" d=\"M" + at(from, radius + 1) + 'L' + at(from, outer) + 'L' + at(to, outer)
            + 'L' + at(to, radius + 1) + "z\"/>\n";
    }
    std::string spokes;
    for (int i = 0; i < 6; ++i)
        spokes += 'M' + point(x, y) + 'L' + at(i * std::numbers::pi / 3, radius);
    appendCurve(svg, "grid", spokes);
}

} // namespace

PathPlot::PathPlot(PlanePath const& path, double frameSize) : size(frameSize)
{
    // The same scale both ways, or angles and distances would not show.
    double const widest = std::max(path.horizontal.width(), path.vertical.width());
    double const largest = std::max({std::abs(path.horizontal.low), std::abs(path.horizontal.high), std::abs(path.vertical.low),
                                     std::abs(path.vertical.high)});
    unit = (size - 2 * margin) / (widest > largest * 1e-5 ? widest : 1);
    middle = {std::midpoint(path.horizontal.low, path.horizontal.high), std::midpoint(path.vertical.low, path.vertical.high)};
}

void appendPath(std::string& svg, Drawing const& drawing, double size)
{
    PlanePath const& path = drawing.path;
    PathPlot const plot(path, size);
    if (path.kind == PlanePath::hueWheel) {
        appendWheel(svg, size / 2, size / 2, size / 2 - PathPlot::margin);
    } else {
        std::string grid;
        double const reach = size / 2 / plot.unit;
        auto const across = ticksOf({plot.middle[0] - reach, plot.middle[0] + reach}, 5, false);
        auto const up = ticksOf({plot.middle[1] - reach, plot.middle[1] + reach}, 5, false);
        for (double const tick : across)
            grid += 'M' + point(plot.x(tick), 0) + 'v' + coordinate(size);
        for (double const tick : up)
            grid += 'M' + point(0, plot.y(tick)) + 'h' + coordinate(size);
        appendCurve(svg, "grid", grid);
        for (double const tick : across)
            if (plot.x(tick) > 24 && plot.x(tick) < size - 12)
                appendText(svg, plot.x(tick), size - 3, "tick middle", tickLabel(tick * path.signs[0], across));
        for (double const tick : up)
            if (plot.y(tick) > 12 && plot.y(tick) < size - 12)
                appendText(svg, 3, plot.y(tick) - 2, "tick", tickLabel(tick * path.signs[1], up));
        appendRect(svg, "frame", 0, 0, size, size);
    }
    Pen pen;
    std::string start, end, keys;
    for (PlanePath::Point const& p : path.points) {
        if (!drawable(p[0]) || !drawable(p[1])) {
            pen.lift();
            continue;
        }
        pen.to(plot.x(p[0]), plot.y(p[1]));
        end = point(plot.x(p[0]), plot.y(p[1]));
        start = start.empty() ? end : start;
    }
    appendCurve(svg, "line c3", pen.take());
    if (path.keys.size() <= 100)
        for (PlanePath::Point const& p : path.keys)
            keys += 'M' + point(plot.x(p[0]), plot.y(p[1])) + "h0";
    appendCurve(svg, "keyDots", keys);
    appendCurve(svg, "end", end.empty() ? "" : 'M' + end + "m-5 0a5 5 0 1 0 10 0a5 5 0 1 0 -10 0");
    appendCurve(svg, "start", start.empty() ? "" : 'M' + start + "h0");
    for (std::size_t i = 0; i < path.notes.size(); ++i)
        appendText(svg, 0, size + textLine * double(i + 1) + 1, "tick", path.notes[i]);
}

} // namespace Zelvan::play
