#include "player/drawing/Page.h"
#include "player/drawing/PictureAssets.h"
#include "player/scene/Escape.h"

#include <algorithm>
#include <ostream>

namespace Zelvan::play {

namespace {

// What a browser still handles well: samples of all tracks together, samples of one, tracks.
constexpr std::size_t mostSamples = 1'000'000, mostSamplesPerTrack = 20'000, mostTracks = drawnCurves;
// Of single elements of blocks: numbers of one track, of all.
constexpr std::size_t mostElementNumbers = 150'000, mostElementNumbersOfAll = 500'000;

constexpr char const* engineNotice = R"(<!--
X3DOM, the script below, may be used under the MIT licence:

Copyright (c) 2009 X3DOM, Fraunhofer IGD

Permission is hereby granted, free of charge, to any person obtaining a copy of this software and associated
documentation files (the "Software"), to deal in the Software without restriction, including without limitation the
rights to use, copy, modify, merge, publish, distribute, sublicense, and/or sell copies of the Software, and to permit
persons to whom the Software is furnished to do so, subject to the following conditions:

The above copyright notice and this permission notice shall be included in all copies or substantial portions of the
Software.

THE SOFTWARE IS PROVIDED "AS IS", WITHOUT WARRANTY OF ANY KIND, EXPRESS OR IMPLIED, INCLUDING BUT NOT LIMITED TO THE
WARRANTIES OF MERCHANTABILITY, FITNESS FOR A PARTICULAR PURPOSE AND NONINFRINGEMENT. IN NO EVENT SHALL THE AUTHORS OR
COPYRIGHT HOLDERS BE LIABLE FOR ANY CLAIM, DAMAGES OR OTHER LIABILITY, WHETHER IN AN ACTION OF CONTRACT, TORT OR
OTHERWISE, ARISING FROM, OUT OF OR IN CONNECTION WITH THE SOFTWARE OR THE USE OR OTHER DEALINGS IN THE SOFTWARE.
-->
)";

/// Names and sentences of the scene's: whatever they hold, they stay text and do not turn what follows.
std::string own(std::string const& text)
{
    return "<bdi>" + escapedMarkup(text) + "</bdi>";
}

void appendContext(std::string& html, Curve const& curve)
{
    auto const row = [&](char const* what, std::vector<std::string> const& texts, char const* classes = "") {
        if (texts.empty())
            return;
        html += "<div" + std::string(classes) + "><dt>" + what + "</dt>";
        for (std::string const& text : texts)
            html += "<dd>" + own(text) + "</dd>";
        html += "</div>\n";
    };
    std::vector<std::string> place;
    if (!curve.place.empty())
        place.push_back(curve.place);
    if (place.empty() && curve.drivers.empty() && curve.moves.empty())
        return;
    html += "<dl class=\"context\">\n";
    row("driven by", curve.drivers, " class=\"chain\"");
    row("moves", curve.moves);
    row("stands in", place);
    html += "</dl>\n";
}

void appendRemarks(std::string& html, std::vector<CurveRemark> const& remarks)
{
    if (remarks.empty())
        return;
    html += "<ul class=\"remarks\">\n";
    for (CurveRemark const& remark : remarks)
        html += "<li class=\"" + escapedMarkup(remark.severity) + "\"><b>" + escapedMarkup(remark.severity) + " <code>"
            + escapedMarkup(remark.code) + "</code></b> " + own(remark.message)
            + (remark.advice.empty() ? "" : " <i>" + escapedMarkup(remark.advice) + "</i>") + "</li>\n";
    html += "</ul>\n";
}

void appendTrack(std::string& html, Curve const& curve, Drawing const& drawing, Elements const& elements,
                 std::vector<double> const& sharedTimes, std::size_t number, std::string const& axis)
{
    constexpr double stillWidth = 600, pathSize = 200;
    auto const drawn = std::count_if(drawing.panels.begin(), drawing.panels.end(), [](Panel const& p) { return !p.flat; });
    double const height = drawn < 2 ? 190 : 60 + 68 * double(drawn);
    Shape const shape = shapeOf(curve.track->type, drawing, elements);
    std::string const summary = escapedMarkup("Curves: " + joined(drawing.facts, ", ")), id = std::to_string(number);
    html += "<section class=\"track\" id=\"track" + id + "\" aria-labelledby=\"name" + id + "\">\n<h2 id=\"name" + id + "\">"
        + own(drawing.name) + "</h2>\n<p class=\"type\">" + own(drawing.type) + "</p>\n";
    appendContext(html, curve);
    html += "<ul class=\"facts\">";
    for (std::string const& fact : drawing.facts)
        html += "<li>" + escapedMarkup(fact) + "</li>";
    html += "</ul>\n";
    appendRemarks(html, curve.remarks);
    html += "<div class=\"picture\">\n<div class=\"curves\">\n<svg class=\"still\" viewBox=\"0 0 600 "
        + std::to_string(int(height)) + "\" role=\"img\" aria-label=\"" + summary + "\">\n";
    appendPanels(html, drawing, {stillWidth, height}, axis);
    html += "</svg>\n<div class=\"live\" tabindex=\"0\" role=\"group\" aria-label=\"" + summary
        + "\"></div>\n</div>\n<div class=\"side\">\n<dl class=\"values\"></dl>\n<div class=\"element\" hidden></div>\n";
    if (shape != Shape::none)
        html += "<div class=\"turntable\"></div>\n";
    if (drawing.path.kind != PlanePath::absent) {
        html += "<svg class=\"path\" viewBox=\"-3 -3 206 248\" role=\"img\" aria-label=\"Path: "
            + escapedMarkup(joined(drawing.path.notes, ", ")) + "\">\n";
        appendPath(html, drawing, pathSize);
        html += "<path class=\"headDot\" d=\"M0 -7L7 0L0 7L-7 0z\"/></svg>\n";
    }
    html += "</div>\n</div>\n<script type=\"application/json\">";
    appendPageData(html, drawing, sharedTimes, elements, shape, pathSize);
    html += "</script>\n</section>\n";
}

/// The play head and the window over the axis, for all tracks.
void appendPlayer(std::string& html, Span axis, double frame)
{
    html += "<div id=\"player\" role=\"group\" aria-label=\"play head\" hidden>\n"
            "<button type=\"button\" id=\"play\">Play</button>\n"
            "<button type=\"button\" id=\"back\" aria-label=\"one frame back\">&#8249;</button>\n"
            "<button type=\"button\" id=\"forward\" aria-label=\"one frame on\">&#8250;</button>\n"
            "<input type=\"range\" id=\"head\" aria-label=\"play head\" min=\""
        + shortNumber(axis.low) + "\" max=\"" + shortNumber(axis.high) + "\" step=\"" + shortNumber(frame) + "\" value=\""
        + shortNumber(axis.low)
        + "\">\n"
          "<output id=\"now\" for=\"head\"></output>\n"
          "<label>speed <select id=\"speed\">";
    for (char const* const speed : {"0.1", "0.25", "0.5", "1", "2", "4"})
        html += "<option" + std::string(speed == std::string_view("1") ? " selected" : "") + '>' + speed + "</option>";
    html += "</select></label>\n<label><input type=\"checkbox\" id=\"loop\" checked> loop</label>\n"
            "<span class=\"zoom\">zoom <button type=\"button\" id=\"wider\" aria-label=\"zoom out\">&#8722;</button>\n"
            "<button type=\"button\" id=\"closer\" aria-label=\"zoom in\">+</button>\n"
            "<button type=\"button\" id=\"whole\" disabled>whole curve</button>\n"
            "<label><input type=\"checkbox\" id=\"together\" checked> all tracks</label></span>\n"
            "<p id=\"announced\" role=\"status\"></p>\n</div>\n";
}

void appendHeader(std::string& html, std::vector<Curve> const& curves, std::size_t count, PictureOptions const& options)
{
    std::string summary = counted(curves.size(), "track") + " against " + escapedMarkup(options.axis) + '.';
    if (count < curves.size())
        summary += " The first " + std::to_string(count) + " are drawn.";
    if (!options.shown.empty())
        summary += ' ' + own(options.shown);
    html += "<header>\n<h1>" + own(options.title) + "</h1>\n<p>" + summary
        + "</p>\n"
          "<svg class=\"marks\" viewBox=\"0 0 350 16\" role=\"img\" aria-label=\"marks: key, loop seam, start and end "
          "of a path, finding\">";
    appendMarks(html);
    // The charts take their colours from these.
    html += "</svg>\n<svg id=\"palette\" aria-hidden=\"true\">";
    for (char const* const name : {"c0", "c1", "c2", "c3", "key", "seam", "found", "head", "grid", "frame"})
        html += "<path class=\"" + std::string(name) + "\"/>";
    html += "</svg>\n<details class=\"help\"><summary>mouse, touch and keys</summary>Press or drag on a curve to move the "
            "play head; Space plays, the arrow keys step by a frame (with Shift by ten), Home and End go to the ends. "
            "Shift and drag, two fingers, Ctrl and wheel, + and - zoom; 0 or a double-click shows all of the curve. "
            "Views in space turn by drag and by arrow keys.</details>\n";
    if (curves.empty())
        html += "<p class=\"nothing\">Nothing moves.</p>\n";
    if (!options.waiting.empty()) {
        html += "<ul class=\"waiting\">\n";
        for (std::string const& sensor : options.waiting)
            html += "<li>" + own(sensor) + "</li>\n";
        html += "</ul>\n";
    }
    html += "</header>\n";
}

void appendContents(std::string& html, std::vector<Curve> const& curves, std::size_t count)
{
    if (count < 2)
        return;
    html += "<nav aria-label=\"Tracks\">\n<label class=\"help\">Tracks <input type=\"search\" id=\"filter\" "
            "placeholder=\"filter by name\"></label>\n<ol tabindex=\"0\" aria-label=\"list of tracks\">\n";
    for (std::size_t i = 0; i < count; ++i) {
        Track const& track = *curves[i].track;
        html += "<li><a href=\"#track" + std::to_string(i + 1) + "\">" + own(track.name()) + "</a> <span>"
            + escapedMarkup(track.node->typeName) + "</span></li>\n";
    }
    html += "</ol>\n</nav>\n";
}

} // namespace

void writeHtml(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options)
{
    std::size_t const count = std::min(curves.size(), mostTracks);
    std::size_t const samples = std::min(mostSamplesPerTrack, mostSamples / std::max<std::size_t>(count, 1));
    std::size_t const blocks = std::size_t(
        std::count_if(curves.begin(), curves.begin() + long(count), [](Curve const& c) { return isList(c.track->type); }));
    Span const axis = axisOf(curves);
    std::string const title = escapedMarkup(options.title);

    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" << title
        << "</title>\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n"
           // Nothing is loaded from anywhere, whatever the scene's names hold.
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; script-src 'sha256-"
        << asset::chartScriptHash << "' 'sha256-" << asset::pageScriptHash << "'"
        << (options.scene ? " 'sha256-" + std::string(asset::engineHash) + "'; connect-src data:; img-src data: blob:"
                          : "; img-src data:")
        << "\">\n<link rel=\"icon\" href=\"data:,\">\n<style>\n"
        << asset::chartStyle << '\n'
        << asset::pictureStyle << asset::pageStyle << "</style>\n</head>\n<body data-axis=\"" << escapedMarkup(options.axis);
    double const frame = options.frame > 0 ? options.frame : axis.width() / 100;
    // Fractions have no pace of their own: five seconds for all of them.
    std::string html = "\" data-frame=\"" + shortNumber(frame) + "\" data-per-second=\""
        + shortNumber(options.sharedAxis ? 1 : axis.width() / 5) + "\">\n";
    appendHeader(html, curves, count, options);
    appendPlayer(html, axis, frame);
    if (options.scene != nullptr)
        appendScene(html, *options.scene);
    appendContents(html, curves, count);
    out << html << "<main>\n";
    std::vector<double> sharedTimes; // of the first track, and so of most
    for (std::size_t i = 0; i < count; ++i) {
        html.clear();
        Drawing const drawing = drawingOf(curves[i], options, options.sharedAxis ? axis : axisOf(curves[i]), samples / 2);
        Elements const elements =
            elementsOf(Samples(*curves[i].track),
                       std::min(mostElementNumbers, mostElementNumbersOfAll / std::max<std::size_t>(blocks, 1)));
        if (i == 0) {
            sharedTimes = drawing.panels.empty() ? std::vector<double>() : drawing.panels.front().times;
            html += "<script type=\"application/json\" id=\"times\">";
            appendNumbers(html, sharedTimes, 17);
            html += "</script>\n";
        }
        appendTrack(html, curves[i], drawing, elements, sharedTimes, i + 1, options.axis);
        out << html;
    }
    out << "</main>\n<script>" << asset::chartScript << "</script>\n";
    if (options.scene != nullptr)
        out << engineNotice << "<script>" << options.scene->engine << "</script>\n";
    out << "<script>" << asset::pageScript << "</script>\n</body>\n</html>\n";
}

} // namespace Zelvan::play
