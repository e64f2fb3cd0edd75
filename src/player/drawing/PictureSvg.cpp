#include "player/drawing/Drawing.h"
#include "player/drawing/PictureAssets.h"

#include "base/OpenSG.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <numeric>
#include <ostream>

namespace Zelvan::play {

namespace {

constexpr std::size_t mostTracks = 200; ///< beyond, nobody looks at a picture

// Sizes in user units. A line of text takes `textLine`, a letter about `letter`.
constexpr double textLine = 13, letter = 6;
constexpr double scaleWidth = 50; ///< left of the panels, for their labels

std::string coordinate(double value)
{
    char buffer[400];
    char* end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1).ptr;
    if (end[-1] == '0')
        end -= 2;
    std::string text(buffer, end);
    return text == "-0" ? "0" : text;
}

std::string point(double x, double y)
{
    return coordinate(x) + ' ' + coordinate(y);
}

void appendText(std::string& svg, double x, double y, char const* classes, std::string const& text)
{
    svg += "<text x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" class=\"" + classes + "\">" + escaped(text)
           + "</text>\n";
}

void appendRect(std::string& svg, char const* classes, double x, double y, double width, double height)
{
    svg += "<rect class=\"" + std::string(classes) + "\" x=\"" + coordinate(x) + "\" y=\"" + coordinate(y)
           + "\" width=\"" + coordinate(width) + "\" height=\"" + coordinate(height) + "\"/>\n";
}

void appendCurve(std::string& svg, std::string const& classes, std::string const& d)
{
    if (!d.empty())
        svg += "<path class=\"" + classes + "\" d=\"" + d + "\"/>\n";
}

std::string hex(std::uint32_t colour)
{
    char text[] = "#000000";
    for (int i = 6; i > 0; --i, colour >>= 4)
        text[i] = "0123456789abcdef"[colour & 15];
    return text;
}

/// Collects the points of a curve: a gap lifts the pen, a point that falls on the one before is left out.
class Pen {
public:
    void lift() { _down = false; }
    void to(double x, double y)
    {
        std::string const place = point(x, y);
        if (_down && place == _last)
            return;
        // The empty step makes a round cap, so that a point on its own shows.
        d += (_down ? "L" : "M") + place + (_down ? "" : "h0");
        _down = true;
        _last = place;
    }
    std::string d;

private:
    bool _down = false;
    std::string _last;
};

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
        return pen.d;
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
    appendCurve(svg, "line c" + colour, run(line.values));
    if (!dots)
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
            svg += "<path class=\"colour\" fill=\"" + hex(colour) + "\" d=\"M" + from + ' ' + coordinate(top) + 'H' + to
                   + 'V' + coordinate(top + plot.height / double(rows)) + 'H' + from + "z\"/>\n";
        }
    }
    appendRect(svg, "frame", plot.x, plot.y, plot.width, plot.height);
}

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
        svg += "<path fill=\"" + hex(packed) + "\" d=\"M" + at(from, radius + 1) + 'L' + at(from, outer) + 'L'
               + at(to, outer) + 'L' + at(to, radius + 1) + "z\"/>\n";
    }
    std::string spokes;
    for (int i = 0; i < 6; ++i)
        spokes += 'M' + point(x, y) + 'L' + at(i * std::numbers::pi / 3, radius);
    appendCurve(svg, "grid", spokes);
}

/// Splits a text into lines of at most `letters` characters; what does not fit on the last one ends in "…".
std::vector<std::string> wrapped(std::string_view text, double width, std::size_t most)
{
    std::size_t const letters = std::max<std::size_t>(std::size_t(width / letter), 8);
    std::vector<std::string> lines;
    while (!text.empty() && lines.size() < most) {
        std::size_t bytes = 0, count = 0, blank = 0;
        for (; bytes < text.size() && count <= letters; ++bytes)
            if ((text[bytes] & 0xc0) != 0x80 && ++count <= letters && text[bytes] == ' ')
                blank = bytes;
        if (count <= letters) {
            lines.emplace_back(text);
            return lines;
        }
        --bytes; // the first byte of the character that is one too many
        if (lines.size() + 1 == most) {
            while (bytes > 0 && (text[--bytes] & 0xc0) == 0x80)
                ;
            lines.push_back(std::string(text.substr(0, bytes)) + "…");
            return lines;
        }
        std::size_t const end = blank > 0 ? blank : bytes;
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(blank > 0 ? end + 1 : end);
    }
    return lines;
}

std::string joined(std::vector<std::string> const& facts)
{
    std::string text;
    for (std::string const& fact : facts)
        text += (text.empty() ? "" : " · ") + fact;
    return text;
}

constexpr double headHeight = 4 * textLine + 16, stackHeight = 232, cellGap = 28, border = 24;

void appendCell(std::string& svg, Drawing const& drawing, double width, std::string const& axis)
{
    svg += "<title>" + escaped(drawing.name) + "</title>\n";
    double y = textLine;
    for (std::string const& line : wrapped(drawing.name, width * 0.72, 1)) // bold letters are wider
        appendText(svg, 0, y, "name", line);
    y += 1;
    for (std::string const& line : wrapped(drawing.type, width, 1))
        appendText(svg, 0, y += textLine, "quiet", line);
    for (std::string const& line : wrapped(joined(drawing.facts), width, 2))
        appendText(svg, 0, y += textLine, "fact", line);
    double const side = drawing.path.kind == PlanePath::absent ? 0 : std::min(stackHeight - 50, width * 0.32);
    svg += "<g transform=\"translate(0 " + coordinate(headHeight) + ")\">\n";
    appendPanels(svg, drawing, {width - side - (side > 0 ? 16 : 0), stackHeight}, axis);
    svg += "</g>\n";
    if (side > 0) {
        svg += "<g transform=\"translate(" + point(width - side, headHeight + textLine + 2) + ")\">\n";
        appendPath(svg, drawing, side);
        svg += "</g>\n";
    }
}

} // namespace

PathPlot::PathPlot(PlanePath const& path, double frameSize) : size(frameSize)
{
    // The same scale both ways, or angles and distances would not show.
    double const widest = std::max(path.horizontal.width(), path.vertical.width());
    double const largest = std::max({std::abs(path.horizontal.low), std::abs(path.horizontal.high),
                                     std::abs(path.vertical.low), std::abs(path.vertical.high)});
    unit = (size - 2 * margin) / (widest > largest * 1e-5 ? widest : 1);
    middle = {std::midpoint(path.horizontal.low, path.horizontal.high),
              std::midpoint(path.vertical.low, path.vertical.high)};
}

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
    std::size_t const count = std::max<std::size_t>(drawing.panels.size(), 1);
    double const share = (frame.height - top - footHeight) / double(count);
    for (std::size_t i = 0; i < count; ++i) {
        plot.y = top + share * double(i) + textLine + 2;
        plot.height = share - textLine - 6;
        if (i < drawing.panels.size()) {
            plot.scale = drawing.panels[i].scale;
            appendPanel(svg, plot, drawing.panels[i], drawing);
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

void appendPath(std::string& svg, Drawing const& drawing, double size)
{
    PlanePath const& path = drawing.path;
    PathPlot const plot(path, size);
    if (path.kind == PlanePath::hueWheel) {
        appendWheel(svg, size / 2, size / 2, size / 2 - PathPlot::margin);
    } else {
        std::string grid;
        double const reach = size / 2 / plot.unit;
        for (double const tick : ticksOf({plot.middle[0] - reach, plot.middle[0] + reach}, 5, false))
            grid += 'M' + point(plot.x(tick), 0) + 'v' + coordinate(size);
        for (double const tick : ticksOf({plot.middle[1] - reach, plot.middle[1] + reach}, 5, false))
            grid += 'M' + point(0, plot.y(tick)) + 'h' + coordinate(size);
        appendCurve(svg, "grid", grid);
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
    appendCurve(svg, "line c3", pen.d);
    if (path.keys.size() <= 100)
        for (PlanePath::Point const& p : path.keys)
            keys += 'M' + point(plot.x(p[0]), plot.y(p[1])) + "h0";
    appendCurve(svg, "keyDots", keys);
    appendCurve(svg, "end", end.empty() ? "" : 'M' + end + "m-5 0a5 5 0 1 0 10 0a5 5 0 1 0 -10 0");
    appendCurve(svg, "start", start.empty() ? "" : 'M' + start + "h0");
    for (std::size_t i = 0; i < path.notes.size(); ++i)
        appendText(svg, 0, size + textLine * double(i + 1) + 1, "tick", path.notes[i]);
}

void appendMarks(std::string& svg)
{
    svg += "<path class=\"key\" d=\"M4 1v14\"/><text x=\"11\" y=\"12\" class=\"quiet\">key</text>"
           "<path class=\"seam\" d=\"M44 1v14\"/><text x=\"51\" y=\"12\" class=\"quiet\">loop seam</text>"
           "<path class=\"start\" d=\"M120 8h0\"/><text x=\"129\" y=\"12\" class=\"quiet\">start</text>"
           "<path class=\"end\" d=\"M163 8a5 5 0 1 0 10 0a5 5 0 1 0 -10 0\"/>"
           "<text x=\"178\" y=\"12\" class=\"quiet\">end of a path</text>\n";
}

void writeSvg(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options)
{
    std::size_t const count = std::min(curves.size(), mostTracks);
    std::size_t const columns = count <= 2 ? 1 : count <= 8 ? 2 : 3;
    double const width = columns == 1 ? 900 : columns == 2 ? 1160 : 1320;
    double const cell = (width - 2 * border - cellGap * double(columns - 1)) / double(columns);
    constexpr double titleHeight = 58, rowHeight = headHeight + stackHeight + cellGap;
    std::size_t const rows = (count + columns - 1) / columns;
    double const height = 2 * border + titleHeight + rowHeight * double(std::max<std::size_t>(rows, 1)) - cellGap;

    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\""
                      + coordinate(width) + "\" height=\"" + coordinate(height) + "\" viewBox=\"0 0 "
                      + point(width, height) + "\" role=\"img\">\n<title>" + escaped(options.title)
                      + "</title>\n<style>\n" + std::string(asset::pictureStyle) + "</style>\n";
    appendRect(svg, "paper", 0, 0, width, height);
    svg += "<g transform=\"translate(" + point(border, border) + ")\">\n";
    // Its letters are twice as wide as the others'.
    for (std::string const& line : wrapped(options.title, (width - 2 * border - 280) / 2, 1))
        appendText(svg, 0, 14, "headline", line);
    std::string summary = counted(curves.size(), "track") + " against " + options.axis;
    if (count < curves.size())
        summary += "; the first " + std::to_string(count) + " are drawn";
    appendText(svg, 0, 34, "fact", summary);
    svg += "<g transform=\"translate(" + point(width - 2 * border - 260, 0) + ")\">";
    appendMarks(svg);
    svg += "</g></g>\n";
    out << svg;

    Span const shared = axisOf(curves);
    for (std::size_t i = 0; i < count; ++i) {
        double const x = border + double(i % columns) * (cell + cellGap);
        double const y = border + titleHeight + double(i / columns) * rowHeight;
        svg = "<g class=\"track\" transform=\"translate(" + point(x, y) + ")\">\n";
        appendCell(svg, drawingOf(curves[i], options, options.sharedAxis ? shared : axisOf(curves[i]),
                                  std::size_t(cell)), cell, options.axis);
        out << svg << "</g>\n";
    }
    out << "</svg>\n";
}

} // namespace Zelvan::play
