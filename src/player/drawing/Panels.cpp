#include "player/drawing/Stages.h"

#include "player/playing/Derived.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <optional>

namespace Zelvan::play {

namespace {

/// Below this saturation a colour is a grey, and its hue is rounding noise.
constexpr double greyest = 1e-3;

void add(Range& range, std::vector<double> const& values)
{
    for (double const value : values)
        if (drawable(value))
            range.add(value);
}

struct PanelPlan {
    std::string title, unit;
    std::vector<std::string> names;
    unsigned colour = 0;              ///< of the first line
    std::optional<Span> atLeast = {}; ///< what the scale holds in any case
};

std::vector<PanelPlan> plansOf(NodePartDataType type, bool block)
{
    switch (kindOf(type)) {
    case Kind::colour:
        if (!block)
            return {{"colour", "", {"red", "green", "blue"}, 0, Span{0, 1}}, {"hue", "°", {"hue"}, 3, Span{0, 360}}};
        break;
    case Kind::rotation: return {{"axis", "", {"x", "y", "z"}, 0, Span{-1, 1}}, {"angle", "°", {"angle"}, 3}};
    case Kind::matrix:
        return {{"translation", "", {"x", "y", "z"}},
                {"rotation axis", "", {"x", "y", "z"}, 0, Span{-1, 1}},
                {"rotation angle", "°", {"angle"}, 3},
                {"scale factors", "", {"x", "y", "z"}}};
    case Kind::numbers: break;
    }
    Components const components = componentsOf(type);
    if (components.count == 0)
        return {};
    if (components.count == 1)
        return {{type == SFTimeType ? "time" : "value", type == SFTimeType ? "s" : "", {"value"}, 3}};
    std::vector<std::string> const names(components.names, components.names + components.count);
    if (!block)
        return {{isPosition(type) ? "position" : "value", "", names}};
    // Bands over each other cannot be told apart.
    std::vector<PanelPlan> plans;
    for (std::string const& name : names)
        plans.push_back({name,
                         "",
                         {name},
                         unsigned(plans.size()),
                         kindOf(type) == Kind::colour ? std::optional(Span{0, 1}) : std::nullopt});
    return plans;
}

void reserve(Line& line, std::size_t count, bool band)
{
    line.values.assign(count, gap);
    if (band) {
        line.low.assign(count, gap);
        line.high.assign(count, gap);
    }
}

/// One sample of a line from the values that its elements have; values that are not drawable leave a hole.
struct Gather {
    Range range;
    double sum = 0;
    std::size_t count = 0;
    void add(double value)
    {
        if (!drawable(value))
            return;
        range.add(value);
        sum += value;
        ++count;
    }
    void into(Line& line, std::size_t sample) const
    {
        if (count == 0)
            return;
        // The mean of equal numbers may round to a neighbour of them.
        line.values[sample] = std::clamp(sum / double(count), range.low, range.high);
        if (!line.low.empty()) {
            line.low[sample] = range.low;
            line.high[sample] = range.high;
        }
    }
};

/// A hue that runs from 350 to 10 degrees passes 0; it does not go back through all colours. What has turned once
/// round does not turn back where the next cycle begins.
void breakAtWraps(Panel& panel)
{
    if (panel.title != "hue" && (!panel.title.ends_with("angle") || !panel.lines[0].low.empty()))
        return;
    std::vector<double>& values = panel.lines[0].values;
    std::vector<double> times, broken;
    for (std::size_t s = 0; s < values.size(); ++s) {
        if (s != 0 && std::abs(values[s] - values[s - 1]) > 180) {
            times.push_back(std::midpoint(panel.times[s - 1], panel.times[s]));
            broken.push_back(gap);
        }
        times.push_back(panel.times[s]);
        broken.push_back(values[s]);
    }
    panel.times = std::move(times);
    values = std::move(broken);
}

/// The scale that shows all of a panel's values, and `atLeast`.
Span scaleOf(Panel const& panel, std::optional<Span> const& atLeast, bool doubles = false)
{
    Range range;
    for (Line const& line : panel.lines)
        if (Range const own = rangeOf(line); own.any) {
            range.add(own.low);
            range.add(own.high);
        }
    if (atLeast) {
        range.add(atLeast->low);
        range.add(atLeast->high);
    }
    double const size = std::max(std::abs(range.low), std::abs(range.high));
    double margin = (range.high - range.low) * 0.06;
    // The last digits of a float are no movement; times are doubles.
    if (range.high - range.low <= size * (doubles ? 1e-14 : 1e-5))
        margin = size < 1e-200 ? 1 : size * 0.25;
    return {range.low - margin, range.high + margin};
}

/// What the samples have that the curves do not show.
struct Odd {
    std::size_t holes = 0; ///< samples with numbers that cannot be drawn
    bool outside = false;  ///< colours outside of 0 to 1
    bool mirrored = false; ///< matrices that mirror
};

/// The quantities that the lines show, of one element. `turning` follows that element.
void quantities(Kind kind, double const* number, double* quantity, std::size_t count, Turning& turning, Odd& odd)
{
    switch (kind) {
    case Kind::numbers: std::copy(number, number + count, quantity); return;
    case Kind::colour: {
        std::copy(number, number + 3, quantity);
        odd.outside = odd.outside || !std::all_of(number, number + 3, [](double c) { return c >= 0 && c <= 1; });
        Hsv const hsv = hsvOf(number);
        quantity[3] = hsv.saturation > greyest ? hsv.hue : gap; // of a block no line shows it
        return;
    }
    case Kind::rotation: turning.next(UnitQuaternion::ofAxisAngle(number), quantity); return;
    case Kind::matrix: {
        MatrixParts const parts = partsOf(number);
        std::copy_n(parts.translation, 3, quantity);
        turning.next(parts.rotation, quantity + 3);
        std::copy_n(parts.factors, 3, quantity + 7);
        odd.mirrored = parts.mirrors || odd.mirrored;
    }
    }
}

void fill(Samples const& samples, std::vector<double> const& seams, std::vector<Line*> const& lines, Odd& odd)
{
    std::vector<Gather> gathers(lines.size());
    std::vector<Turning> turning(std::max<std::size_t>(samples.largestBlock(), 1));
    double quantity[10];
    for (std::size_t s = 0; s < samples.size(); ++s) {
        std::fill(gathers.begin(), gathers.end(), Gather());
        if (s != 0 && seamWithin(seams, samples.times()[s - 1], samples.times()[s]))
            std::for_each(turning.begin(), turning.end(), std::mem_fn(&Turning::restart));
        bool holes = false;
        for (std::size_t i = 0; i < samples.elements(s); ++i) {
            double const* const number = samples.element(s, i);
            holes = holes || !std::all_of(number, number + samples.width(), drawable);
            quantities(samples.kind(), number, quantity, lines.size(), turning[i], odd);
            for (std::size_t q = 0; q < lines.size(); ++q)
                gathers[q].add(quantity[q]);
        }
        odd.holes += holes;
        for (std::size_t q = 0; q < lines.size(); ++q)
            gathers[q].into(*lines[q], s);
    }
}

std::vector<Panel> plannedPanels(Samples const& samples, std::vector<double> const& seams, Odd& odd)
{
    std::vector<PanelPlan> const plans = plansOf(samples.type(), samples.block());
    std::vector<Panel> panels(plans.size());
    std::vector<Line*> lines;
    for (std::size_t p = 0; p < plans.size(); ++p) {
        panels[p] = {plans[p].title, plans[p].unit, samples.times(), {}, {}};
        // Of blocks every panel shows one of the numbers that an element has.
        panels[p].component =
            samples.block() && samples.kind() != Kind::rotation && samples.kind() != Kind::matrix ? int(p) : -1;
        for (unsigned i = 0; i < plans[p].names.size(); ++i)
            panels[p].lines.push_back({plans[p].names[i], plans[p].colour + i, {}, {}, {}});
        for (Line& line : panels[p].lines) {
            reserve(line, samples.size(), samples.block());
            lines.push_back(&line);
        }
    }
    fill(samples, seams, lines, odd);
    for (std::size_t p = 0; p < plans.size(); ++p)
        panels[p].scale = scaleOf(panels[p], plans[p].atLeast, samples.type() == SFTimeType);
    return panels;
}

/// How many elements a block has; a panel where that changes.
void addSizes(Samples const& samples, std::vector<Panel>& panels, std::vector<std::string>& facts)
{
    Panel panel{"elements", "", samples.times(), {{"count", 3, {}, {}, {}}}, {}};
    Range sizes;
    for (std::size_t s = 0; s < samples.size(); ++s) {
        panel.lines[0].values.push_back(double(samples.elements(s)));
        sizes.add(panel.lines[0].values.back());
    }
    std::string const most = counted(std::size_t(sizes.high), "element");
    facts.push_back(sizes.low == sizes.high ? most : roundNumber(sizes.low) + " … " + most);
    if (sizes.low == sizes.high)
        return;
    panel.scale = scaleOf(panel, Span{0, 1});
    panels.push_back(std::move(panel));
}

/// Speed between neighbouring samples, at the time between them. A jump at a seam is not a speed.
Panel speedOf(Samples const& samples, std::vector<double> const& seams, std::string const& axisTitle)
{
    std::size_t const open = axisTitle.find('('), close = axisTitle.find(')');
    // All of it where it has no brackets.
    Panel panel{"angular speed", "° per " + axisTitle.substr(open + 1, close - open - 1), {}, {{"speed", 3, {}, {}, {}}}, {}};
    reserve(panel.lines[0], samples.size() - 1, samples.block());
    for (std::size_t s = 1; s < samples.size(); ++s) {
        double const from = samples.times()[s - 1], to = samples.times()[s];
        panel.times.push_back(std::midpoint(from, to));
        if (seamWithin(seams, from, to))
            continue;
        Gather gather;
        for (std::size_t i = 0; i < std::min(samples.elements(s - 1), samples.elements(s)); ++i)
            gather.add(angleBetween(UnitQuaternion::ofAxisAngle(samples.element(s - 1, i)),
                                    UnitQuaternion::ofAxisAngle(samples.element(s, i)))
                       / (to - from));
        gather.into(panel.lines[0], s - 1);
    }
    panel.scale = scaleOf(panel, Span{0, 1e-3});
    return panel;
}

/// Panels in which nothing moves, beside others in which something does.
void foldFlat(std::vector<Panel>& panels)
{
    static constexpr std::vector<double> Line::*parts[] = {&Line::values, &Line::low, &Line::high};
    auto const still = [](Panel const& panel) {
        return std::all_of(panel.lines.begin(), panel.lines.end(), [&](Line const& line) {
            return std::all_of(std::begin(parts), std::end(parts), [&](auto const values) {
                Range range;
                add(range, line.*values);
                double const least = panel.title.ends_with("axis") ? 10 : 0;
                double const size = std::max({std::abs(range.low), std::abs(range.high), least});
                return range.high - range.low <= size * 1e-5;
            });
        });
    };
    if (std::all_of(panels.begin(), panels.end(), still))
        return;
    for (Panel& panel : panels)
        panel.flat = still(panel);
}

/// "x 0 … 2", for each line whose range tells something.
void addRanges(Panel const& panel, std::vector<std::string>& facts)
{
    bool const axis = panel.title.ends_with("axis");
    if ((axis && !panel.flat) || panel.title == "hue" || panel.title == "elements")
        return;
    for (Line const& line : panel.lines) {
        Range const range = rangeOf(line);
        if (!range.any)
            continue;
        // Lines called x, y, z are told apart by their panel where there are several.
        std::string const name = panel.title == "scale factors" ? "scale " + line.name
            : axis                                              ? "axis " + line.name
            : line.name == "speed"                              ? panel.title
                                                                : line.name;
        std::string const unit = panel.unit.starts_with("°") || panel.unit.empty() ? panel.unit : ' ' + panel.unit;
        facts.push_back(name + ' ' + rangeText(range, 4) + unit);
    }
}

} // namespace

Range rangeOf(Line const& line)
{
    Range range;
    add(range, line.values);
    add(range, line.low);
    add(range, line.high);
    return range;
}

std::string rangeText(Range const& range, int digits)
{
    double const size = std::max(std::abs(range.low), std::abs(range.high));
    double const step = size < 1e-200 ? 1 : std::pow(10., std::floor(std::log10(size)) - digits + 1);
    auto const rounded = [&](double value) {
        return std::abs(value) < step / 2 ? "0" : roundNumber(std::round(value / step) * step, 10);
    };
    std::string const low = rounded(range.low), high = rounded(range.high);
    return low == high ? low : low + " … " + high;
}

std::vector<Panel> panelsOf(Samples const& samples, std::vector<double> const& seams, std::string const& axisTitle,
                            std::vector<std::string>& facts)
{
    Odd odd;
    std::vector<Panel> panels = plannedPanels(samples, seams, odd);
    if (samples.block())
        addSizes(samples, panels, facts);
    if (samples.kind() == Kind::rotation && samples.size() > 1)
        panels.push_back(speedOf(samples, seams, axisTitle));
    foldFlat(panels);
    for (Panel& panel : panels) {
        addRanges(panel, facts);
        breakAtWraps(panel);
    }
    if (odd.holes != 0)
        facts.push_back("not finite in " + counted(odd.holes, "sample"));
    if (odd.outside)
        facts.push_back("colours outside 0 … 1, clamped in the strip");
    if (odd.mirrored)
        facts.push_back("mirrored: negative scale factors");
    return panels;
}

} // namespace Zelvan::play
