#pragma once

#include "player/reading/ElementTree.h"

namespace Zelvan {
class Field;
class Node;
} // namespace Zelvan

namespace Zelvan::play {

/// The units that a file's values are in, as factors to the base units (metre, radian). X3D 3.3, UNIT statement.
struct Units {
    double angle = 1, length = 1;

    /// What the head of a file states.
    static Units of(Element const* root);
    /// To base units: the angles of all rotations, and the positions and points of interpolators. Whether there were others.
    bool convert(Node const& node, Field& field) const;
};

} // namespace Zelvan::play
