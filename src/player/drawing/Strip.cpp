#include "player/drawing/Stages.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Zelvan::play {

namespace {

constexpr std::size_t mostRows = 12;

std::uint32_t colour(double const* rgb)
{
    std::uint32_t packed = 0;
    for (int c = 0; c < 3; ++c) {
        if (!drawable(rgb[c]))
            return Strip::none;
        packed = packed << 8 | std::uint32_t(std::lround(std::clamp(rgb[c], 0., 1.) * 255));
    }
    return packed;
}

} // namespace

std::uint32_t Strip::at(std::size_t row, double time) const
{
    std::vector<std::uint32_t> const& colours = rows[row];
    if (times.size() == 1)
        return colours[0];
    auto const after = std::size_t(std::lower_bound(times.begin(), times.end(), time) - times.begin());
    if (after == times.size() || (after == 0 && times[0] != time))
        return none;
    if (times[after] == time || colours[after] == none || colours[after - 1] == none)
        return times[after] == time ? colours[after] : none;
    double const part = (time - times[after - 1]) / (times[after] - times[after - 1]);
    std::uint32_t mixed = 0;
    for (unsigned const shift : {16u, 8u, 0u})
        mixed |= std::uint32_t(std::lround(
                     std::lerp(double(colours[after - 1] >> shift & 255), double(colours[after] >> shift & 255), part)))
            << shift;
    return mixed;
}

Strip stripOf(Samples const& samples, Span axis, std::size_t columns, std::vector<std::string>& facts)
{
    Strip strip;
    if (samples.kind() != Kind::colour)
        return strip;
    std::size_t const size = std::max<std::size_t>(samples.largestBlock(), 1);
    std::size_t const rows = std::min(size, mostRows);
    if (rows < size)
        facts.push_back("strip of " + std::to_string(rows) + " elements");
    strip.rows.resize(rows);
    std::vector<double> const& times = samples.times();
    double nextTime = -std::numeric_limits<double>::infinity();
    for (std::size_t s = 0; s < samples.size(); ++s) {
        // One sample for each column is as much as the eye gets.
        if (samples.size() > columns && times[s] < nextTime && s + 1 != samples.size())
            continue;
        nextTime = times[s] + axis.width() / double(columns);
        strip.times.push_back(times[s]);
        for (std::size_t row = 0; row < rows; ++row) {
            std::size_t const i = row * size / rows;
            strip.rows[row].push_back(i < samples.elements(s) ? colour(samples.element(s, i)) : Strip::none);
        }
    }
    return strip;
}

} // namespace Zelvan::play
