#pragma once

namespace Zelvan::play {

// From the numbers of a value, as appendNumbers gives them, to the quantities people think in.

struct Hsv {
    float hue = 0, saturation = 0, value = 0; ///< hue in degrees
};
Hsv hsvOf(double const* rgb);

/// Four quantities: unit axis and angle in degrees. The axis is NaN for a zero axis and for a rotation by nothing,
/// which have no direction.
void rotationQuantities(double const* number, double* quantity);
/// Seven quantities of M = T Q SO diag(k) SO^T: translation, rotation angle in degrees, scale factors k. A mirroring
/// matrix is taken as a rotation with negative factors. Returns whether it mirrors.
bool matrixQuantities(double const* number, double* quantity);
/// Degrees from one rotation to another, by the shorter way.
double angleBetween(double const* from, double const* to);

} // namespace Zelvan::play
