#pragma once

#include "OpenSG/OSGConfig.h"
#include "OpenSG/OSGQuaternion.h"
#include "OpenSG/OSGVector.h"

OSG_BEGIN_NAMESPACE

/// A 4x4 matrix for column vectors, the identity by default. It is stored as four columns, so a translation is
/// elements 12 to 14. Every function ends for every input, infinities and NaN included; angles are radians.
template <class ValueTypeT>
class OSG_BASELIB_DLLMAPPING TransformationMatrix {
public:
    using ValueType = ValueTypeT;
    using VectorType = Vector<ValueType, 4>;
    using VectorType3f = Vector<ValueType, 3>;
    using QuaternionType = QuaternionBase<ValueType>;

    constexpr TransformationMatrix() = default;
    /// Row by row, as the matrix is written on paper.
    constexpr TransformationMatrix(ValueType v00, ValueType v01, ValueType v02, ValueType v03, ValueType v10, ValueType v11,
                                   ValueType v12, ValueType v13, ValueType v20, ValueType v21, ValueType v22, ValueType v23,
                                   ValueType v30, ValueType v31, ValueType v32, ValueType v33)
    {
        setValue(v00, v01, v02, v03, v10, v11, v12, v13, v20, v21, v22, v23, v30, v31, v32, v33);
    }

    static TransformationMatrix const& identity();
    constexpr void setIdentity() { *this = TransformationMatrix(); }
    /// Row by row, as the matrix is written on paper.
    constexpr void setValue(ValueType v00, ValueType v01, ValueType v02, ValueType v03, ValueType v10, ValueType v11,
                            ValueType v12, ValueType v13, ValueType v20, ValueType v21, ValueType v22, ValueType v23,
                            ValueType v30, ValueType v31, ValueType v32, ValueType v33)
    {
        _matrix[0].setValues(v00, v10, v20, v30);
        _matrix[1].setValues(v01, v11, v21, v31);
        _matrix[2].setValues(v02, v12, v22, v32);
        _matrix[3].setValues(v03, v13, v23, v33);
    }
    /// Sixteen numbers column by column (elements 0 to 15), or row by row if `transposed` is false.
    constexpr void setValue(ValueType const* values, bool transposed = true)
    {
        for (UInt32 c = 0; c < 4; ++c)
            for (UInt32 r = 0; r < 4; ++r)
                _matrix[c][r] = values[transposed ? 4 * c + r : 4 * r + c];
    }

    /// The sixteen elements, column by column.
    ValueType* getValues() { return _matrix[0].getValues(); }
    ValueType const* getValues() const { return _matrix[0].getValues(); }
    /// A column.
    constexpr VectorType& operator[](UInt32 column) { return _matrix[column]; }
    constexpr VectorType const& operator[](UInt32 column) const { return _matrix[column]; }

    /// Replace the translation part, the rotation part (upper 3x3) or the diagonal; the rest stays as it is.
    void setTranslate(ValueType x, ValueType y, ValueType z);
    void setTranslate(VectorType3f const& t) { setTranslate(t[0], t[1], t[2]); }
    void setRotate(QuaternionType const& r);
    void setScale(ValueType s) { setScale(s, s, s); }
    void setScale(ValueType x, ValueType y, ValueType z);
    void setScale(VectorType3f const& s) { setScale(s[0], s[1], s[2]); }

    /// The matrix T R SO S SO^-1, what is not given being the identity. The quaternions may have any length.
    void setTransform(VectorType3f const& t);
    void setTransform(QuaternionType const& r);
    void setTransform(VectorType3f const& t, QuaternionType const& r);
    void setTransform(VectorType3f const& t, QuaternionType const& r, VectorType3f const& s);
    void setTransform(VectorType3f const& t, QuaternionType const& r, VectorType3f const& s, QuaternionType const& so);

    /// this = this * matrix.
    void mult(TransformationMatrix const& matrix);
    /// this = matrix * this.
    void multLeft(TransformationMatrix const& matrix);
    /// this = this + matrix, element by element.
    constexpr void add(TransformationMatrix const& matrix)
    {
        for (UInt32 c = 0; c < 4; ++c)
            _matrix[c] += matrix[c];
    }
    /// this = this + s * matrix, element by element.
    constexpr void addScaled(TransformationMatrix const& matrix, ValueType s)
    {
        for (UInt32 c = 0; c < 4; ++c)
            _matrix[c] += matrix[c] * s;
    }
    /// All sixteen elements times s.
    constexpr void scale(ValueType s)
    {
        for (VectorType& column : _matrix)
            column *= s;
    }
    /// All sixteen elements with the other sign.
    constexpr void negate() { scale(ValueType(-1)); }

    /// The upper three rows applied to a point (x, y, z, 1).
    void multMatrixPnt(VectorType3f const& source, VectorType3f& result) const;
    /// The upper 3x3 part applied to a direction.
    void multMatrixVec(VectorType3f const& source, VectorType3f& result) const;

    /// Determinant of the upper 3x3 part, of the whole.
    ValueType det3() const;
    ValueType det() const;
    /// Always true.
    bool transpose();
    /// False, and no change, if the matrix is singular or not finite.
    bool invert();
    bool inverse(TransformationMatrix& result) const;

    /// this = the real logarithm of `matrix`; a half turn has one. False, and NaN in every element, if there is
    /// none: the matrix is singular, not finite or has a negative eigenvalue that is not one of an equal pair.
    /// Of a rotation, the logarithm is the axis times an angle of at most pi; of an exact half turn, the axis whose
    /// largest component is positive, as in its quaternion.
    ///
    /// Near a half turn, a stretch in the plane of the turn that rounding explains is taken out first: up to 1e-6 of
    /// the scale there and, where the upper 3x3 part has few decimals (see polarDecompose), up to one unit of its last
    /// one if the turn is within 200 such stretches of a half turn. That is all of a real stretch that is lost: 1e-4
    /// of a key of scale 1 with four decimals, 1e-5 with five, 1e-6 with six or more; 1e-3 with three or fewer.
    bool logOf(TransformationMatrix const& matrix);
    /// this = the exponential of `matrix`. False, and NaN in every element, if the matrix is not finite or its
    /// exponential leaves the range of the elements.
    bool expOf(TransformationMatrix const& matrix);

    bool equals(TransformationMatrix const& other, ValueType tolerance) const;
    /// Within 1e-6 per element.
    bool operator==(TransformationMatrix const& other) const { return equals(other, Eps<ValueType>); }
    bool operator!=(TransformationMatrix const& other) const { return !(*this == other); }

protected:
    /// this = Q S, for a matrix without translation and projective part: Q orthogonal, mirroring if this does,
    /// S symmetric without negative eigenvalues, det = the determinant of Q's upper 3x3 part, 1 or -1 (1 if this
    /// is singular). Both factors carry element 15: Q 1 and S its value. NaN throughout if the upper 3x3 part
    /// is not finite. Q S is this to 2e-6 of the largest element, but for what few decimals cannot tell: if all nine
    /// elements have d decimals, 10^-d being between a millionth and a five-hundredth of the size of a column, then
    /// eigenvalues of S that differ by up to 2 * 10^-d are taken for equal, with an error of up to 10^-d. Fewer
    /// decimals count as the fewest in that range.
    void polarDecompose(TransformationMatrix& Q, TransformationMatrix& S, ValueType& det) const;
    /// The symmetric part of the upper 3x3 part = SO diag(k) SO^T to 2e-6 of the largest element, SO a rotation. The
    /// factors are in the order of the axes they belong to, unsorted; between factors that differ by no more than
    /// 1e-6 of the largest, SO does not turn. NaN throughout if that part is not finite.
    void spectralDecompose(TransformationMatrix& SO, VectorType3f& k) const;

private:
    VectorType _matrix[4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

using Matrix = TransformationMatrix<Real32>;

template <>
void QuaternionBase<Real32>::setValue(TransformationMatrix<Real32> const& matrix);

extern template class TransformationMatrix<Real32>;

OSG_END_NAMESPACE
