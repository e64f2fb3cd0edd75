#include "player/drawing/Svg.h"

#include "player/scene/Escape.h"

#include <charconv>

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
    svg += "<rect class=\"" + std::string(classes) + "\" x=\"" + coordinate(x) + "\" y=\"" + coordinate(y)
           + "\" width=\"" + coordinate(width) + "\" height=\"" + coordinate(height) + "\"/>\n";
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

void Pen::to(double x, double y)
{
    std::string const place = point(x, y);
    if (_down && place == _last)
        return;
    // The empty step makes a round cap, so that a point on its own shows.
    d += (_down ? "L" : "M") + place + (_down ? "" : "h0");
    _down = true;
    _last = place;
}

} // namespace Zelvan::play::svg
