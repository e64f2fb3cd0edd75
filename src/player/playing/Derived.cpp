#include "player/playing/Derived.h"

#include "interpolationNodePool/DecomposableMatrix.h"

#include <algorithm>

namespace Zelvan::play {

Hsv hsvOf(double const* rgb)
{
    Hsv hsv;
    osg::Color3f(float(rgb[0]), float(rgb[1]), float(rgb[2])).getValuesHSV(hsv.hue, hsv.saturation, hsv.value);
    return hsv;
}

MatrixParts partsOf(double const* number)
{
    float values[16];
    std::copy(number, number + 16, values);
    DecomposableMatrix matrix, rotation, symmetric, axes;
    matrix.setValue(values);
    MatrixParts parts;
    for (osg::UInt32 c = 0; c < 3; ++c) {
        parts.translation[c] = matrix[3][c];
        matrix[c][3] = 0;
    }
    matrix[3].setValues(0, 0, 0, 1);
    float side;
    osg::Vec3f factors;
    matrix.polarDecompose(rotation, symmetric, side);
    symmetric.spectralDecompose(axes, factors);
    double columns[12];
    for (osg::UInt32 c = 0; c < 3; ++c) {
        parts.factors[c] = double(side) * factors[c];
        for (osg::UInt32 r = 0; r < 4; ++r)
            columns[4 * c + r] = double(side) * rotation[c][r];
    }
    parts.rotation = UnitQuaternion::ofMatrix(columns);
    parts.mirrors = side < 0;
    return parts;
}

} // namespace Zelvan::play
