#include "player/drawing/Svg.h"

#include "player/scene/Escape.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

namespace Zelvan::play::svg {

std::string coordinate(double value)
{
    char buffer[400];
    char* end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1).ptr;
    if (end[-1] == '0')
        end -= 2;
    std::string text(buffer, end);
    return text == "-0" ? "0" : text;
}

std::string point(double x, double y)
{
    return coordinate(x) + ' ' + coordinate(y);
}

void appendText(std::string& svg, double x, double y, char const* classes, std::string const& text)
{
    svg += "<text x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" class=\"" + classes + "\">" + escapedMarkup(text)
        + "</text>\n";
}

void appendRect(std::string& svg, char const* classes, double x, double y, double width, double height)
{
    svg += "<rect class=\"" + std::string(classes) + "\" x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" width=\""
        + coordinate(width) + "\" height=\"" + coordinate(height) + "\"/>\n";
}

void appendCurve(std::string& svg, std::string const& classes, std::string const& d)
{
    if (!d.empty())
        svg += "<path class=\"" + classes + "\" d=\"" + d + "\"/>\n";
}

std::string hex(std::uint32_t colour)
{
    char text[] = "#000000";
    for (int i = 6; i > 0; --i, colour >>= 4)
        text[i] = "0123456789abcdef"[colour & 15];
    return text;
}

void Pen::turn(Point at)
{
    if (point(at.x, at.y) != point(_from.x, _from.y))
        _d += 'L' + point(at.x, at.y);
    _from = at;
    _reach = 0;
    _low = -std::numeric_limits<double>::infinity();
    _high = -_low;
}

void Pen::to(double x, double y)
{
    Point const at{x, y};
    if (!_down) {
        // The empty step makes a round cap, so that a point on its own shows.
        _d += 'M' + point(x, y) + "h0";
        _down = true;
        _last = _from = at;
        _reach = 0;
        _low = -std::numeric_limits<double>::infinity();
        _high = -_low;
        return;
    }
    // Straight on as long as one line from the corner passes all points since at a tenth of a unit.
    constexpr double near = 0.1;
    auto const straightOn = [&] {
        double const along = at.x - _from.x, reach = std::hypot(along, at.y - _from.y);
        if (reach < near && _reach == 0)
            return true;
        double direction = std::atan2(at.y - _from.y, along);
        if (_reach != 0) // continued from the directions before
            direction += 2 * std::numbers::pi * std::round(((_low + _high) / 2 - direction) / (2 * std::numbers::pi));
        if (reach < _reach || direction < _low || direction > _high)
            return false;
        double const slack = std::asin(std::min(1., near / reach));
        _low = std::max(_low, direction - slack);
        _high = std::min(_high, direction + slack);
        _reach = reach;
        return true;
    };
    if (!straightOn()) {
        turn(_last);
        straightOn();
    }
    _last = at;
}

void Pen::lift()
{
    if (_down)
        turn(_last);
    _down = false;
}

std::string Pen::take()
{
    lift();
    return std::exchange(_d, "");
}

} // namespace Zelvan::play::svg
