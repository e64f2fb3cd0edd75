#include "player/drawing/Drawing.h"
#include "player/drawing/PictureAssets.h"
#include "player/scene/Escape.h"

#include <algorithm>
#include <ostream>

namespace Zelvan::play {

namespace {

// What a browser still handles well: samples of all tracks together, samples of one, tracks.
constexpr std::size_t mostSamples = 1'000'000, mostSamplesPerTrack = 20'000, mostTracks = drawnCurves;

/// A float as the file has it; what has been derived from floats is no more precise than ten digits.
std::string number(double value, int digits)
{
    float const rounded = float(value);
    return !drawable(value) ? "null" : double(rounded) == value ? shortNumber(rounded) : roundNumber(value, digits);
}

void appendNumbers(std::string& json, std::vector<double> const& numbers, int digits = 10)
{
    json += '[';
    for (std::size_t i = 0; i < numbers.size(); ++i)
        json += (i == 0 ? "" : ",") + number(numbers[i], digits);
    json += ']';
}

/// Only titles, units and component names become JSON; the scene's own names never do.
std::string quoted(std::string const& text)
{
    std::string result = "\"";
    for (char const c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' || c == '<' || c == '&')
            result += std::string("\\u00") + "0123456789abcdef"[c >> 4] + "0123456789abcdef"[c & 15];
        else
            result += c;
    return result + '"';
}

void appendData(std::string& json, Drawing const& drawing, double pathSize)
{
    json += "{\"axis\":";
    appendNumbers(json, {drawing.axis.low, drawing.axis.high});
    json += ",\"keys\":";
    appendNumbers(json, drawing.keys);
    json += ",\"seams\":";
    appendNumbers(json, drawing.seams);
    json += ",\"panels\":[";
    for (Panel const& panel : drawing.panels) {
        Panel const& first = drawing.panels.front();
        json += (&panel == &first ? "" : ",") + ("\n{\"title\":" + quoted(panel.title)) + ",\"unit\":"
                + quoted(panel.unit) + ",\"scale\":";
        int const digits = panel.unit == "s" ? 17 : 10; // times are doubles
        appendNumbers(json, {panel.scale.low, panel.scale.high}, digits);
        if (&panel == &first || panel.times != first.times) { // else the first one's
            json += ",\"times\":";
            appendNumbers(json, panel.times);
        }
        json += ",\"lines\":[";
        for (Line const& line : panel.lines) {
            json += (&line == &panel.lines.front() ? "" : ",") + ("{\"name\":" + quoted(line.name)) + ",\"colour\":"
                    + std::to_string(line.colour) + ",\"values\":";
            appendNumbers(json, line.values, digits);
            if (!line.low.empty()) {
                json += ",\"low\":";
                appendNumbers(json, line.low);
                json += ",\"high\":";
                appendNumbers(json, line.high);
            }
            json += '}';
        }
        json += "]}";
    }
    json += ']';
    if (!drawing.strip.rows.empty()) {
        json += ",\"strip\":{\"times\":";
        appendNumbers(json, drawing.strip.times);
        json += ",\"rows\":[";
        for (std::vector<std::uint32_t> const& row : drawing.strip.rows) {
            std::vector<double> colours;
            for (std::uint32_t const colour : row)
                colours.push_back(colour == Strip::none ? -1. : double(colour));
            json += &row == &drawing.strip.rows.front() ? "" : ",";
            appendNumbers(json, colours);
        }
        json += "]}";
    }
    if (drawing.path.kind != PlanePath::absent) {
        PathPlot const plot(drawing.path, pathSize);
        json += ",\"path\":{\"wheel\":" + std::string(drawing.path.kind == PlanePath::hueWheel ? "true" : "false")
                + ",\"axes\":[" + std::to_string(drawing.path.axes[0]) + ',' + std::to_string(drawing.path.axes[1])
                + "],\"plot\":";
        appendNumbers(json, {plot.size, plot.unit, plot.middle[0], plot.middle[1]});
        json += '}';
    }
    json += "}\n";
}

void appendTrack(std::string& html, Drawing const& drawing, std::size_t number, std::string const& axis)
{
    constexpr double stillWidth = 600, pathSize = 200;
    double const height = drawing.panels.size() < 2 ? 190 : 60 + 68 * double(drawing.panels.size());
    html += "<section class=\"track\" id=\"track" + std::to_string(number) + "\">\n<h2><bdi>" + escapedMarkup(drawing.name)
            + "</bdi></h2>\n<p class=\"type\"><bdi>" + escapedMarkup(drawing.type) + "</bdi></p>\n<ul class=\"facts\">";
    for (std::string const& fact : drawing.facts)
        html += "<li>" + escapedMarkup(fact) + "</li>";
    html += "</ul>\n<div class=\"picture\">\n<div class=\"curves\">\n<svg class=\"still\" viewBox=\"0 0 600 "
            + std::to_string(int(height)) + "\" role=\"img\" aria-label=\"curves\">\n";
    appendPanels(html, drawing, {stillWidth, height}, axis);
    html += "</svg>\n<div class=\"live\"></div>\n</div>\n";
    if (drawing.path.kind != PlanePath::absent) {
        html += "<svg class=\"path\" viewBox=\"-3 -3 206 248\" role=\"img\" aria-label=\"path\">\n";
        appendPath(html, drawing, pathSize);
        html += "</svg>\n";
    }
    html += "</div>\n<script type=\"application/json\">";
    appendData(html, drawing, pathSize);
    html += "</script>\n</section>\n";
}

} // namespace

void writeHtml(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options)
{
    std::size_t const count = std::min(curves.size(), mostTracks);
    std::size_t const samples = std::min(mostSamplesPerTrack, mostSamples / std::max<std::size_t>(count, 1));
    std::string const title = escapedMarkup(options.title), axis = escapedMarkup(options.axis);

    std::string summary = counted(curves.size(), "track") + " against " + axis + '.';
    if (count < curves.size())
        summary += " The first " + std::to_string(count) + " are drawn.";
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" << title
        << "</title>\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n"
           // Nothing is loaded from anywhere, whatever the scene's names hold.
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
           "style-src 'unsafe-inline'; script-src 'unsafe-inline'\">\n<link rel=\"icon\" href=\"data:,\">\n<style>\n"
        << asset::chartStyle << '\n' << asset::pictureStyle << asset::pageStyle
        << "</style>\n</head>\n<body data-axis=\"" << axis << "\">\n<header>\n<h1><bdi>" << title << "</bdi></h1>\n<p>"
        << summary << "</p>\n";
    std::string html = "<svg class=\"marks\" viewBox=\"0 0 260 16\" role=\"img\" aria-label=\"marks\">";
    appendMarks(html);
    // The charts take their colours from these.
    html += "</svg>\n<svg id=\"palette\" aria-hidden=\"true\">";
    for (char const* const name : {"c0", "c1", "c2", "c3", "key", "seam", "grid", "frame"})
        html += "<path class=\"" + std::string(name) + "\"/>";
    html += "</svg>\n<p class=\"help\">Drag to zoom, Shift and drag to move, double-click for the whole curve; "
            "move over a curve, or use the arrow keys, to read values.</p>\n";
    if (options.sharedAxis && count > 1)
        html += "<p class=\"help\"><label><input type=\"checkbox\" id=\"together\"> zoom all tracks together</label>"
                "</p>\n";
    out << html << "</header>\n";

    if (count > 1) {
        html = "<nav aria-label=\"Tracks\">\n<label class=\"help\">Tracks <input type=\"search\" id=\"filter\" "
               "placeholder=\"filter by name\"></label>\n<ol>\n";
        for (std::size_t i = 0; i < count; ++i) {
            Track const& track = *curves[i].track;
            html += "<li><a href=\"#track" + std::to_string(i + 1) + "\"><bdi>" + escapedMarkup(track.name())
                    + "</bdi></a> <span>" + escapedMarkup(track.node->typeName) + "</span></li>\n";
        }
        out << html << "</ol>\n</nav>\n";
    }

    out << "<main>\n";
    Span const shared = axisOf(curves);
    for (std::size_t i = 0; i < count; ++i) {
        html.clear();
        appendTrack(html, drawingOf(curves[i], options, options.sharedAxis ? shared : axisOf(curves[i]), samples / 2),
                    i + 1, options.axis);
        out << html;
    }
    out << "</main>\n<script>\n/*!\nThe charting library below, with its copyright notice:\n\n" << asset::chartLicence
        << "*/\n" << asset::chartScript << "\n</script>\n<script>\n" << asset::pageScript
        << "</script>\n</body>\n</html>\n";
}

} // namespace Zelvan::play
