// Rotations as matrices and as quaternions.

#include "OpenSG/MatrixMath.h"

OSG_BEGIN_NAMESPACE

using namespace matrixMath;

namespace {

using Matrix3 = double[3][3];

/// The rotation of a quaternion x, y, z, w of any length but 0; as columns.
void rotationOf(double const (&quaternion)[4], Matrix3& result)
{
    auto const& [x, y, z, w] = quaternion;
    double const square = x * x + y * y + z * z + w * w;
    double const s = square > 0 ? 2 / square : 0;
    double const sx = s * x, sy = s * y, sz = s * z;
    result[0][0] = 1 - (sy * y + sz * z);
    result[0][1] = sx * y + sz * w;
    result[0][2] = sx * z - sy * w;
    result[1][0] = sx * y - sz * w;
    result[1][1] = 1 - (sx * x + sz * z);
    result[1][2] = sy * z + sx * w;
    result[2][0] = sx * z + sy * w;
    result[2][1] = sy * z - sx * w;
    result[2][2] = 1 - (sx * x + sy * y);
}

} // namespace

template <class T>
void TransformationMatrix<T>::setRotate(QuaternionType const& r)
{
    Matrix3 columns;
    rotationOf({r.x(), r.y(), r.z(), r.w()}, columns);
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 i = 0; i < 3; ++i)
            _matrix[c][i] = static_cast<T>(columns[c][i]);
}

template <class T>
void TransformationMatrix<T>::setTransform(VectorType3f const& t, QuaternionType const& r, VectorType3f const& s,
                                           QuaternionType const& so)
{
    // Scaled columns of R SO times the rows of SO^-1, which are the columns of SO.
    double const a[4] = {r.x(), r.y(), r.z(), r.w()}, b[4] = {so.x(), so.y(), so.z(), so.w()};
    Matrix3 turned, orientation;
    rotationOf({a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2],
                a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]},
               turned);
    rotationOf(b, orientation);
    for (UInt32 c = 0; c < 3; ++c) {
        double const x = orientation[0][c] * s[0], y = orientation[1][c] * s[1], z = orientation[2][c] * s[2];
        for (UInt32 i = 0; i < 3; ++i)
            _matrix[c][i] = static_cast<T>(turned[0][i] * x + turned[1][i] * y + turned[2][i] * z);
        _matrix[c][3] = 0;
    }
    _matrix[3].setValues(t[0], t[1], t[2], 1);
}

template <>
void QuaternionBase<Real32>::setValue(TransformationMatrix<Real32> const& matrix)
{
    auto const m = [&matrix](UInt32 row, UInt32 column) { return static_cast<double>(matrix[column][row]); };
    // What stands for 1 in a rotation: the size of a column.
    double squares = 0;
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            squares += m(r, c) * m(r, c);
    double const one = std::sqrt(squares / 3);
    double const trace = m(0, 0) + m(1, 1) + m(2, 2);

    // Four times the largest of the components (or nearly) times the quaternion: nothing cancels.
    double q[4];
    if (trace > 0) {
        q[0] = m(2, 1) - m(1, 2);
        q[1] = m(0, 2) - m(2, 0);
        q[2] = m(1, 0) - m(0, 1);
        q[3] = trace + one;
    } else {
        UInt32 const i = m(1, 1) > m(0, 0) ? (m(2, 2) > m(1, 1) ? 2 : 1) : (m(2, 2) > m(0, 0) ? 2 : 0);
        UInt32 const j = (i + 1) % 3, k = (j + 1) % 3;
        q[i] = m(i, i) - m(j, j) - m(k, k) + one;
        q[j] = m(j, i) + m(i, j);
        q[k] = m(k, i) + m(i, k);
        q[3] = m(k, j) - m(j, k);
    }
    double const square = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
    if (square == 0)
        return setIdentity();
    double const factor = 1 / std::sqrt(square);
    for (UInt32 i = 0; i < 4; ++i)
        _quat[i] = static_cast<Real32>(q[i] * factor);
}

template void TransformationMatrix<Real32>::setRotate(Quaternion const&);
template void TransformationMatrix<Real32>::setTransform(Vec3f const&, Quaternion const&, Vec3f const&, Quaternion const&);

OSG_END_NAMESPACE
