#include "player/drawing/Stages.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Zelvan::play {

namespace {

/// Up to three samples for those from `from` to `to`: least, greatest and a gap, if there is one, in their order.
void thinColumn(Panel const& panel, std::size_t from, std::size_t to, Panel& thinned)
{
    auto const picked = [&](std::vector<double> const& values) {
        std::size_t least = to, most = to, hole = to;
        for (std::size_t s = from; s < to; ++s) {
            if (!drawable(values[s])) {
                hole = s;
                continue;
            }
            if (least == to || values[s] < values[least])
                least = s;
            if (most == to || values[s] > values[most])
                most = s;
        }
        if (least == to)
            return std::pair(std::array{gap, gap, gap}, false);
        double const first = values[std::min(least, most)], second = values[std::max(least, most)];
        return hole == to                  ? std::pair(std::array{first, second, second}, false)
            : hole < std::min(least, most) ? std::pair(std::array{gap, first, second}, true)
            : hole < std::max(least, most) ? std::pair(std::array{first, gap, second}, true)
                                           : std::pair(std::array{first, second, gap}, true);
    };
    bool const asTheyAre = to - from <= 2;
    std::size_t count = asTheyAre ? to - from : 2;
    auto const append = [&](std::vector<double> const& values, std::vector<double>& kept) {
        if (values.empty())
            return;
        if (asTheyAre) {
            kept.insert(kept.end(), values.begin() + long(from), values.begin() + long(to));
            return;
        }
        auto const [pick, hole] = picked(values);
        kept.insert(kept.end(), pick.begin(), pick.end());
        count = hole ? 3 : count;
    };
    for (std::size_t l = 0; l < panel.lines.size(); ++l) {
        append(panel.lines[l].values, thinned.lines[l].values);
        append(panel.lines[l].low, thinned.lines[l].low);
        append(panel.lines[l].high, thinned.lines[l].high);
    }
    thinned.times.push_back(panel.times[from]);
    if (count > 1)
        thinned.times.push_back(panel.times[to - 1]);
    if (count > 2)
        thinned.times.push_back(panel.times[to - 1]);
    for (Line& line : thinned.lines)
        for (auto* const values : {&line.values, &line.low, &line.high})
            if (!values->empty())
                values->resize(thinned.times.size());
}

} // namespace

bool thin(Panel& panel, Span axis, std::size_t columns)
{
    if (panel.times.size() <= 2 * columns)
        return false;
    auto const columnOf = [&](double time) {
        return std::size_t(std::clamp((time - axis.low) / axis.width() * double(columns), 0., double(columns)));
    };
    Panel thinned{panel.title, panel.unit, {}, {}, panel.scale, panel.component, panel.flat};
    for (Line const& line : panel.lines)
        thinned.lines.push_back({line.name, line.colour, {}, {}, {}});
    for (std::size_t from = 0, to; from < panel.times.size(); from = to) {
        to = from + 1;
        while (to < panel.times.size() && columnOf(panel.times[to]) == columnOf(panel.times[from]))
            ++to;
        thinColumn(panel, from, to, thinned);
    }
    panel = std::move(thinned);
    return true;
}

} // namespace Zelvan::play
