#pragma once

#include "player/playing/Turning.h"

namespace Zelvan::play {

// From the numbers of a value, as appendNumbers gives them, to the quantities people think in.

struct Hsv {
    float hue = 0, saturation = 0, value = 0; ///< hue in degrees
};
Hsv hsvOf(double const* rgb);

/// What M = T Q SO diag(k) SO^T is made of. A mirroring matrix is taken as a rotation with negative factors.
struct MatrixParts {
    double translation[3], factors[3]; ///< k
    UnitQuaternion rotation;           ///< Q
    bool mirrors;
};
MatrixParts partsOf(double const* matrix);

} // namespace Zelvan::play
