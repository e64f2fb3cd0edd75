// The exponential by scaling and squaring (Higham, Functions of Matrices, SIAM 2008, chapter 10).

#include "OpenSG/MatrixMath.h"

#include <algorithm>
#include <array>
#include <limits>

OSG_BEGIN_NAMESPACE

using namespace matrixMath;

namespace {

/// 1 / n!
constexpr std::array<double, 16> taylor = [] {
    std::array<double, 16> result{};
    double factorial = 1;
    for (int n = 0; n < 16; factorial *= ++n)
        result[n] = 1 / factorial;
    return result;
}();

// ---- Affine maps: the bottom row of their logarithm is 0 ----------------------------------------------------

/// a + b x + c x^2, of e^x in the first lane and of (e^x - 1) / x, the integral for the translation, in the second.
struct Polynomials {
    Pair _a, _b, _c;
};

Pair twice(double value)
{
    return Pair{value, value};
}

/// The upper part A of `log` satisfies its own characteristic equation, A^3 = c2 A^2 + c1 A + c0, so that every power
/// series in A is a polynomial of degree 2. Its coefficients are numbers: series and squarings cost fewer steps than
/// with matrices, and nine products of vectors at the end make the result. False if a result does not fit a float.
///
/// Numbers cancel where A / 2^halvings has large coefficients: in squarings errors grow by up to 4 each time, which
/// leaves 1e-9 after eight of them.
inline bool exponentialOfAffine(Columns const& log, int halvings, Matrix& exponential)
{
    double const xx = log._pairs[0][0][0], xy = log._pairs[0][0][1], xz = log._pairs[0][1][0];
    double const yx = log._pairs[1][0][0], yy = log._pairs[1][0][1], yz = log._pairs[1][1][0];
    double const zx = log._pairs[2][0][0], zy = log._pairs[2][0][1], zz = log._pairs[2][1][0];
    double const minor = yy * zz - zy * yz;
    double const half = powerOfTwo(-halvings), quarter = half * half;
    double const c2 = (xx + yy + zz) * half;
    double const c1 = ((xy * yx - xx * yy) + (zx * xz - xx * zz) - minor) * quarter;
    double const c0 = (xx * minor + (xy * (zx * yz - yx * zz) + xz * (yx * zy - zx * yy))) * (quarter * half);

    // x^3, x^4 and x^5 as polynomials of degree 2: what takes a polynomial times x^3 back to one.
    double const d0 = c2 * c0, d1 = c0 + c2 * c1, d2 = c1 + c2 * c2;
    Pair const third[3] = {twice(c0), twice(c1), twice(c2)};
    Pair const fourth[3] = {twice(d0), twice(d1), twice(d2)};
    Pair const fifth[3] = {twice(d2 * c0), twice(d0 + d2 * c1), twice(d1 + d2 * c2)};

    // Degree 14: where the halvings leave a norm of at most the root of 2, the rest is below 2^7.5 / 15! = 1.4e-10.
    auto const term = [](int n) { return Pair{taylor[n], taylor[n + 1]}; };
    Polynomials p = {term(12), term(13), term(14)};
    for (int n = 9; n >= 0; n -= 3)
        p = {(third[0] * p._a + term(n)) + (fourth[0] * p._b + fifth[0] * p._c),
             (third[1] * p._a + term(n + 1)) + (fourth[1] * p._b + fifth[1] * p._c),
             (third[2] * p._a + term(n + 2)) + (fourth[2] * p._b + fifth[2] * p._c)};

    // e^2x = e^x e^x; the integral over twice the way is (e^x + 1) times that over the way (halved: at the end).
    for (int i = 0; i < halvings; ++i) {
        Pair const a = Pair{p._a[0], p._a[0]} + Pair{0, 1}, b = {p._b[0], p._b[0]}, c = {p._c[0], p._c[0]};
        Pair const cubic = p._b * c + p._c * b, quartic = p._c * c;
        p = {(p._a * a + third[0] * cubic) + fourth[0] * quartic,
             (p._a * b + p._b * a) + (third[1] * cubic + fourth[1] * quartic),
             (p._a * c + p._c * a) + (p._b * b + third[2] * cubic) + fourth[2] * quartic};
    }

    p = {p._a * Pair{1, half}, p._b * Pair{half, quarter}, p._c * Pair{quarter, quarter * half}};
    auto const timesUpper = [&log](Pair const(&v)[2], int i) {
        return (log._pairs[0][i] * twice(v[0][0]) + log._pairs[1][i] * twice(v[0][1])) + log._pairs[2][i] * twice(v[1][0]);
    };
    Columns result;
    for (int c = 0; c < 4; ++c) {
        Pair const(&one)[2] = log._pairs[c];
        Pair const two[2] = {timesUpper(one, 0), timesUpper(one, 1)};
        for (int i = 0; i < 2; ++i)
            if (c < 3)
                result._pairs[c][i] = one[i] * twice(p._b[0]) + two[i] * twice(p._c[0]);
            else
                result._pairs[c][i] = (one[i] * twice(p._a[1]) + two[i] * twice(p._b[1])) + timesUpper(two, i) * twice(p._c[1]);
    }
    result._pairs[0][0] += Pair{p._a[0], 0};
    result._pairs[1][0] += Pair{0, p._a[0]};
    result._pairs[2][1] += Pair{p._a[0], 0};
    result._pairs[3][1] += Pair{0, 1};
    return narrow(result, exponential);
}

// ---- All others: a Taylor polynomial of degree 12, of three matrix products ----------------------------------

/// result = a * b; `result` may be one of them.
inline void multiply(Columns const& a, Columns const& b, Columns& result)
{
    Columns product;
    for (int c = 0; c < 4; ++c) {
        Pair const upper = b._pairs[c][0], lower = b._pairs[c][1];
        Pair const x = {upper[0], upper[0]}, y = {upper[1], upper[1]};
        Pair const z = {lower[0], lower[0]}, w = {lower[1], lower[1]};
        for (int half = 0; half < 2; ++half)
            product._pairs[c][half] =
                (a._pairs[0][half] * x + a._pairs[1][half] * y) + (a._pairs[2][half] * z + a._pairs[3][half] * w);
    }
    result = product;
}

/// The halvings that bring the norm of m to 1 or below; -1 if m is not finite.
int halvingsFor(double const* m)
{
    double sums[4];
    for (int c = 0; c < 4; ++c)
        sums[c] = std::abs(m[4 * c]) + std::abs(m[4 * c + 1]) + std::abs(m[4 * c + 2]) + std::abs(m[4 * c + 3]);
    if (!(sums[0] + sums[1] + sums[2] + sums[3] <= std::numeric_limits<double>::max()))
        return -1;
    return std::max(0, exponentOf(std::max({sums[0], sums[1], sums[2], sums[3]})) + 1);
}

} // namespace

int matrixMath::unitOfLength(double const* m)
{
    double const translation = std::abs(m[12]) + std::abs(m[13]) + std::abs(m[14]);
    double const projection = std::abs(m[3]) + std::abs(m[7]) + std::abs(m[11]);
    double upper = 0;
    for (int c = 0; c < 3; ++c)
        upper += std::abs(m[4 * c]) + std::abs(m[4 * c + 1]) + std::abs(m[4 * c + 2]);
    int const size = std::max(exponentOf(upper), -149); // no float is smaller, but for 0
    int unit = translation != 0 ? size - exponentOf(translation) : projection != 0 ? exponentOf(projection) - size : 0;
    if (exponentOf(projection) - unit > size)
        unit = (exponentOf(projection) - exponentOf(translation)) / 2;
    return std::clamp(unit, -500, 500);
}

void matrixMath::scaleLength(int unit, double* m)
{
    for (int i = 0; i < 3; ++i) {
        m[12 + i] *= powerOfTwo(unit);
        m[4 * i + 3] *= powerOfTwo(-unit);
    }
}

bool matrixMath::exponential(Columns const& matrix, Columns& result)
{
    Columns x = matrix, square, cube;
    // Otherwise a large translation would ask for halvings in which the rest is lost.
    int const unit = unitOfLength(x.values());
    scaleLength(unit, x.values());
    int const halvings = halvingsFor(x.values());
    if (halvings < 0)
        return false;
    double const factor = powerOfTwo(-halvings);
    for (int c = 0; c < 4; ++c)
        for (int half = 0; half < 2; ++half)
            x._pairs[c][half] *= factor;
    multiply(x, x, square);
    multiply(x, square, cube);
    for (int c = 0; c < 4; ++c)
        for (int half = 0; half < 2; ++half)
            result._pairs[c][half] = cube._pairs[c][half] * taylor[12];
    // The rest is below 1 / 13! = 2e-10.
    for (int n : {9, 6, 3, 0}) {
        for (int c = 0; c < 4; ++c) {
            for (int half = 0; half < 2; ++half)
                result._pairs[c][half] += x._pairs[c][half] * taylor[n + 1] + square._pairs[c][half] * taylor[n + 2];
            result._pairs[c][c / 2] += c % 2 == 0 ? Pair{taylor[n], 0} : Pair{0, taylor[n]};
        }
        if (n > 0)
            multiply(cube, result, result);
    }
    for (int i = 0; i < halvings; ++i)
        multiply(result, result, result);
    scaleLength(-unit, result.values());
    return true;
}

template <class T>
bool TransformationMatrix<T>::expOf(TransformationMatrix const& matrix)
{
    Columns x;
    for (UInt32 c = 0; c < 4; ++c) {
        x._pairs[c][0] = Pair{matrix[c][0], matrix[c][1]};
        x._pairs[c][1] = Pair{matrix[c][2], matrix[c][3]};
    }
    if (matrix[0][3] == 0 && matrix[1][3] == 0 && matrix[2][3] == 0 && matrix[3][3] == 0) {
        Pair squares = {0, 0};
        for (int c = 0; c < 3; ++c)
            squares += x._pairs[c][0] * x._pairs[c][0] + x._pairs[c][1] * x._pairs[c][1];
        // The square of the Frobenius norm is to be at most 2. Infinities and NaN have the largest exponent.
        int const halvings = std::max(0, (exponentOf(squares[0] + squares[1]) + 1) >> 1);
        if (halvings <= 8)
            return exponentialOfAffine(x, halvings, *this);
    }
    Columns result;
    return exponential(x, result) ? narrow(result, *this) : fail(*this);
}

template bool TransformationMatrix<Real32>::expOf(Matrix const&);

OSG_END_NAMESPACE
