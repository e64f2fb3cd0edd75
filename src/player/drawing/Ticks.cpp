#include "player/drawing/Drawing.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

std::vector<double> ticksOf(Span span, unsigned most, bool degrees)
{
    double const rough = span.width() / std::max(most, 1u);
    double step = std::pow(10., std::floor(std::log10(rough)));
    if (degrees && rough > 5) {
        step = 15;
        for (double const candidate : {30., 45., 90., 180., 360.})
            step = step < rough ? candidate : step;
        while (step < rough)
            step *= 2;
    } else {
        for (double const factor : {2., 2.5, 2.})
            step *= step < rough ? factor : 1;
    }
    std::vector<double> ticks;
    // Numbered from the first one, so that no error adds up; a step too small for the digits of a label gives none.
    double const first = std::ceil(span.low / step);
    if (!(std::abs(first) < 1e13))
        return ticks;
    for (unsigned i = 0; i <= most && (first + i) * step <= span.high; ++i)
        ticks.push_back((first + i) * step);
    return ticks;
}

std::string tickLabel(double tick, std::vector<double> const& ticks)
{
    double const step = ticks.size() > 1 ? ticks[1] - ticks[0] : 0;
    double const largest = std::max(std::abs(ticks.front()), std::abs(ticks.back()));
    int const digits = step > 0 ? int(std::ceil(std::log10(largest / step))) + 2 : 0;
    return tick == 0 ? "0" : roundNumber(tick, std::clamp(digits, 7, 15));
}

} // namespace Zelvan::play
