#pragma once

// What the files of OSGMatrix share; not installed.
//
// What is costly is computed in double precision and rounded once. No transcendental function of the C library is
// called: which variant of one runs, and so its last bit, depends on the CPU.

#include "OpenSG/OSGMatrix.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

OSG_BEGIN_NAMESPACE

namespace matrixMath {

/// NaN throughout; returns false.
bool fail(Matrix& result);

/// The e of 2^e <= |value| < 2^(e+1); -1023 for 0, 1024 for infinities and NaN.
inline int exponentOf(double value)
{
    return static_cast<int>(std::bit_cast<std::uint64_t>(value) >> 52 & 0x7ff) - 1023;
}

/// 2^exponent, for -1022 <= exponent <= 1023.
inline double powerOfTwo(int exponent)
{
    return std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

/// The index of the largest of three, the first of equal ones.
template <class Number>
int largestOf(Number x, Number y, Number z)
{
    return y > x ? (z > y ? 2 : 1) : (z > x ? 2 : 0);
}

/// Two lanes of doubles. Each operation is exact to the bit on every CPU and compiler.
using Pair [[gnu::vector_size(16)]] = double;

/// Four columns of two pairs each: sixteen doubles, column by column.
struct Columns {
    Pair _pairs[4][2];

    double* values() { return reinterpret_cast<double*>(_pairs); }
};

/// Stores sixteen values; NaN throughout and false if one of them does not fit.
inline bool narrow(Columns const& values, Matrix& result)
{
    using Quad [[gnu::vector_size(16)]] = Real32;
    // Four sums, not one that waits for its own last addition each time.
    Quad misfit = {0, 0, 0, 0};
    for (UInt32 c = 0; c < 4; ++c) {
        Pair const upper = values._pairs[c][0], lower = values._pairs[c][1];
        Quad const column = {static_cast<Real32>(upper[0]), static_cast<Real32>(upper[1]), static_cast<Real32>(lower[0]),
                             static_cast<Real32>(lower[1])};
        std::memcpy(result[c].getValues(), &column, sizeof column);
        misfit += column * 0;
    }
    return (misfit[0] + misfit[1]) + (misfit[2] + misfit[3]) == 0 || fail(result);
}

/// `bound` is what the absolute values of the products add up to. A value that is lost in the rounding of such a sum
/// is a zero.
struct Determinant {
    double value = 0, bound = 0;
    bool isZero() const { return !(std::abs(value) > 4e-15 * bound); }
};
/// Of sixteen elements, column by column.
Determinant determinant(double const* elements);

/// A change of the unit of length, 2^this, that brings the translation to the size of the upper 3x3 part or, where that
/// makes the projective part larger than this, makes the two equal; without a translation, that of the projective part. Of sixteen elements, column by column.
int unitOfLength(double const* elements);
/// elements = the same map in that unit. Powers of two are exact.
void scaleLength(int unit, double* elements);

/// result = exp(matrix); false if the matrix is not finite.
bool exponential(Columns const& matrix, Columns& result);

/// How far apart numbers are that are written with as many decimals as the upper 3x3 part: 10^-d, where all nine
/// elements are what d decimals are read as, but at most a thousandth of the largest element; 0 if they have more
/// decimals than can be told from those of any float, which is so from about the seventh significant digit on.
double unitOfDecimals(Matrix const& matrix);

} // namespace matrixMath

OSG_END_NAMESPACE
