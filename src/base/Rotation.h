#pragma once

#include "base/Export.h"
#include "base/OpenSG.h"

namespace Zelvan {

/// A rotation held as unit quaternion (x, y, z, w) and as axis and angle (radians, right-handed).
/// Each form is derived from the other only when it is read; the axis need not be of unit length.
class ZELVAN_BASE_API Rotation {
public:
    enum State : unsigned {
        both = 0,          ///< quaternion and axis/angle agree
        axisAngleOnly = 1, ///< the quaternion is stale
        quaternionOnly = 2 ///< axis and angle are stale
    };

    /// Identity: quaternion (0, 0, 0, 1), axis (0, 0, 1), angle 0, both current.
    Rotation() : _axis(0.f, 0.f, 1.f) {}
    Rotation(osg::Vec3f const& axis, float angle) : _axis(axis), _angle(angle), _state(axisAngleOnly) {}
    explicit Rotation(osg::Quaternion const& quaternion) : _axis(0.f, 0.f, 1.f) { setQuaternion(quaternion); }

    /// The quaternion, brought up to date in place. A zero axis (length up to 1e-6) is the identity.
    osg::Quaternion const& quaternion() const
    {
        if (_state == axisAngleOnly)
            deriveQuaternion();
        return _quaternion;
    }
    /// Axis and angle, brought up to date in place; the identity is (0, 0, 1) and 0.
    osg::Vec3f const& axis() const
    {
        if (_state == quaternionOnly)
            deriveAxisAngle();
        return _axis;
    }
    float angle() const
    {
        axis();
        return _angle;
    }

    void setQuaternion(osg::Quaternion const& quaternion)
    {
        _quaternion = quaternion;
        _state = quaternionOnly;
    }

    /// Same quaternion within OpenSG's tolerance (1e-6 per component); q and -q differ.
    bool operator==(Rotation const& other) const { return quaternion() == other.quaternion(); }

    // The nine words of a rotation, in the order the framework stores them.
    mutable osg::Quaternion _quaternion;
    mutable osg::Vec3f _axis;
    mutable float _angle = 0.f;
    mutable unsigned _state = both;

private:
    void deriveQuaternion() const;
    void deriveAxisAngle() const;
};

} // namespace Zelvan
