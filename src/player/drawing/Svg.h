#pragma once

#include <cstdint>
#include <string>

// The elements of SVG that the pictures are made of.
namespace Zelvan::play::svg {

// Sizes in user units. A line of text takes `textLine`, a letter about `letter`.
inline constexpr double textLine = 13, letter = 6;

/// One digit after the point, none where it would be 0.
std::string coordinate(double value);
/// "x y"
std::string point(double x, double y);
/// "#rrggbb" of 0xRRGGBB
std::string hex(std::uint32_t colour);

void appendText(std::string& svg, double x, double y, char const* classes, std::string const& text);
void appendRect(std::string& svg, char const* classes, double x, double y, double width, double height);
/// A path; none for an empty `d`.
void appendCurve(std::string& svg, std::string const& classes, std::string const& d);

/// Collects the points of a curve: a gap lifts the pen, a point that falls on the one before is left out.
class Pen {
public:
    void lift() { _down = false; }
    void to(double x, double y);
    std::string d;

private:
    bool _down = false;
    std::string _last;
};

} // namespace Zelvan::play::svg
