#include "player/playing/Turning.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

namespace Zelvan::play {

namespace {

constexpr double degreesPerRadian = 180 / std::numbers::pi;
/// Of an axis, or of the sine of half an angle: below, there is no direction.
constexpr double tiny = 1e-6;

double dot(double const* a, double const* b)
{
    return std::inner_product(a, a + 3, b, 0.);
}

} // namespace

UnitQuaternion UnitQuaternion::ofAxisAngle(double const* number)
{
    UnitQuaternion q;
    double const length = std::hypot(number[0], number[1], number[2]);
    if (length <= tiny)
        return q;
    for (int c = 0; c < 3; ++c)
        q.v[c] = number[c] / length * std::sin(number[3] / 2);
    q.w = std::cos(number[3] / 2);
    return q;
}

UnitQuaternion UnitQuaternion::ofMatrix(double const* columns)
{
    auto const at = [&](int row, int column) { return columns[4 * column + row]; };
    // The largest of the four is found from the diagonal; the others from sums and differences across it.
    double const squares[] = {1 + at(0, 0) - at(1, 1) - at(2, 2), 1 - at(0, 0) + at(1, 1) - at(2, 2),
                              1 - at(0, 0) - at(1, 1) + at(2, 2), 1 + at(0, 0) + at(1, 1) + at(2, 2)};
    auto const largest = std::max_element(squares, squares + 4) - squares;
    double const twice = std::sqrt(std::max(squares[largest], 0.)), part = 0.5 / twice;
    UnitQuaternion q;
    if (largest == 3) {
        q.w = twice / 2;
        for (int i = 0; i < 3; ++i)
            q.v[i] = (at((i + 2) % 3, (i + 1) % 3) - at((i + 1) % 3, (i + 2) % 3)) * part;
        return q;
    }
    int const i = int(largest), j = (i + 1) % 3, k = (i + 2) % 3;
    q.w = (at(k, j) - at(j, k)) * part;
    double const sign = q.w < 0 ? -1 : 1;
    q.v[i] = sign * twice / 2;
    q.v[j] = sign * (at(j, i) + at(i, j)) * part;
    q.v[k] = sign * (at(k, i) + at(i, k)) * part;
    q.w *= sign;
    return q;
}

double angleBetween(UnitQuaternion const& a, UnitQuaternion const& b)
{
    auto const across = [&](int i, int j, int k) { return a.w * b.v[i] - b.w * a.v[i] - (a.v[j] * b.v[k] - a.v[k] * b.v[j]); };
    double const sine = std::hypot(across(0, 1, 2), across(1, 2, 0), across(2, 0, 1));
    double const cosine = std::abs(a.w * b.w + dot(a.v, b.v));
    return 2 * std::atan2(sine, cosine) * degreesPerRadian;
}

void Turning::next(UnitQuaternion q, double* quantity)
{
    bool const holes = !std::isfinite(q.w + q.v[0] + q.v[1] + q.v[2]);
    double const sine = std::hypot(q.v[0], q.v[1], q.v[2]);
    for (int c = 0; c < 3; ++c)
        quantity[c] = std::numeric_limits<double>::quiet_NaN();
    quantity[3] = quantity[0];
    if (holes)
        return;
    if (_any && q.w * _last.quaternion.w + dot(q.v, _last.quaternion.v) < 0) {
        q.w = -q.w;
        for (double& c : q.v)
            c = -c;
    }
    double signedSine = 0;
    if (sine > tiny) {
        double const sign = dot(q.v, _last.axis) < 0 ? -1 : 1;
        for (int c = 0; c < 3; ++c)
            quantity[c] = _last.axis[c] = q.v[c] / sine * sign;
        signedSine = sine * sign;
    }
    // Two turns are one turn of the quaternion.
    double const degrees = 2 * std::atan2(signedSine, q.w) * degreesPerRadian;
    _last.degrees = _any ? degrees + 720 * std::round((_last.degrees - degrees) / 720) : degrees;
    _last.quaternion = q;
    quantity[3] = _last.degrees;
    if (!_any)
        _first = _last;
    _any = true;
}

} // namespace Zelvan::play
