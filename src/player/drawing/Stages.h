#pragma once

#include "player/drawing/Drawing.h"
#include "player/drawing/Samples.h"

// The stages of making a drawing from the samples of a track; each is a file of its own.
namespace Zelvan::play {

/// Lines over the axis, with their scales. Adds to the facts what there is to say about the values.
std::vector<Panel> panelsOf(Samples const& samples, std::vector<double> const& seams, std::string const& axisTitle,
                            std::vector<std::string>& facts);
/// The least and the greatest drawable value of a line and its band.
Range rangeOf(Line const& line);
/// "low … high" with so many digits of the larger one: of 1e-9 … 1 the reader wants 0 … 1.
std::string rangeText(Range const& range, int digits);

/// Puts the lines of a panel over those of another one that shows the same of another track.
void layOver(Panel& panel, Panel const& second);

/// The curve in a plane of what has one, from the lines of the first panel.
PlanePath pathOf(Samples const& samples, std::vector<Line> const& lines, std::vector<double> const& keys,
                 std::vector<double> const& seams);

/// Colours over the axis, about one for each column; of a large block some rows, which the facts then say.
Strip stripOf(Samples const& samples, Span axis, std::size_t columns, std::vector<std::string>& facts);

/// Leaves a panel at most about two samples for each column of the axis: the least and the greatest.
/// Returns whether there were more.
bool thin(Panel& panel, Span axis, std::size_t columns);

} // namespace Zelvan::play
