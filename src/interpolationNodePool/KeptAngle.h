#pragma once

#include <limits>

namespace Zelvan {

/// The angle between two unit quaternions and its sine. They follow from the cosine alone: as long as that stays the
/// same, as in playback between two keys, slerps need not compute them again.
struct KeptAngle {
    double _cosine = std::numeric_limits<double>::quiet_NaN();
    double _omega = 0.0, _sine = 0.0;
};

} // namespace Zelvan
