#include "player/drawing/Stages.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Zelvan::play {

namespace {

// What a line has at other times: straight between its samples, as it is drawn.
std::vector<double> resampled(std::vector<double> const& times, std::vector<double> const& values,
                              std::vector<double> const& at)
{
    std::vector<double> result;
    for (double const time : at) {
        auto const after = std::size_t(std::ranges::lower_bound(times, time) - times.begin());
        if (after < times.size() && times[after] == time)
            result.push_back(values[after]);
        else if (after == 0 || after == times.size())
            result.push_back(std::numeric_limits<double>::quiet_NaN());
        else
            result.push_back(
                std::lerp(values[after - 1], values[after], (time - times[after - 1]) / (times[after] - times[after - 1])));
    }
    return result;
}

void resample(Line& line, std::vector<double> const& from, std::vector<double> const& to)
{
    for (std::vector<double>* const values : {&line.values, &line.low, &line.high})
        if (!values->empty())
            *values = resampled(from, *values, to);
}

} // namespace

void layOver(Panel& panel, Panel const& second)
{
    std::vector<double> times;
    std::ranges::set_union(panel.times, second.times, std::back_inserter(times));
    if (times != panel.times)
        for (Line& line : panel.lines)
            resample(line, panel.times, times);
    for (Line line : second.lines) {
        if (times != second.times)
            resample(line, second.times, times);
        line.name += " (second)";
        line.second = true;
        panel.lines.push_back(std::move(line));
    }
    panel.times = std::move(times);
    panel.scale = {std::min(panel.scale.low, second.scale.low), std::max(panel.scale.high, second.scale.high)};
    panel.flat = panel.flat && second.flat;
}

} // namespace Zelvan::play
