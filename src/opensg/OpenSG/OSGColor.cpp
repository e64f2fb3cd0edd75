#include "OpenSG/OSGColor.h"

#include <cmath>
#include <iostream>

OSG_BEGIN_NAMESPACE

// Where a float meets a double literal the arithmetic is double, and what is stored is rounded to float: the
// results of OpenSG 1.8 depend on it.

template <>
void Color3<Real32>::convertToHSV(Real32 const* rgb, Real32& hue, Real32& saturation, Real32& value)
{
    Real32 const red = rgb[0], green = rgb[1], blue = rgb[2];
    bool const redLeads = red > green;
    bool const blueLargest = blue > (redLeads ? red : green);
    Real32 const largest = blueLargest ? blue : redLeads ? red : green;
    // Written out, as above: a NaN decides by its place.
    Real32 const smallest = red < green ? (blue < red ? blue : red) : (blue < green ? blue : green);
    Real32 const delta = largest - smallest;

    value = largest;
    saturation = largest != 0 ? delta / largest : 0;
    if (saturation == 0) {
        hue = 0;
        return;
    }
    if (blueLargest)
        hue = static_cast<Real32>((4.0 + (red - green) / delta) * 60.0);
    else if (redLeads)
        hue = static_cast<Real32>((green - blue) / delta * 60.0);
    else
        hue = static_cast<Real32>((2.0 + (blue - red) / delta) * 60.0);
    if (hue < 0)
        hue = static_cast<Real32>(hue + 360.0);
}

template <>
void Color3<Real32>::convertFromHSV(Real32* rgb, Real32 hue, Real32 saturation, Real32 value)
{
    auto const set = [rgb](Real32 red, Real32 green, Real32 blue) {
        rgb[0] = red;
        rgb[1] = green;
        rgb[2] = blue;
    };
    if (saturation == 0)
        return set(value, value, value);

    Real32 const turn = static_cast<Real32>((hue == 360.f ? 0.0 : hue) / 60.0);
    Real32 const sector = std::trunc(turn); // also of a negative hue
    // Compared as a number: a NaN or an infinity has no integer to switch on.
    if (!(sector >= 0 && sector <= 5)) {
        std::cerr << "ERROR i not in [0, 5] in Color::setHSV()!" << std::endl;
        return;
    }
    Real32 const f = turn - sector;
    Real32 const p = static_cast<Real32>(value * (1.0 - saturation));
    Real32 const q = static_cast<Real32>(value * (1.0 - saturation * f));
    Real32 const t = static_cast<Real32>(value * (1.0 - saturation * (1 - f)));
    switch (static_cast<int>(sector)) {
    case 0: return set(value, t, p);
    case 1: return set(q, value, p);
    case 2: return set(p, value, t);
    case 3: return set(p, q, value);
    case 4: return set(t, p, value);
    default: return set(value, p, q);
    }
}

OSG_END_NAMESPACE
