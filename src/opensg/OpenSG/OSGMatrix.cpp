#include "OpenSG/MatrixMath.h"

#include <Eigen/LU>

#include <algorithm>
#include <limits>
#include <utility>

OSG_BEGIN_NAMESPACE

using namespace matrixMath;

bool matrixMath::fail(Matrix& result)
{
    std::fill_n(result.getValues(), 16, std::numeric_limits<Real32>::quiet_NaN());
    return false;
}

matrixMath::Determinant matrixMath::determinant(double const* elements)
{
    // Laplace's expansion: minors of the upper two rows times minors of the lower two.
    constexpr int columns[6][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
    constexpr int signs[6] = {1, -1, 1, 1, -1, 1};
    auto const m = [elements](int row, int column) { return elements[4 * column + row]; };
    auto const minor = [&m](int row, int const(&c)[2]) {
        double const a = m(row, c[0]) * m(row + 1, c[1]), b = m(row, c[1]) * m(row + 1, c[0]);
        return Determinant{a - b, std::abs(a) + std::abs(b)};
    };
    Determinant sum;
    for (int i = 0; i < 6; ++i) {
        Determinant const upper = minor(0, columns[i]), lower = minor(2, columns[5 - i]);
        sum.value += signs[i] * upper.value * lower.value;
        sum.bound += upper.bound * lower.bound;
    }
    return sum;
}

namespace {

using Matrix4 = Eigen::Matrix4d;

Matrix4 widen(Matrix const& matrix)
{
    return Eigen::Map<Eigen::Matrix4f const>(matrix.getValues()).cast<double>();
}

} // namespace

template <class T>
TransformationMatrix<T> const& TransformationMatrix<T>::identity()
{
    static constexpr TransformationMatrix result;
    return result;
}

template <class T>
void TransformationMatrix<T>::setTranslate(T x, T y, T z)
{
    _matrix[3][0] = x;
    _matrix[3][1] = y;
    _matrix[3][2] = z;
}

template <class T>
void TransformationMatrix<T>::setScale(T x, T y, T z)
{
    _matrix[0][0] = x;
    _matrix[1][1] = y;
    _matrix[2][2] = z;
}

template <class T>
void TransformationMatrix<T>::setTransform(VectorType3f const& t)
{
    setIdentity();
    setTranslate(t);
}

template <class T>
void TransformationMatrix<T>::setTransform(QuaternionType const& r)
{
    setIdentity();
    setRotate(r);
}

template <class T>
void TransformationMatrix<T>::setTransform(VectorType3f const& t, QuaternionType const& r)
{
    setTransform(r);
    setTranslate(t);
}

template <class T>
void TransformationMatrix<T>::setTransform(VectorType3f const& t, QuaternionType const& r, VectorType3f const& s)
{
    setTransform(t, r);
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 i = 0; i < 3; ++i)
            _matrix[c][i] *= s[c];
}

template <class T>
void TransformationMatrix<T>::mult(TransformationMatrix const& matrix)
{
    TransformationMatrix result;
    for (UInt32 c = 0; c < 4; ++c)
        for (UInt32 r = 0; r < 4; ++r)
            result[c][r] = _matrix[0][r] * matrix[c][0] + _matrix[1][r] * matrix[c][1] + _matrix[2][r] * matrix[c][2]
                + _matrix[3][r] * matrix[c][3];
    *this = result;
}

template <class T>
void TransformationMatrix<T>::multLeft(TransformationMatrix const& matrix)
{
    TransformationMatrix result = matrix;
    result.mult(*this);
    *this = result;
}

template <class T>
void TransformationMatrix<T>::multMatrixPnt(VectorType3f const& source, VectorType3f& result) const
{
    VectorType3f const point = source;
    for (UInt32 r = 0; r < 3; ++r)
        result[r] = _matrix[0][r] * point[0] + _matrix[1][r] * point[1] + _matrix[2][r] * point[2] + _matrix[3][r];
}

template <class T>
void TransformationMatrix<T>::multMatrixVec(VectorType3f const& source, VectorType3f& result) const
{
    VectorType3f const direction = source;
    for (UInt32 r = 0; r < 3; ++r)
        result[r] = _matrix[0][r] * direction[0] + _matrix[1][r] * direction[1] + _matrix[2][r] * direction[2];
}

template <class T>
bool TransformationMatrix<T>::transpose()
{
    for (UInt32 c = 0; c < 4; ++c)
        for (UInt32 r = 0; r < c; ++r)
            std::swap(_matrix[c][r], _matrix[r][c]);
    return true;
}

template <class T>
bool TransformationMatrix<T>::equals(TransformationMatrix const& other, T tolerance) const
{
    for (UInt32 c = 0; c < 4; ++c)
        if (!_matrix[c].equals(other[c], tolerance))
            return false;
    return true;
}

template <class T>
T TransformationMatrix<T>::det3() const
{
    Matrix4 upper = widen(*this);
    upper.row(3) = upper.col(3) = Eigen::Vector4d::Unit(3);
    return static_cast<T>(determinant(upper.data()).value);
}

template <class T>
T TransformationMatrix<T>::det() const
{
    return static_cast<T>(determinant(widen(*this).data()).value);
}

template <class T>
bool TransformationMatrix<T>::inverse(TransformationMatrix& result) const
{
    Matrix4 const m = widen(*this);
    TransformationMatrix inverted;
    Columns columns;
    if (!m.allFinite() || determinant(m.data()).isZero())
        return false;
    Eigen::Map<Matrix4>(columns.values()) = m.inverse();
    if (!narrow(columns, inverted))
        return false;
    result = inverted;
    return true;
}

template <class T>
bool TransformationMatrix<T>::invert()
{
    return inverse(*this);
}

template class TransformationMatrix<Real32>;

OSG_END_NAMESPACE
