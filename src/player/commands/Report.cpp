#include "player/commands/Report.h"

#include "player/commands/Tables.h"
#include "player/playing/NotRun.h"
#include "player/scene/Utf8.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>
#include <sstream>

namespace Zelvan::play {

namespace {

std::string counted(std::size_t count, char const* one)
{
    return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

std::string between(Range const& range)
{
    if (!range.any)
        return "-";
    std::string const low = roundNumber(range.low), high = roundNumber(range.high);
    return low == high ? low : low + " .. " + high;
}

std::string vectorText(Track const& track, std::size_t first, std::size_t count, double Range::*end)
{
    std::string text = "(";
    for (std::size_t c = first; c < first + count; ++c)
        text += (c == first ? "" : " ") + (track.ranges[c].any ? roundNumber(track.ranges[c].*end, 4) : "-");
    return text + ')';
}

std::string vectorRange(Track const& track, std::size_t first, std::size_t count)
{
    std::string const low = vectorText(track, first, count, &Range::low), high = vectorText(track, first, count, &Range::high);
    return low == high ? low : low + " .. " + high;
}

/// How far something turns: on past half and whole turns, and about what, where that stays.
std::string turnText(Track const& track)
{
    Range const& degrees = track.derived[0];
    if (!degrees.any)
        return "-";
    std::string const text = degrees.high > degrees.low ? "turns " + roundNumber(degrees.high - degrees.low) + " deg"
                                                        : "turned " + roundNumber(degrees.low) + " deg";
    std::string axis;
    for (std::size_t c = 1; c < 4; ++c) {
        if (!track.derived[c].any || track.derived[c].high - track.derived[c].low > 1e-3)
            return text;
        axis += (c == 1 ? "" : " ") + roundNumber(std::round(track.derived[c].high * 1e3) / 1e3 + 0., 3);
    }
    return text + " about (" + axis + ')';
}

/// "x", "red", "angle"; of a block the first element's.
std::string componentName(Track const& track, std::size_t component)
{
    if (track.type == SFRotationType)
        return "angle";
    if (track.type == SFMatrix4fType && component >= 12 && component < 15)
        return std::string(1, "xyz"[component - 12]);
    std::string const element = isList(track.type) && track.largestBlock > 1 ? "[0]" : "";
    if (track.ranges.size() == 1)
        return element;
    return element + (element.empty() ? "" : ".") + componentsOf(track.type).names[component];
}

std::size_t keyCount(SceneNode const& node)
{
    Field const* const key = fieldOf(node, "key");
    return key ? key->size() : 0;
}

void writeMore(std::ostream& out, std::size_t count, char const* what)
{
    if (count > shownRows)
        out << "... and " << counted(count - shownRows, what) << " more\n";
}

} // namespace

std::string firstOf(std::vector<std::string> const& lines, std::size_t most, char const* what)
{
    std::string text;
    for (std::size_t i = 0; i < std::min(lines.size(), most); ++i)
        text += printable(lines[i]) + '\n';
    if (lines.size() > most)
        text += "... and " + counted(lines.size() - most, what) + " more\n";
    return text;
}

std::string curveOf(Track const& track)
{
    std::size_t const width = track.ranges.size();
    if (track.outline.empty() || width == 0 || track.events == 0)
        return "";
    bool const rotation = track.type == SFRotationType || track.type == MFRotationType;
    // The component that tells most: the angle of a rotation, else the one that changes most along the curve.
    std::vector<float> telling;
    std::size_t component = 0;
    double widest = -1;
    for (std::size_t c = rotation ? 3 : 0; c < width; ++c) {
        std::vector<float> values;
        Range range;
        for (std::size_t i = c; i < track.outline.size(); i += width) {
            values.push_back(track.outline[i]);
            range.add(track.outline[i]);
        }
        if (double const change = range.any ? range.high - range.low : 0; change > widest) {
            widest = change;
            component = c;
            telling = std::move(values);
        }
    }
    std::string const name = componentName(track, component);
    return name + (name.empty() ? "" : " ") + sparkline(telling);
}

namespace {

// What stands still, and why: a line each.
void writeStandstill(std::ostream& out, Scene const& scene, Clock const& clock, std::size_t most)
{
    auto const write = [&](std::vector<std::string> const& lines, char const* what) { out << firstOf(lines, most, what); };
    std::vector<std::string> lines;
    for (Clock::Sensor const& sensor : clock.sensors())
        if (std::string const waits = clock.waitsFor(sensor); !waits.empty())
            lines.push_back("TimeSensor " + sensor.node->name + ' ' + waits);
    write(lines, "TimeSensor");
    lines.clear();
    for (NotRun const& entry : nodesNotRun(scene)) {
        std::string const targets = entry.targetText();
        lines.push_back(entry.node->typeName + ' ' + entry.node->name + " is not run (" + scene.place(*entry.node).text()
                        + "): " + (targets.empty() ? "what it does is not seen" : targets + " would get events from it"));
    }
    write(lines, "node");
}

} // namespace

std::string driverOf(Scene const& scene, SceneNode const& node)
{
    Field const* const fraction = fieldOf(node, "set_fraction");
    std::string text;
    for (Route const* route = fraction ? fraction->_routesIn : nullptr; route != nullptr; route = route->nextIn()) {
        SceneNode const* const from = scene.sceneNode(*route->from()._node);
        if (from == nullptr)
            continue;
        text += (text.empty() ? "" : ", ") + printable(from->name);
        // A node between the sensor and this one says what it does to the fraction.
        text += from->known && !isInterpolator(*from) ? "" : " (" + from->typeName + ')';
    }
    return text.empty() ? "nothing" : text;
}

std::string rangeText(Track const& track)
{
    if (track.events == 0)
        return "no value";
    if (!track.detailed)
        return "";
    std::string const block = isList(track.type) ? std::to_string(track.largestBlock) + " x " : "";
    switch (track.type) {
    case SFColorType: return vectorRange(track, 0, 3) + (track.derived[0].any ? " hue " + between(track.derived[0]) : " grey");
    case SFRotationType: return turnText(track);
    case SFMatrix4fType:
        return "at " + vectorRange(track, 12, 3) + ' ' + turnText(track) + " scale " + between(track.derived[4]);
    case SFStringType: return "text";
    default: break;
    }
    std::size_t const width = track.ranges.size();
    return block + (width == 1 ? between(track.ranges[0]) : vectorRange(track, 0, width));
}

void writeReport(std::ostream& out, Scene const& scene, Recorder const& recorder, Clock const* clock, bool styled,
                 std::size_t width, std::string const& shown)
{
    auto const& tracks = recorder.tracks();
    auto const count = [&](bool leaves) {
        return static_cast<std::size_t>(
            std::count_if(tracks.begin(), tracks.end(), [&](Track const& t) { return t.leaves == leaves; }));
    };
    std::size_t const interpolators = count(true);
    auto const routes = static_cast<std::size_t>(std::ranges::count_if(scene.routes, std::not_fn(&SceneRoute::refused)));
    out << printable(scene.fileNames.front()) << ": " << counted(interpolators, "interpolator") << ", ";
    if (clock != nullptr)
        out << counted(clock->sensors().size(), "TimeSensor") << ", ";
    out << counted(routes, "route") << ", " << counted(recorder.events(), "event") << "\n";
    if (!shown.empty())
        out << printable(shown) << '\n';

    // Without a clock nothing drives anything.
    std::vector<std::string> headings = {"Interpolator", "Type", ">Keys", ">Events", "Values", "Curve"};
    if (clock != nullptr)
        headings.insert(headings.begin() + 2, "Driven by");
    Table table(headings);
    table.leastUseful({"Keys", "Events", "Type", "Driven by", "Curve"});
    std::size_t rows = 0;
    for (Track const& track : tracks)
        if (track.leaves && rows++ < shownRows) {
            std::vector<std::string> cells = {
                printable(track.node->name),  track.node->typeName, std::to_string(keyCount(*track.node)),
                std::to_string(track.events), rangeText(track),     curveOf(track)};
            if (clock != nullptr)
                cells.insert(cells.begin() + 2, driverOf(scene, *track.node));
            table.row(std::move(cells));
        }
    if (!table.empty()) {
        out << '\n';
        table.write(out, styled, width);
        writeMore(out, interpolators, "interpolator");
    }

    Table reached({"Reaches", "Type", "Node", ">Events", "Values"});
    reached.leastUseful({"Type", "Events", "Node"});
    rows = 0;
    for (Track const& track : tracks)
        if (!track.leaves && track.events > 0 && rows++ < shownRows)
            reached.row({printable(track.name()), dataTypeName(track.type), printable(track.node->typeName),
                         std::to_string(track.events), rangeText(track)});
    if (!reached.empty()) {
        out << '\n';
        reached.write(out, styled, width);
        writeMore(out, rows, "field");
    }

    if (clock == nullptr)
        return;
    std::ostringstream still;
    still.exceptions(std::ios::badbit); // lack of memory is not silence
    writeStandstill(still, scene, *clock, shownRows);
    if (still.tellp() > 0)
        out << '\n' << still.str();
}

void writeWhyStill(std::ostream& out, Scene const& scene, Recorder const& recorder, Clock const& clock)
{
    constexpr std::size_t most = 10;
    if (recorder.events() > 0)
        return;
    bool const any = std::ranges::any_of(scene.sceneNodes, isInterpolator);
    out << printable(scene.fileNames.front()) << ": nothing moves"
        << (clock.sensors().empty() ? ": there is no TimeSensor"
                : any               ? ""
                                    : ": there is no interpolator")
        << '\n';
    writeStandstill(out, scene, clock, most);
}

} // namespace Zelvan::play
