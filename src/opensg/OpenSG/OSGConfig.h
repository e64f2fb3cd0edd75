#pragma once

#include <cstdint>

#define OSG_BASELIB_DLLMAPPING __attribute__((visibility("default")))
#define OSG_BEGIN_NAMESPACE namespace osg {
#define OSG_END_NAMESPACE }
#define OSG_USING_NAMESPACE using namespace osg;

OSG_BEGIN_NAMESPACE

using Char8 = char;
using Int8 = std::int8_t;
using UInt8 = std::uint8_t;
using Int16 = std::int16_t;
using UInt16 = std::uint16_t;
using Int32 = std::int32_t;
using UInt32 = std::uint32_t;
using Int64 = std::int64_t;
using UInt64 = std::uint64_t;
using Real32 = float;
using Real64 = double;

/// Tolerance of the comparisons of vectors, colours, quaternions and matrices.
template <class ValueTypeT>
inline constexpr ValueTypeT Eps = static_cast<ValueTypeT>(1e-6);

/// Whether a and b differ by no more than `tolerance`; a NaN differs from everything.
template <class ValueTypeT>
constexpr bool equalWithin(ValueTypeT a, ValueTypeT b, ValueTypeT tolerance)
{
    return a - b <= tolerance && b - a <= tolerance;
}

OSG_END_NAMESPACE
