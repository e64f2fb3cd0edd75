#include "player/drawing/Page.h"
#include "player/scene/Escape.h"

#include <bit>
#include <cstdint>

namespace Zelvan::play {

namespace {

/// A float as the file has it; what has been derived from floats is no more precise than ten digits.
std::string number(double value, int digits)
{
    float const rounded = float(value);
    return !drawable(value) ? "null" : double(rounded) == value ? shortNumber(rounded) : roundNumber(value, digits);
}

constexpr char const* shapeNames[] = {"none", "path", "cloud", "outline", "turned"};

/// Only titles, units and component names become JSON strings: the scene's own names never do.
void appendPanelData(std::string& json, Panel const& panel, Panel const& first, std::vector<double> const& sharedTimes)
{
    json += (&panel == &first ? "" : ",") + ("\n{\"title\":" + jsonString(panel.title)) + ",\"unit\":" + jsonString(panel.unit)
        + ",\"scale\":";
    int const digits = panel.unit == "s" ? 17 : 10; // times are doubles
    appendNumbers(json, {panel.scale.low, panel.scale.high}, digits);
    if (panel.times == sharedTimes) {
        json += ",\"shared\":true";
    } else if (&panel == &first || panel.times != first.times) { // else the first one's
        json += ",\"times\":";
        appendNumbers(json, panel.times);
    }
    json += ",\"lines\":[";
    for (Line const& line : panel.lines) {
        json += (&line == &panel.lines.front() ? "" : ",") + ("{\"name\":" + jsonString(line.name))
            + ",\"colour\":" + std::to_string(line.colour) + ",\"values\":";
        appendNumbers(json, line.values, digits);
        if (!line.low.empty()) {
            json += ",\"low\":";
            appendNumbers(json, line.low);
            json += ",\"high\":";
            appendNumbers(json, line.high);
        }
        json += line.second ? ",\"second\":true}" : "}";
    }
    json += ']';
    if (panel.flat)
        json += ",\"flat\":true";
    if (panel.component >= 0)
        json += ",\"component\":" + std::to_string(panel.component);
    json += '}';
}

} // namespace

std::string packed(std::vector<float> const& numbers)
{
    std::string bytes;
    bytes.reserve(numbers.size() * 4);
    for (float const number : numbers)
        for (unsigned shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(std::bit_cast<std::uint32_t>(number) >> shift & 255);
    return base64(bytes);
}

void appendNumbers(std::string& json, std::vector<double> const& numbers, int digits)
{
    json += '[';
    for (std::size_t i = 0; i < numbers.size(); ++i)
        json += (i == 0 ? "" : ",") + number(numbers[i], digits);
    json += ']';
}

void appendPageData(std::string& json, Drawing const& drawing, std::vector<double> const& sharedTimes, Elements const& elements,
                    Shape shape, double pathSize)
{
    json += "{\"axis\":";
    appendNumbers(json, {drawing.axis.low, drawing.axis.high});
    json += ",\"keys\":";
    appendNumbers(json, drawing.keys);
    json += ",\"seams\":";
    appendNumbers(json, drawing.seams);
    json += ",\"found\":";
    appendNumbers(json, drawing.found);
    json += ",\"shape\":\"" + std::string(shapeNames[unsigned(shape)]) + '"';
    json += ",\"panels\":[";
    for (Panel const& panel : drawing.panels)
        appendPanelData(json, panel, drawing.panels.front(), sharedTimes);
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
            + "],\"signs\":";
        appendNumbers(json, {drawing.path.signs[0], drawing.path.signs[1]});
        json += ",\"plot\":";
        appendNumbers(json, {plot.size, plot.unit, plot.middle[0], plot.middle[1]});
        json += '}';
    }
    if (elements.count != 0) {
        json += ",\"elements\":{\"count\":" + std::to_string(elements.count) + ",\"stride\":" + std::to_string(elements.stride)
            + ",\"width\":" + std::to_string(elements.width) + ",\"times\":";
        appendNumbers(json, elements.times);
        json += ",\"numbers\":\"";
        json += packed(elements.numbers);
        json += "\"}";
    }
    json += "}\n";
}

} // namespace Zelvan::play
