#include "player/drawing/Drawing.h"
#include "player/drawing/Svg.h"

#include <algorithm>

namespace Zelvan::play {

using namespace svg;

namespace {

constexpr double scaleWidth = 50; ///< left of the panels, for their labels

/// Where a panel's axis and scale are in the picture.
struct Plot {
    double x, y, width, height;
    Span axis, scale;
    double across(double place) const { return x + (place - axis.low) / axis.width() * width; }
    double up(double value) const { return y + height - (value - scale.low) / scale.width() * height; }
};

void appendLine(std::string& svg, Plot const& plot, Panel const& panel, Line const& line, bool dots)
{
    auto const run = [&](std::vector<double> const& values) {
        Pen pen;
        for (std::size_t i = 0; i < values.size(); ++i)
            if (drawable(values[i]))
                pen.to(plot.across(panel.times[i]), plot.up(values[i]));
            else
                pen.lift();
        return pen.take();
    };
    std::string const colour = std::to_string(line.colour);
    if (!line.low.empty()) {
        // One closed shape for each stretch without a gap: along the top, back along the bottom.
        std::string band;
        for (std::size_t from = 0, to; from < line.low.size(); from = to + 1) {
            for (to = from; to < line.low.size() && drawable(line.low[to]); ++to)
                ;
            for (std::size_t i = from; i < to; ++i)
                band += (i == from ? 'M' : 'L') + point(plot.across(panel.times[i]), plot.up(line.high[i]));
            for (std::size_t i = to; i-- > from;)
                band += 'L' + point(plot.across(panel.times[i]), plot.up(line.low[i]));
            band += from < to ? "z" : "";
        }
        appendCurve(svg, "band b" + colour, band);
    }
    appendCurve(svg, "line c" + colour + (line.second ? " second" : ""), run(line.values));
    if (!dots || line.second)
        return;
    std::string marks;
    for (std::size_t i = 0; i < line.values.size(); ++i)
        if (drawable(line.values[i]))
            marks += 'M' + point(plot.across(panel.times[i]), plot.up(line.values[i])) + "h0";
    appendCurve(svg, "dots c" + colour, marks);
}

/// Vertical lines, one for each place; short ones at the foot where whole ones would cover the curve.
void appendPlaces(std::string& svg, Plot const& plot, char const* classes, std::vector<double> const& places)
{
    bool const many = double(places.size()) > plot.width / 5;
    double const height = many ? 5 : plot.height;
    std::string d, last;
    for (double const place : places) {
        std::string const x = coordinate(plot.across(place));
        if (x != last)
            d += 'M' + x + ' ' + coordinate(plot.y + plot.height - height) + 'v' + coordinate(height);
        last = x;
    }
    appendCurve(svg, classes, d);
}

void appendPanel(std::string& svg, Plot const& plot, Panel const& panel, Drawing const& drawing)
{
    double x = plot.x;
    std::string const title = panel.title + (panel.unit.empty() ? "" : " (" + panel.unit + ')');
    appendText(svg, x, plot.y - 4, "quiet", title);
    if (panel.lines.size() > 1) {
        x += double(title.size()) * letter + 10;
        for (Line const& line : panel.lines) {
            appendText(svg, x, plot.y - 4, ("t" + std::to_string(line.colour)).c_str(), line.name);
            x += double(line.name.size()) * letter + 10;
        }
    } else if (!panel.lines[0].low.empty()) {
        appendText(svg, x + double(title.size()) * letter + 10, plot.y - 4, "quiet",
                   "line: mean of the elements, band: least to greatest");
    }
    auto const ticks = ticksOf(plot.scale, unsigned(plot.height / 22) + 1, panel.unit.starts_with("°"));
    std::string grid;
    for (double const tick : ticks) {
        grid += 'M' + point(plot.x, plot.up(tick)) + 'h' + coordinate(plot.width);
        appendText(svg, plot.x - 5, plot.up(tick) + 3.5, "tick right", tickLabel(tick, ticks));
    }
    appendCurve(svg, "grid", grid);
    appendPlaces(svg, plot, "key", drawing.keys);
    appendPlaces(svg, plot, "seam", drawing.seams);
    appendPlaces(svg, plot, "found", drawing.found);
    bool const dots = double(panel.times.size()) * 10 < plot.width;
    for (Line const& line : panel.lines)
        appendLine(svg, plot, panel, line, dots);
    appendRect(svg, "frame", plot.x, plot.y, plot.width, plot.height);
}

void appendStrip(std::string& svg, Plot const& plot, Strip const& strip)
{
    std::size_t const rows = strip.rows.size();
    double const step = rows > 1 ? 4 : 2;
    std::size_t const columns = std::size_t(plot.width / step);
    for (std::size_t row = 0; row < rows; ++row) {
        double const top = plot.y + plot.height * double(row) / double(rows);
        auto const colourOf = [&](std::size_t column) {
            return strip.at(row, plot.axis.low + (double(column) + 0.5) / double(columns) * plot.axis.width());
        };
        for (std::size_t column = 0, next; column < columns; column = next) {
            std::uint32_t const colour = colourOf(column);
            for (next = column + 1; next < columns && colourOf(next) == colour; ++next)
                ;
            if (colour == Strip::none)
                continue;
            double const left = double(column) / double(columns) * plot.width;
            double const right = double(next) / double(columns) * plot.width;
            // Absolute places: neighbours share their edge to the digit.
            std::string const from = coordinate(plot.x + left), to = coordinate(plot.x + right);
            svg += "<path class=\"colour\" fill=\"" + hex(colour) + "\" d=\"M" + from + ' ' + coordinate(top) + 'H' + to + 'V'
                + coordinate(top + plot.height / double(rows)) + 'H' + from + "z\"/>\n";
        }
    }
    appendRect(svg, "frame", plot.x, plot.y, plot.width, plot.height);
}

} // namespace

void appendPanels(std::string& svg, Drawing const& drawing, Frame frame, std::string const& axisTitle)
{
    constexpr double footHeight = 30, right = 8;
    Plot plot{scaleWidth, 0, frame.width - scaleWidth - right, 0, drawing.axis, {}};
    double top = 0;
    if (std::size_t const rows = drawing.strip.rows.size(); rows != 0) {
        plot.height = rows == 1 ? 16 : std::min(double(rows) * 8, 48.);
        plot.y = 2;
        appendStrip(svg, plot, drawing.strip);
        top = plot.height + 4;
    }
    std::vector<Panel const*> panels;
    for (Panel const& panel : drawing.panels)
        if (!panel.flat)
            panels.push_back(&panel);
    std::size_t const count = std::max<std::size_t>(panels.size(), 1);
    double const share = (frame.height - top - footHeight) / double(count);
    for (std::size_t i = 0; i < count; ++i) {
        plot.y = top + share * double(i) + textLine + 2;
        plot.height = share - textLine - 6;
        if (i < panels.size()) {
            plot.scale = panels[i]->scale;
            appendPanel(svg, plot, *panels[i], drawing);
        } else {
            appendPlaces(svg, plot, "key", drawing.keys);
            appendPlaces(svg, plot, "seam", drawing.seams);
            appendRect(svg, "frame", plot.x, plot.y, plot.width, plot.height);
            appendText(svg, plot.x + plot.width / 2, plot.y + plot.height / 2, "quiet middle",
                       drawing.samples == 0 ? "no samples" : "nothing to draw");
        }
    }
    double const foot = plot.y + plot.height;
    auto const ticks = ticksOf(drawing.axis, unsigned(plot.width / 60) + 1, false);
    std::string small;
    for (double const tick : ticks) {
        small += 'M' + point(plot.across(tick), foot) + "v4";
        appendText(svg, plot.across(tick), foot + textLine + 1, "tick middle", tickLabel(tick, ticks));
    }
    appendCurve(svg, "frame", small);
    appendText(svg, plot.x + plot.width, foot + 2 * textLine, "quiet right", axisTitle);
}

} // namespace Zelvan::play
