#pragma once

#include "player/editing/Tolerance.h"
#include "player/playing/Recording.h"

namespace Zelvan::play {

/// A scene that has been played, with what was recorded.
struct PlayedScene {
    Scene& scene;
    std::vector<Track> tracks; ///< with their samples
};

/// How one track of two scenes differs.
struct TrackDifference {
    enum Kind : unsigned char {
        onlyFirst, ///< there is no such track in the second scene
        onlySecond,
        played, ///< compared over the time of the scene
        swept   ///< nothing drives it in either: compared over its fractions
    };
    std::string track; ///< "Ball.value_changed"
    Kind kind;
    Track const* first = nullptr; ///< null where there is none
    Track const* second = nullptr;
    bool differs = false;
    double from = 0;            ///< where it first differs: a time, or a fraction
    double largest = 0, at = 0; ///< infinite where one of them has no value, or another number of values
    double allowed = 0;
    bool angle = false; ///< these are radians
    std::size_t keysBefore = 0, keysAfter = 0;
};

/// Compares what two scenes play, by value: tracks with the same DEF name and field, whatever the order of nodes and
/// attributes. A value holds until the next one comes. Nodes without a DEF name are not compared.
std::vector<TrackDifference> compareScenes(PlayedScene const& first, PlayedScene const& second, Tolerance const& tolerance);

} // namespace Zelvan::play
