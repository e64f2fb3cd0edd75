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

/// Collects the points of a curve: a gap lifts the pen, points that lie on the way between others are left out.
class Pen {
public:
    void lift();
    void to(double x, double y);
    /// The curve so far, with the pen lifted.
    std::string take();

private:
    struct Point {
        double x, y;
    };
    void turn(Point at);

    std::string _d;
    bool _down = false;
    Point _from{}, _last{};                 ///< the corner before, and the point before
    double _reach = 0, _low = 0, _high = 0; ///< how far from the corner, and between which directions, all points since lie
};

} // namespace Zelvan::play::svg
