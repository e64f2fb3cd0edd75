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
    // Numbered from the first one, so that no error adds up; a step too small for the numbers gives none.
    double const first = std::ceil(span.low / step);
    if (!drawable(first) || first + 1 == first)
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
    return std::abs(tick) < step * 1e-9 ? "0" : roundNumber(tick, std::clamp(digits, 7, 15));
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        unsigned char const first = static_cast<unsigned char>(text[i]);
        std::size_t const length = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3
                                                                      : first < 0xf5 ? 4 : 0;
        std::uint32_t code = length < 2 ? first : first & (0x7fu >> length);
        bool whole = length > 0 && i + length <= text.size();
        for (std::size_t k = 1; whole && k < length; ++k) {
            whole = (text[i + k] & 0xc0) == 0x80;
            code = code << 6 | (text[i + k] & 0x3f);
        }
        constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        bool const character = whole && code >= least[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff)
                               && code != 0xfffe && code != 0xffff && code != 0x7f && (code < 0x80 || code > 0x9f)
                               && (code >= 0x20 || code == '\t' || code == '\n');
        switch (character ? code : 0) {
        case 0: result += "\xef\xbf\xbd"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '&': result += "&amp;"; break;
        case '"': result += "&quot;"; break;
        case '\'': result += "&#39;"; break;
        default: result += text.substr(i, length);
        }
        i += whole ? length : 1;
    }
    return result;
}

std::string counted(std::size_t count, char const* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

} // namespace Zelvan::play
