#include "player/drawing/Drawing.h"
#include "player/drawing/PictureAssets.h"
#include "player/drawing/Svg.h"
#include "player/scene/Escape.h"

#include <algorithm>
#include <ostream>

namespace Zelvan::play {

using namespace svg;

namespace {

constexpr std::size_t mostTracks = 200; ///< beyond, nobody looks at a picture

/// Splits a text into lines of at most `letters` characters; what does not fit on the last one ends in "…".
std::vector<std::string> wrapped(std::string_view text, double width, std::size_t most)
{
    std::size_t const letters = std::size_t(width / letter);
    std::vector<std::string> lines;
    while (!text.empty()) {
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
            while ((text[--bytes] & 0xc0) == 0x80)
                ;
            lines.push_back(std::string(text.substr(0, bytes)) + "…");
            return lines;
        }
        lines.emplace_back(text.substr(0, blank)); // what takes several lines begins with short words
        text.remove_prefix(blank + 1);
    }
    return lines;
}

constexpr double headHeight = 6 * textLine + 16, stackHeight = 232, cellGap = 28, border = 24;

/// "driven by Clock · moves Ball.translation"
std::string contextText(Curve const& curve)
{
    std::vector<std::string> texts;
    if (!curve.drivers.empty())
        texts.push_back("driven by " + joined(curve.drivers, ", "));
    if (!curve.moves.empty())
        texts.push_back("moves " + joined(curve.moves, ", "));
    if (!curve.place.empty())
        texts.push_back(curve.place);
    return joined(texts, " · ");
}

void appendCell(std::string& svg, Curve const& curve, Drawing const& drawing, double width, std::string const& axis)
{
    svg += "<title>" + escapedMarkup(drawing.name) + "</title>\n";
    double y = textLine;
    for (std::string const& line : wrapped(drawing.name, width * 0.72, 1)) // bold letters are wider
        appendText(svg, 0, y, "name", line);
    y += 1;
    for (std::string const& line : wrapped(drawing.type, width, 1))
        appendText(svg, 0, y += textLine, "quiet", line);
    for (std::string const& line : wrapped(contextText(curve), width, 1))
        appendText(svg, 0, y += textLine, "quiet", line);
    for (std::string const& line : wrapped(joined(drawing.facts, " · "), width, 2))
        appendText(svg, 0, y += textLine, "fact", line);
    if (!curve.remarks.empty()) {
        CurveRemark const& first = curve.remarks.front();
        std::string const more = curve.remarks.size() > 1 ? " (and " + std::to_string(curve.remarks.size() - 1) + " more)" : "";
        for (std::string const& line : wrapped(first.severity + ' ' + first.code + more + ": " + first.message, width, 1))
            appendText(svg, 0, y += textLine, "remark", line);
    }
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

void appendMarks(std::string& svg)
{
    svg += "<path class=\"key\" d=\"M4 1v14\"/><text x=\"11\" y=\"12\" class=\"quiet\">key</text>"
           "<path class=\"seam\" d=\"M44 1v14\"/><text x=\"51\" y=\"12\" class=\"quiet\">loop seam</text>"
           "<path class=\"start\" d=\"M120 8h0\"/><text x=\"129\" y=\"12\" class=\"quiet\">start</text>"
           "<path class=\"end\" d=\"M163 8a5 5 0 1 0 10 0a5 5 0 1 0 -10 0\"/>"
           "<text x=\"178\" y=\"12\" class=\"quiet\">end of a path</text>"
           "<path class=\"found\" d=\"M262 1v14\"/><text x=\"270\" y=\"12\" class=\"quiet\">finding</text>\n";
}

void writeSvg(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options)
{
    std::size_t const count = std::min(curves.size(), mostTracks);
    std::size_t const columns = count <= 2 ? 1 : count <= 8 ? 2 : 3;
    double const width = columns == 1 ? 900 : columns == 2 ? 1160 : 1320;
    double const cell = (width - 2 * border - cellGap * double(columns - 1)) / double(columns);
    std::size_t const waiting = std::min<std::size_t>(options.waiting.size(), 12);
    double const titleHeight = 58 + (waiting != 0 || count == 0 ? textLine * double(waiting + 2) : 0);
    constexpr double rowHeight = headHeight + stackHeight + cellGap;
    std::size_t const rows = (count + columns - 1) / columns;
    double const height = 2 * border + titleHeight + rowHeight * double(rows) - (rows != 0 ? cellGap : 0);

    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\""
        + coordinate(width) + "\" height=\"" + coordinate(height) + "\" viewBox=\"0 0 " + point(width, height)
        + "\" role=\"img\">\n<title>" + escapedMarkup(options.title) + "</title>\n<style>\n" + std::string(asset::pictureStyle)
        + "</style>\n";
    appendRect(svg, "paper", 0, 0, width, height);
    svg += "<g transform=\"translate(" + point(border, border) + ")\">\n";
    // Its letters are twice as wide as the others'.
    for (std::string const& line : wrapped(options.title, (width - 2 * border - 340) / 2, 1))
        appendText(svg, 0, 14, "headline", line);
    std::string summary = counted(curves.size(), "track") + " against " + options.axis;
    if (count < curves.size())
        summary += "; the first " + std::to_string(count) + " are drawn";
    if (!options.shown.empty())
        summary += ". " + options.shown;
    for (std::string const& text : wrapped(summary, width - 2 * border, 1))
        appendText(svg, 0, 34, "fact", text);
    double line = 34 + textLine;
    if (count == 0)
        appendText(svg, 0, line += textLine, "name", "Nothing moves.");
    for (std::size_t i = 0; i < waiting; ++i)
        for (std::string const& text : wrapped(options.waiting[i], width - 2 * border, 1))
            appendText(svg, 0, line += textLine, "fact", text);
    svg += "<g transform=\"translate(" + point(width - 2 * border - 320, 0) + ")\">";
    appendMarks(svg);
    svg += "</g></g>\n";
    out << svg;

    Span const shared = axisOf(curves);
    for (std::size_t i = 0; i < count; ++i) {
        double const x = border + double(i % columns) * (cell + cellGap);
        std::size_t const row = i / columns;
        double const y = border + titleHeight + double(row) * rowHeight;
        svg = "<g class=\"track\" transform=\"translate(" + point(x, y) + ")\">\n";
        appendCell(svg, curves[i],
                   drawingOf(curves[i], options, options.sharedAxis ? shared : axisOf(curves[i]), std::size_t(cell)), cell,
                   options.axis);
        out << svg << "</g>\n";
    }
    out << "</svg>\n";
}

} // namespace Zelvan::play
