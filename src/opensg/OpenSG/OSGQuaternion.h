#pragma once

#include "OpenSG/OSGConfig.h"
#include "OpenSG/OSGVector.h"

#include <cmath>

OSG_BEGIN_NAMESPACE

template <class ValueTypeT>
class TransformationMatrix;

/// A quaternion x, y, z, w; the identity by default. Angles are radians unless a name says degrees.
template <class ValueTypeT>
class OSG_BASELIB_DLLMAPPING QuaternionBase {
public:
    using ValueType = ValueTypeT;
    using VectorType = Vector<ValueType, 3>;

    constexpr QuaternionBase() = default;
    QuaternionBase(VectorType const& axis, ValueType angle) { setValueAsAxisRad(axis, angle); }

    static QuaternionBase identity() { return {}; }
    void setIdentity() { *this = QuaternionBase(); }
    void setValueAsQuat(ValueType x, ValueType y, ValueType z, ValueType w)
    {
        _quat[0] = x;
        _quat[1] = y;
        _quat[2] = z;
        _quat[3] = w;
    }
    void setValueAsQuat(ValueType const* values) { setValueAsQuat(values[0], values[1], values[2], values[3]); }
    /// An axis shorter than 1e-6 gives the identity.
    void setValueAsAxisRad(ValueType x, ValueType y, ValueType z, ValueType angle)
    {
        ValueType const length = std::sqrt(x * x + y * y + z * z);
        if (!(length > Eps<ValueType>)) {
            setIdentity();
            return;
        }
        ValueType const half = angle * ValueType(0.5);
        ValueType const scale = std::sin(half) / length;
        setValueAsQuat(x * scale, y * scale, z * scale, std::cos(half));
    }
    void setValueAsAxisRad(VectorType const& axis, ValueType angle) { setValueAsAxisRad(axis[0], axis[1], axis[2], angle); }
    void setValueAsAxisDeg(VectorType const& axis, ValueType degrees)
    {
        setValueAsAxisRad(axis, degrees * ValueType(0.017453292519943295));
    }
    /// The rotation in the upper 3x3 part of a matrix.
    void setValue(TransformationMatrix<ValueType> const& matrix);

    ValueType x() const { return _quat[0]; }
    ValueType y() const { return _quat[1]; }
    ValueType z() const { return _quat[2]; }
    ValueType w() const { return _quat[3]; }
    ValueType const* getValues() const { return _quat; }
    ValueType& operator[](UInt32 i) { return _quat[i]; }
    ValueType const& operator[](UInt32 i) const { return _quat[i]; }

    ValueType length() const
    {
        return std::sqrt(_quat[0] * _quat[0] + _quat[1] * _quat[1] + _quat[2] * _quat[2] + _quat[3] * _quat[3]);
    }
    /// A quaternion shorter than 1e-6 stays as it is.
    void normalize()
    {
        ValueType const size = length();
        ValueType const factor = std::abs(size) < Eps<ValueType> ? ValueType(1) : ValueType(1) / size;
        for (ValueType& value : _quat)
            value *= factor;
    }
    /// The inverse of a unit quaternion.
    void invert() { setValueAsQuat(-_quat[0], -_quat[1], -_quat[2], _quat[3]); }
    QuaternionBase inverse() const
    {
        QuaternionBase result = *this;
        result.invert();
        return result;
    }

    /// this = this * other, normalised.
    void mult(QuaternionBase const& other) { mult(_quat, other._quat); }
    /// this = other * this, normalised.
    void multLeft(QuaternionBase const& other) { mult(other._quat, _quat); }
    void operator*=(QuaternionBase const& other) { mult(other); }

    /// `source` turned by this unit quaternion.
    void multVec(VectorType const& source, VectorType& result) const
    {
        VectorType const axis(_quat[0], _quat[1], _quat[2]);
        VectorType const twice = axis.cross(source) * ValueType(2);
        result = source + twice * _quat[3] + axis.cross(twice);
    }

    bool equals(QuaternionBase const& other, ValueType tolerance) const
    {
        for (UInt32 i = 0; i < 4; ++i)
            if (!equalWithin(_quat[i], other._quat[i], tolerance))
                return false;
        return true;
    }
    bool operator==(QuaternionBase const& other) const { return equals(other, Eps<ValueType>); }
    bool operator!=(QuaternionBase const& other) const { return !(*this == other); }

protected:
    /// The Hamilton product a * b, normalised. Either may be this quaternion's own values.
    /// In nine multiplications, in the order in which OpenSG 1.8 rounds.
    void mult(ValueType const a[4], ValueType const b[4])
    {
        ValueType const s1 = (a[2] - a[1]) * (b[1] - b[2]);
        ValueType const s2 = (a[3] + a[0]) * (b[3] + b[0]);
        ValueType const s3 = (a[3] - a[0]) * (b[1] + b[2]);
        ValueType const s4 = (a[2] + a[1]) * (b[3] - b[0]);
        ValueType const s5 = (a[2] - a[0]) * (b[0] - b[1]);
        ValueType const s6 = (a[2] + a[0]) * (b[0] + b[1]);
        ValueType const s7 = (a[3] + a[1]) * (b[3] - b[2]);
        ValueType const s8 = (a[3] - a[1]) * (b[3] + b[2]);
        ValueType const s9 = s6 + s7 + s8;
        ValueType const t = (s5 + s9) / 2;
        setValueAsQuat(s2 + t - s9, s3 + t - s8, s4 + t - s7, s1 + t - s6);
        normalize();
    }

private:
    ValueType _quat[4] = {0, 0, 0, 1};
};

using Quaternion = QuaternionBase<Real32>;

OSG_END_NAMESPACE
