#pragma once

#include "OpenSG/OSGConfig.h"

OSG_BEGIN_NAMESPACE

/// Red, green and blue; black by default, no range enforced.
/// Hue is in degrees from 0 to 360, saturation and value are in the units of the components (hexcone model;
/// Smith, "Color Gamut Transform Pairs", SIGGRAPH 1978).
template <class ValueTypeT>
class OSG_BASELIB_DLLMAPPING Color3 {
public:
    using ValueType = ValueTypeT;

    constexpr Color3() = default;
    constexpr Color3(ValueType red, ValueType green, ValueType blue) : _rgb{red, green, blue} {}

    constexpr void setValuesRGB(ValueType red, ValueType green, ValueType blue) { *this = Color3(red, green, blue); }
    constexpr void getValuesRGB(ValueType& red, ValueType& green, ValueType& blue) const
    {
        red = _rgb[0];
        green = _rgb[1];
        blue = _rgb[2];
    }
    constexpr ValueType const* getValuesRGB() const { return _rgb; }
    constexpr ValueType red() const { return _rgb[0]; }
    constexpr ValueType green() const { return _rgb[1]; }
    constexpr ValueType blue() const { return _rgb[2]; }
    constexpr ValueType& operator[](UInt32 i) { return _rgb[i]; }
    constexpr ValueType const& operator[](UInt32 i) const { return _rgb[i]; }

    /// A saturation of 0 gives a grey, a hue of 360 is a hue of 0. A hue that lies in none of the six sectors
    /// (a NaN, say) is reported on the standard error stream and leaves the colour as it is.
    void setValuesHSV(Real32 hue, Real32 saturation, Real32 value) { convertFromHSV(_rgb, hue, saturation, value); }
    void getValuesHSV(Real32& hue, Real32& saturation, Real32& value) const { convertToHSV(_rgb, hue, saturation, value); }
    static void convertFromHSV(ValueType* rgb, Real32 hue, Real32 saturation, Real32 value);
    static void convertToHSV(ValueType const* rgb, Real32& hue, Real32& saturation, Real32& value);

    constexpr bool equals(Color3 const& other, ValueType tolerance) const
    {
        for (UInt32 i = 0; i < 3; ++i)
            if (!equalWithin(_rgb[i], other._rgb[i], tolerance))
                return false;
        return true;
    }
    constexpr bool operator==(Color3 const& other) const { return equals(other, Eps<ValueType>); }
    constexpr bool operator!=(Color3 const& other) const { return !(*this == other); }

private:
    ValueType _rgb[3] = {};
};

using Color3f = Color3<Real32>;

OSG_END_NAMESPACE
