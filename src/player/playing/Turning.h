#pragma once

namespace Zelvan::play {

/// A rotation as unit quaternion; it and its negative mean the same.
struct UnitQuaternion {
    double v[3] = {}, w = 1;

    /// From axis (of any length; zero is the identity) and angle in radians.
    static UnitQuaternion ofAxisAngle(double const* number);
    /// From the columns of a rotation matrix, four numbers each; turned by the shorter way.
    static UnitQuaternion ofMatrix(double const* columns);
};

/// Degrees from one rotation to another, by the shorter way.
double angleBetween(UnitQuaternion const& from, UnitQuaternion const& to);

/// Follows a rotation as it turns: from sample to sample the axis does not flip and the angle runs on past half and
/// whole turns, whichever of its many forms each sample has.
class Turning {
public:
    /// Four quantities: unit axis and angle in degrees, of either sign and any size. The axis is NaN where nothing
    /// is turned, which has no direction.
    void next(UnitQuaternion quaternion, double* quantity);
    /// What comes next begins another cycle: it is counted from where the first one began.
    void restart() { _last = _first; }
    /// Where it is now.
    double degrees() const { return _last.degrees; }

private:
    struct State {
        UnitQuaternion quaternion;
        double axis[3] = {}; ///< zero until there is one
        double degrees = 0;
    };
    State _first, _last;
    bool _any = false;
};

} // namespace Zelvan::play
