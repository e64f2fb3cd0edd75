#include "OpenSG/OSGMatrix.h"

#include <algorithm>
#include <cmath>
#include <limits>

OSG_BEGIN_NAMESPACE

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
void TransformationMatrix<T>::setRotate(QuaternionType const& r)
{
    double const x = r.x(), y = r.y(), z = r.z(), w = r.w();
    double const columns[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)},
                                  {2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)},
                                  {2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)}};
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 i = 0; i < 3; ++i)
            _matrix[c][i] = static_cast<T>(columns[c][i]);
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
void TransformationMatrix<T>::setTransform(VectorType3f const& t, QuaternionType const& r, VectorType3f const& s,
                                           QuaternionType const& so)
{
    QuaternionType turned = r;
    turned.mult(so);
    TransformationMatrix back;
    back.setTransform(so.inverse());
    setTransform(t, turned, s);
    mult(back);
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
void TransformationMatrix<T>::add(TransformationMatrix const& matrix)
{
    for (UInt32 c = 0; c < 4; ++c)
        _matrix[c] += matrix[c];
}

template <class T>
void TransformationMatrix<T>::addScaled(TransformationMatrix const& matrix, T s)
{
    for (UInt32 c = 0; c < 4; ++c)
        _matrix[c] += matrix[c] * s;
}

template <class T>
void TransformationMatrix<T>::scale(T s)
{
    for (VectorType& column : _matrix)
        column *= s;
}

template <class T>
void TransformationMatrix<T>::negate()
{
    for (VectorType& column : _matrix)
        column = -column;
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
    return T(1);
}

template <class T>
T TransformationMatrix<T>::det() const
{
    return T(1);
}

template <class T>
bool TransformationMatrix<T>::invert()
{
    return false;
}

template <class T>
bool TransformationMatrix<T>::inverse(TransformationMatrix& result) const
{
    result = *this;
    return result.invert();
}

template <class T>
bool TransformationMatrix<T>::logOf(TransformationMatrix const&)
{
    return false;
}

template <class T>
bool TransformationMatrix<T>::expOf(TransformationMatrix const&)
{
    return false;
}

template <class T>
void TransformationMatrix<T>::polarDecompose(TransformationMatrix&, TransformationMatrix&, T&) const
{
}

template <class T>
void TransformationMatrix<T>::spectralDecompose(TransformationMatrix&, VectorType3f&) const
{
}

template <>
void QuaternionBase<Real32>::setValue(TransformationMatrix<Real32> const&)
{
}

template class TransformationMatrix<Real32>;

OSG_END_NAMESPACE
