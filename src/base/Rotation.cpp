#include "base/Rotation.h"

#include <cmath>

namespace Zelvan {

static_assert(sizeof(Rotation) == 9 * 4);

void Rotation::deriveQuaternion() const
{
    float const x = _axis[0], y = _axis[1], z = _axis[2];
    float const length = std::sqrt(x * x + y * y + z * z);
    if (length > 1e-6f) {
        float const half = _angle * 0.5f;
        float const scale = std::sin(half) / length;
        _quaternion.setValueAsQuat(x * scale, y * scale, z * scale, std::cos(half));
    } else {
        _quaternion.setValueAsQuat(0.f, 0.f, 0.f, 1.f);
    }
    _state = both;
}

// atan2 of the two parts is accurate for every angle, and does not mind a quaternion that is not quite unit.
void Rotation::deriveAxisAngle() const
{
    double const x = _quaternion.x(), y = _quaternion.y(), z = _quaternion.z();
    double const length = std::sqrt(x * x + y * y + z * z);
    if (!(length <= 1e-12)) { // a NaN stays visible
        _axis.setValues(static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(z / length));
        _angle = static_cast<float>(2.0 * std::atan2(length, static_cast<double>(_quaternion.w())));
    } else {
        _axis.setValues(0.f, 0.f, 1.f);
        _angle = 0.f;
    }
    _state = both;
}

} // namespace Zelvan
