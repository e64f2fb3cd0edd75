#include "player/drawing/Drawing.h"

#include "player/drawing/Stages.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

namespace {

void add(Range& range, std::vector<double> const& places)
{
    for (double const place : places)
        if (drawable(place))
            range.add(place);
}

Span spanOf(Range const& range)
{
    if (!range.any)
        return {};
    // Something to divide by, for a single sample too.
    double const margin = range.high > range.low ? 0 : std::max(0.5, std::abs(range.low) * 1e-6);
    return {range.low - margin, range.high + margin};
}

/// What is marked within a stretch of the axis, rising, each once.
std::vector<double> marksWithin(Span axis, std::vector<double> places)
{
    std::erase_if(places, [&](double place) { return !(place >= axis.low && place <= axis.high); });
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

} // namespace

bool drawable(double value)
{
    // Differences of larger numbers overflow.
    return std::abs(value) < 1e300;
}

std::string counted(std::size_t count, char const* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string joined(std::vector<std::string> const& texts, std::string_view between)
{
    std::string text;
    for (std::string const& one : texts) {
        text += text.empty() ? "" : between;
        text += one;
    }
    return text;
}

Span axisOf(Curve const& curve)
{
    Range range;
    add(range, curve.track->times);
    return spanOf(range);
}

Span axisOf(std::vector<Curve> const& curves)
{
    Range range;
    for (Curve const& curve : curves)
        add(range, curve.track->times);
    return spanOf(range);
}

Drawing drawingOf(Curve const& curve, PictureOptions const& options, Span axis, std::size_t columns)
{
    Track const& track = *curve.track;
    Samples const samples(track);
    Drawing drawing;
    drawing.name = track.name();
    drawing.type = track.node->typeName + ", " + dataTypeName(track.type);
    drawing.axis = axis;
    drawing.keys = marksWithin(axis, curve.keys);
    drawing.seams = marksWithin(axis, curve.seams);
    for (CurveRemark const& remark : curve.remarks)
        drawing.found.insert(drawing.found.end(), remark.places.begin(), remark.places.end());
    drawing.found = marksWithin(axis, std::move(drawing.found));
    drawing.samples = samples.size();
    drawing.facts.push_back(counted(track.events, "event"));
    if (samples.width() == 0) {
        drawing.facts.push_back("text has no curve");
    } else if (samples.size() != 0) {
        drawing.panels = panelsOf(samples, drawing.seams, options.axis, drawing.facts);
        drawing.path = pathOf(samples, drawing.panels[0].lines, drawing.keys, drawing.seams);
        drawing.strip = stripOf(samples, axis, columns, drawing.facts);
    }
    if (curve.second != nullptr && !drawing.panels.empty()) {
        std::vector<std::string> facts; // those of the first are shown
        std::vector<Panel> const over = panelsOf(Samples(*curve.second), {}, options.axis, facts);
        for (std::size_t i = 0; i < std::min(over.size(), drawing.panels.size()); ++i)
            layOver(drawing.panels[i], over[i]);
        drawing.facts.push_back("dashed: " + curve.secondName);
    }
    if (!drawing.keys.empty())
        drawing.facts.push_back(counted(drawing.keys.size(), "key mark"));
    if (!drawing.seams.empty())
        drawing.facts.push_back(counted(drawing.seams.size(), "loop seam"));
    for (Panel& panel : drawing.panels)
        drawing.thinned = thin(panel, axis, columns) || drawing.thinned;
    if (drawing.thinned)
        drawing.facts.push_back("thinned: least and greatest of " + std::to_string(columns) + " columns");
    return drawing;
}

} // namespace Zelvan::play
