#pragma once

#include "player/drawing/Pictures.h"

#include <array>
#include <cstdint>

namespace Zelvan::play {

/// A stretch of the axis or of a scale.
struct Span {
    double low = 0, high = 1;
    double width() const { return high - low; }
};

/// A number the picture can place; anything else is a gap.
bool drawable(double value);

/// One line over the axis. Of a block it is the mean of the elements, with a band from the least to the greatest.
struct Line {
    std::string name;
    unsigned colour;               ///< 0 to 2: x, y, z or red, green, blue; 3: anything else
    std::vector<double> values;    ///< one for each of the panel's times
    std::vector<double> low, high; ///< the band; empty without one
    bool second = false;           ///< of the second track: dashed
};

/// Lines that share a scale.
struct Panel {
    std::string title;
    std::string unit;          ///< "", "°", "° per s"
    std::vector<double> times; ///< rising
    std::vector<Line> lines;
    Span scale;
    int component = -1; ///< of a block: which of an element's numbers
    bool flat = false;  ///< nothing moves here: not drawn
};

/// Colours over the axis: one row for a colour, several for a block of them. 0xRRGGBB, or `none`.
struct Strip {
    static constexpr std::uint32_t none = 0xff000000;
    std::vector<double> times;
    std::vector<std::vector<std::uint32_t>> rows;

    /// Of a row at a place on the axis, as the curves have it: straight between two samples.
    std::uint32_t at(std::size_t row, double time) const;
};

/// A curve in a plane.
struct PlanePath {
    using Point = std::array<double, 2>;
    enum Kind : unsigned char {
        absent,
        position, ///< a position in the two of its axes in which it is widest
        hueWheel  ///< a colour: hue as direction (red to the right, yellow 60 degrees further up), saturation as radius
    };
    Kind kind = absent;
    std::vector<Point> points;
    std::vector<Point> keys;
    std::array<unsigned, 2> axes{};    ///< of a position: which lines of the first panel
    std::array<double, 2> signs{1, 1}; ///< -1: that axis points the other way, so that nothing is mirrored
    std::vector<std::string> notes;    ///< short lines: what is drawn, over which ranges
    Span horizontal, vertical;
};

/// What is drawn of a track.
struct Drawing {
    std::string name; ///< as the scene has it: may hold anything
    std::string type;
    std::vector<std::string> facts;
    Span axis;
    std::vector<double> keys, seams;
    std::vector<double> found; ///< where something has been remarked
    std::vector<Panel> panels;
    Strip strip;
    PlanePath path;
    std::size_t samples = 0;
    bool thinned = false; ///< has less than all samples
};

/// The stretch of the axis that the samples of the curves take up; never empty.
Span axisOf(std::vector<Curve> const& curves);
Span axisOf(Curve const& curve);
/// Thinned to twice `columns` samples when there are more: the least and the greatest of each column of `axis`.
Drawing drawingOf(Curve const& curve, PictureOptions const& options, Span axis, std::size_t columns);

/// "x 0 … 2 · 3 key marks"
std::string joined(std::vector<std::string> const& texts, std::string_view between);

/// Round places in a span, at most `most` of them; degrees in the fractions of a turn people use.
std::vector<double> ticksOf(Span span, unsigned most, bool degrees);
/// A tick's label, with the digits that tell it from its neighbours.
std::string tickLabel(double tick, std::vector<double> const& ticks);

/// "1 key", "3 keys"
std::string counted(std::size_t count, char const* what);

// Parts of the picture that the page shares. Sizes are in user units; the origin is the upper left corner.
struct Frame {
    double width, height;
};
/// The drawing's strip and panels over the axis, one below the other.
void appendPanels(std::string& svg, Drawing const& drawing, Frame frame, std::string const& axisTitle);
/// Where the points of a path are in a square.
struct PathPlot {
    static constexpr double margin = 9;
    PathPlot(PlanePath const& path, double frameSize);
    double size;
    double unit; ///< of the path, in the picture
    PlanePath::Point middle;
    double x(double across) const { return size / 2 + (across - middle[0]) * unit; }
    double y(double up) const { return size / 2 - (up - middle[1]) * unit; }
};
/// The drawing's path in a square of that size, and its notes below.
void appendPath(std::string& svg, Drawing const& drawing, double size);
/// Samples of the marks, in one line.
void appendMarks(std::string& svg);

} // namespace Zelvan::play
