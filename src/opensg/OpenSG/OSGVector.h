#pragma once

#include "OpenSG/OSGConfig.h"

#include <cmath>

OSG_BEGIN_NAMESPACE

/// A vector of 2 to 4 components, zero by default. Comparisons are within 1e-6 per component.
template <class ValueTypeT, UInt32 SizeI>
class OSG_BASELIB_DLLMAPPING Vector {
public:
    using ValueType = ValueTypeT;
    static constexpr UInt32 _iSize = SizeI;

    constexpr Vector() = default;
    explicit constexpr Vector(ValueType const* values) { setValue(values); }
    constexpr Vector(ValueType x, ValueType y) requires(SizeI == 2) : _values{x, y} {}
    constexpr Vector(ValueType x, ValueType y, ValueType z) requires(SizeI == 3) : _values{x, y, z} {}
    constexpr Vector(ValueType x, ValueType y, ValueType z, ValueType w) requires(SizeI == 4) : _values{x, y, z, w} {}

    constexpr void setNull() { *this = Vector(); }
    constexpr void setValue(ValueType const* values)
    {
        for (UInt32 i = 0; i < SizeI; ++i)
            _values[i] = values[i];
    }
    constexpr void setValues(ValueType x, ValueType y) requires(SizeI == 2) { *this = Vector(x, y); }
    constexpr void setValues(ValueType x, ValueType y, ValueType z) requires(SizeI == 3) { *this = Vector(x, y, z); }
    constexpr void setValues(ValueType x, ValueType y, ValueType z, ValueType w) requires(SizeI == 4)
    {
        *this = Vector(x, y, z, w);
    }

    constexpr ValueType* getValues() { return _values; }
    constexpr ValueType const* getValues() const { return _values; }
    constexpr ValueType& operator[](UInt32 i) { return _values[i]; }
    constexpr ValueType const& operator[](UInt32 i) const { return _values[i]; }
    constexpr ValueType& x() { return _values[0]; }
    constexpr ValueType x() const { return _values[0]; }
    constexpr ValueType& y() { return _values[1]; }
    constexpr ValueType y() const { return _values[1]; }
    constexpr ValueType& z() requires(SizeI > 2) { return _values[2]; }
    constexpr ValueType z() const requires(SizeI > 2) { return _values[2]; }
    constexpr ValueType& w() requires(SizeI > 3) { return _values[3]; }
    constexpr ValueType w() const requires(SizeI > 3) { return _values[3]; }

    constexpr ValueType dot(Vector const& other) const
    {
        ValueType sum = _values[0] * other._values[0];
        for (UInt32 i = 1; i < SizeI; ++i)
            sum += _values[i] * other._values[i];
        return sum;
    }
    constexpr Vector cross(Vector const& o) const requires(SizeI == 3)
    {
        return {y() * o.z() - z() * o.y(), z() * o.x() - x() * o.z(), x() * o.y() - y() * o.x()};
    }
    constexpr ValueType squareLength() const { return dot(*this); }
    ValueType length() const { return std::sqrt(squareLength()); }
    /// A vector shorter than 1e-6 stays as it is.
    void normalize()
    {
        ValueType const size = length();
        if (!(size < Eps<ValueType>))
            *this *= ValueType(1) / size;
    }

    constexpr Vector& operator*=(ValueType factor)
    {
        for (ValueType& value : _values)
            value *= factor;
        return *this;
    }
    constexpr Vector& operator/=(ValueType divisor)
    {
        for (ValueType& value : _values)
            value /= divisor;
        return *this;
    }
    constexpr Vector& operator+=(Vector const& other)
    {
        for (UInt32 i = 0; i < SizeI; ++i)
            _values[i] += other._values[i];
        return *this;
    }
    constexpr Vector& operator-=(Vector const& other)
    {
        for (UInt32 i = 0; i < SizeI; ++i)
            _values[i] -= other._values[i];
        return *this;
    }
    constexpr Vector operator*(ValueType factor) const { return Vector(*this) *= factor; }
    constexpr Vector operator/(ValueType divisor) const { return Vector(*this) /= divisor; }
    constexpr Vector operator+(Vector const& other) const { return Vector(*this) += other; }
    constexpr Vector operator-(Vector const& other) const { return Vector(*this) -= other; }
    constexpr Vector operator-() const { return Vector(*this) *= ValueType(-1); }

    constexpr bool equals(Vector const& other, ValueType tolerance) const
    {
        for (UInt32 i = 0; i < SizeI; ++i)
            if (!equalWithin(_values[i], other._values[i], tolerance))
                return false;
        return true;
    }
    constexpr bool operator==(Vector const& other) const { return equals(other, Eps<ValueType>); }
    constexpr bool operator!=(Vector const& other) const { return !(*this == other); }

private:
    ValueType _values[SizeI] = {};
};

using Vec2f = Vector<Real32, 2>;
using Vec3f = Vector<Real32, 3>;
using Vec4f = Vector<Real32, 4>;

OSG_END_NAMESPACE
