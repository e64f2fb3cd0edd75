#include "player/playing/Derived.h"

#include "interpolationNodePool/DecomposableMatrix.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Zelvan::play {

namespace {

constexpr double degreesPerRadian = 180 / std::numbers::pi;

} // namespace

Hsv hsvOf(double const* rgb)
{
    Hsv hsv;
    osg::Color3f(float(rgb[0]), float(rgb[1]), float(rgb[2])).getValuesHSV(hsv.hue, hsv.saturation, hsv.value);
    return hsv;
}

void rotationQuantities(double const* number, double* quantity)
{
    double const length = std::hypot(number[0], number[1], number[2]);
    bool const turns = length > 1e-6 && std::abs(number[3]) > 1e-6;
    for (int c = 0; c < 3; ++c)
        quantity[c] = turns ? number[c] / length : std::numeric_limits<double>::quiet_NaN();
    quantity[3] = number[3] * degreesPerRadian;
}

bool matrixQuantities(double const* number, double* quantity)
{
    float values[16];
    std::copy(number, number + 16, values);
    DecomposableMatrix matrix, rotation, symmetric, axes;
    matrix.setValue(values);
    for (osg::UInt32 c = 0; c < 3; ++c) {
        quantity[c] = matrix[3][c];
        matrix[c][3] = 0;
    }
    matrix[3].setValues(0, 0, 0, 1);
    float side;
    osg::Vec3f factors;
    matrix.polarDecompose(rotation, symmetric, side);
    symmetric.spectralDecompose(axes, factors);
    // Twice the sine, as the length of the antisymmetric part, and twice the cosine, from the trace: exact near
    // 0 and near half a turn, where either alone is not.
    auto const element = [&](int c, int r) { return double(side) * rotation[c][r]; };
    double const sine = std::hypot(element(1, 2) - element(2, 1), element(2, 0) - element(0, 2),
                                   element(0, 1) - element(1, 0));
    double const cosine = element(0, 0) + element(1, 1) + element(2, 2) - 1;
    quantity[3] = std::atan2(sine, cosine) * degreesPerRadian;
    for (osg::UInt32 c = 0; c < 3; ++c)
        quantity[4 + c] = double(side) * factors[c];
    return side < 0;
}

double angleBetween(double const* from, double const* to)
{
    struct Quaternion {
        double v[3], w;
        explicit Quaternion(double const* number) : v{}, w(1)
        {
            double const length = std::hypot(number[0], number[1], number[2]);
            if (length <= 1e-6)
                return;
            for (int c = 0; c < 3; ++c)
                v[c] = number[c] / length * std::sin(number[3] / 2);
            w = std::cos(number[3] / 2);
        }
    };
    Quaternion const a(from), b(to);
    auto const across = [&](int i, int j, int k) {
        return a.w * b.v[i] - b.w * a.v[i] - (a.v[j] * b.v[k] - a.v[k] * b.v[j]);
    };
    double const sine = std::hypot(across(0, 1, 2), across(1, 2, 0), across(2, 0, 1));
    double const cosine = std::abs(a.w * b.w + a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2]);
    return 2 * std::atan2(sine, cosine) * degreesPerRadian;
}

} // namespace Zelvan::play
