#pragma once

#include "player/playing/Recording.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace Zelvan::play {

/// Beyond, nobody looks at a picture.
inline constexpr std::size_t drawnCurves = 500;

/// Something that is wrong with a curve, or worth knowing.
struct CurveRemark {
    std::string severity, code, message, advice;
    std::vector<double> places; ///< on the axis; none when it is about all of it
};

/// One track to draw, with what is marked on its axis and told beside it. Texts may hold anything.
struct Curve {
    Track const* track;                    ///< with its samples
    std::vector<double> keys;              ///< places of the interpolator's keys on the axis, within what was recorded
    std::vector<double> seams;             ///< places where the sensor that drives it loops
    std::vector<std::string> drivers = {}; ///< what drives it, back to the sensor: "Ease (EaseInEaseOut)", "Clock ..."
    std::vector<std::string> moves = {};   ///< what it moves: "Ball.translation (Transform)"
    std::string place = {};                ///< in the file: "door.x3d:12:3"
    std::vector<CurveRemark> remarks = {};
    Track const* second = nullptr; ///< of the same type, with its samples: drawn over the first one, dashed
    std::string secondName = {};   ///< "walk-new.x3d"
};

class Staging;

/// The scene itself, for the page.
struct SceneInPage {
    Staging const& staging;
    std::vector<Track> const& tracks; ///< what arrives at its nodes moves them
    std::string const& engine;        ///< the script that draws it
};
/// X3DOM, as scripts/scene-engine fetched it or the package brought it. Failure(exitMachine) when it is not there.
std::string sceneEngine();

struct PictureOptions {
    std::string title;                     ///< usually the file's name
    std::string axis;                      ///< "time (s)" for a run, "fraction" for a sweep
    bool sharedAxis = true;                ///< all tracks over the same stretch of the axis; false: each over its own
    double frame = 0;                      ///< step of the play head; 0: a hundredth of the axis
    std::string shown = {};                ///< what part of a cycle the axis is
    std::vector<std::string> waiting = {}; ///< what does not move: which sensor waits for what, and what starts it
    SceneInPage const* scene = nullptr;
};

/// One file for eyes: a curve per component with keys and seams marked, colours as colour, rotations as axis,
/// angle and angular speed, positions also as a path, blocks summarised. Values that are not finite leave gaps;
/// more samples than columns of pixels are drawn as the least and the greatest of each column. The same curves
/// give the same bytes, whatever the locale.
void writeSvg(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options);
/// The same in pixels, two for each unit of the picture. Failure(exitMachine) when they cannot be made.
void writePng(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options);
/// The same as one self-contained page with a play head over all curves; needs no network.
void writeHtml(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options);

} // namespace Zelvan::play
