#pragma once

#include "base/OpenSG.h"

#include <cmath>

namespace Zelvan::test {

/// Slerp along the shorter arc, written down plainly. `turnsLinear(distance)`: of 1 minus the cosine.
template <class TurnsLinear>
osg::Quaternion plainSlerp(osg::Quaternion const& a, osg::Quaternion b, float t, TurnsLinear turnsLinear)
{
    float dot = a[0] * b[0];
    for (unsigned c = 1; c < 4; ++c)
        dot += a[c] * b[c];
    double const d = std::abs(static_cast<double>(dot));
    for (unsigned c = 0; dot < 0 && c < 4; ++c)
        b[c] = -b[c];
    double w0 = 1.0 - static_cast<double>(t), w1 = static_cast<double>(t);
    if (!turnsLinear(1.0 - d)) {
        double const omega = std::acos(d), sine = std::sin(omega);
        w0 = std::sin(w0 * omega) / sine;
        w1 = std::sin(w1 * omega) / sine;
    }
    for (unsigned c = 0; c < 4; ++c)
        b[c] = static_cast<float>(w0 * static_cast<double>(a[c]) + w1 * static_cast<double>(b[c]));
    return b;
}

} // namespace Zelvan::test
