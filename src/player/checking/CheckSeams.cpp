#include "player/checking/CheckRules.h"

#include "base/Fields.h"
#include "player/playing/Turning.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Zelvan::play {

namespace {

// Axis times angle of the rotation that leads from a to b, by the shorter arc.
std::vector<double> rotationVector(Rotation const& a, Rotation const& b)
{
    osg::Quaternion turn = b.quaternion();
    turn.mult(a.quaternion().inverse());
    double const sign = turn.w() < 0 ? -1 : 1;
    double const sine = std::hypot(turn.x(), turn.y(), turn.z());
    double const factor = sine > 0 ? sign * 2 * std::atan2(sine, std::abs(turn.w())) / sine : 0;
    return {turn.x() * factor, turn.y() * factor, turn.z() * factor};
}

double largestDifference(std::span<double const> a, std::span<double const> b)
{
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

// The value with which a loop ends and the one with which it begins again. "" when they are the same; how far apart
// counts in proportion to how far the whole curve goes.
std::string jumpOf(KeyedValues const& values)
{
    auto const first = values.at(0), last = values.at(values.count - 1);
    if (values.valueField->dataType() == MFRotationType) {
        double const angle = values.turn(0, values.count - 1) * std::numbers::pi / 180;
        return angle > 0.01 ? "turns by " + degrees(angle) + " degrees at once" : "";
    }
    double reach = 0;
    for (std::size_t k = 1; k < values.count; ++k)
        reach = std::max(reach, largestDifference(values.at(k), first));
    if (largestDifference(first, last) <= 0.001 * reach)
        return "";
    std::string const from = listed(last), to = listed(first); // of matrices the first row
    return values.perKey > 1 || from == to ? "jumps back" : "jumps from " + from + " to " + to;
}

/// Speeds of the pieces of a curve, one after the other.
class Speeds {
public:
    void add(std::vector<double> speed)
    {
        for (double const s : speed)
            _fastest = std::max(_fastest, std::abs(s));
        if (_first.empty())
            _first = speed;
        else
            _largestChange = std::max(_largestChange, largestDifference(_last, speed));
        _last = std::move(speed);
    }
    /// Whether the end meets the beginning with a change of speed unlike any within the curve.
    bool breakAtSeam() const
    {
        double const change = largestDifference(_last, _first);
        // Thrice is what an even change of speed comes to in four pieces, and fewer cannot have as much.
        return change > 0.2 * _fastest && change > 3.1 * _largestChange;
    }

private:
    std::vector<double> _first, _last;
    double _fastest = 0, _largestChange = 0;
};

bool hasKink(KeyedValues const& values)
{
    bool const rotations = values.valueField->dataType() == MFRotationType;
    auto const& type = values.type();
    // Splines begin and end at rest; colours and matrices have no one speed.
    if (type.starts_with("Spline") || type.starts_with("Squad") || values.valueField->dataType() == MFColorType
        || values.valueField->dataType() == MFMatrix4fType)
        return false;
    Speeds speeds;
    if (values.keys[0] > 0)
        speeds.add(std::vector<double>(rotations ? 3 : values.at(0).size()));
    for (std::size_t k = 0; k + 1 < values.count; ++k) {
        double const time = static_cast<double>(values.keys[k + 1]) - values.keys[k];
        if (time == 0)
            return false; // it jumps on its way, too
        std::vector<double> speed;
        if (rotations) {
            auto const& list = static_cast<MFRotation const*>(values.valueField)->_value;
            speed = rotationVector(list[k], list[k + 1]);
        } else {
            auto const a = values.at(k), b = values.at(k + 1);
            for (std::size_t i = 0; i < a.size(); ++i)
                speed.push_back(b[i] - a[i]);
        }
        for (double& s : speed)
            s /= time;
        speeds.add(std::move(speed));
    }
    if (values.keys[values.count - 1] < 1)
        speeds.add(std::vector<double>(rotations ? 3 : values.at(0).size()));
    return speeds.breakAtSeam();
}

bool jumpsOnItsWay(KeyedValues const& values)
{
    for (std::size_t k = 0; k + 1 < values.count; ++k)
        if (!values.blends(k) && !values.same(k, k + 1))
            return true;
    return false;
}

// What drives another interpolator begins again by nature.
bool drivesFractionsOnly(SceneNode const& node)
{
    bool any = false;
    for (Route const* route = outputOf(node)->_routesOut; route != nullptr; route = route->nextOut()) {
        any = true;
        if (std::string_view(route->to().findName()) != "set_fraction")
            return false;
    }
    return any;
}

} // namespace

void checkLoop(KeyedValues const& values, Drive const& drive, FindingCollector& findings)
{
    if (drive.looping == nullptr || !drive.clocked() || values.count < 2 || !values.finite || !values.ordered
        || values.keys[0] < -slightly || values.keys[values.count - 1] > 1 + slightly)
        return;
    if (values.eases() || drivesFractionsOnly(values.node))
        return;
    std::string const when = " whenever " + drive.looping->name + " loops";
    std::string const jump = jumpOf(values);
    if (!jump.empty())
        findings.add(
            "loop-jump", values.node, values.valueField, [&] { return ' ' + jump + when; },
            "fine when the jump is meant; else end with the value of the first key",
            drive.mayEnd || jumpsOnItsWay(values) ? Severity::hint : Severity::note);
    else if (!drive.eased && hasKink(values))
        findings.add(
            "loop-kink", values.node, values.valueField,
            [&] { return " changes its speed at once" + when + ", and nowhere else as much"; },
            "fine when it is meant; else let the last step be like the first");
}

} // namespace Zelvan::play
