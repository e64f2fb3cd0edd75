#pragma once

#include "player/playing/Recording.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace Zelvan::play {

/// One track to draw, with what is marked on its axis.
/// Beyond, nobody looks at a picture.
inline constexpr std::size_t drawnCurves = 500;

struct Curve {
    Track const* track;          ///< with its samples
    std::vector<double> keys;    ///< places of the interpolator's keys on the axis, within what was recorded
    std::vector<double> seams;   ///< places where the sensor that drives it loops
};

struct PictureOptions {
    std::string title;           ///< usually the file's name
    std::string axis;            ///< "time (s)" for a run, "fraction" for a sweep
    bool sharedAxis = true;      ///< all tracks over the same stretch of the axis; false: each over its own
};

/// One file for eyes: a curve per component with keys and seams marked, colours as colour, rotations as axis,
/// angle and angular speed, positions also as a path, blocks summarised. Values that are not finite leave gaps;
/// more samples than columns of pixels are drawn as the least and the greatest of each column. The same curves
/// give the same bytes, whatever the locale.
void writeSvg(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options);
/// The same as one self-contained page that lets a person zoom and read values; needs no network.
void writeHtml(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options);

} // namespace Zelvan::play
