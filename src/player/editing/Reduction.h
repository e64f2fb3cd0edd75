#pragma once

#include "player/editing/KeyTrack.h"

namespace Zelvan::play {

/// The fewest of a track's keys that play within `tolerance` of it. The first and the last key stay, and those on
/// both sides of a step.
///
/// A step from key i to key j may stand for what lies between when, for each key k there, the blend's speed is one
/// with which i would have passed k within the tolerance. These speeds make up an interval for each number (so that
/// all k together leave a cone), a ball for rotations and a weighted octahedron for colours. The fewest allowed steps
/// come from a search in breadth, layer by layer (Imai and Iri, "Polygonal approximations of a curve", 1988; Chan
/// and Chin, 1996). Exact for Motion::linear; for the others no step is allowed that breaks the tolerance, though
/// not every step that would keep it.
std::vector<std::size_t> fewestKeys(KeyTrack const& track, double tolerance);

/// A track with keys of the same times but values of its own, each within `tolerance`: as few as a search that
/// follows several candidates finds. Motion::linear only; ends and steps keep their values.
KeyTrack fewestFreeKeys(KeyTrack const& track, double tolerance);

struct Reduced {
    KeyTrack track;
    std::vector<std::size_t> kept; ///< keys of the original; empty when values have moved
    PlayedDifference difference;   ///< between the original and the result, both played
};
/// Reduces a track without fault, plays both and keeps to the tolerance: where rounding breaks it, with less
/// freedom. With `free` values may move where the motion allows it and it saves keys.
Reduced reduceTrack(KeyTrack const& track, double tolerance, bool free);

} // namespace Zelvan::play
