#include "OpenSG/OSGMatrix.h"

#include <Eigen/Eigenvalues>
#include <Eigen/LU>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <utility>

OSG_BEGIN_NAMESPACE

// What is costly is computed in double precision and rounded once. No transcendental function of the C library
// is called: which variant of one runs, and so its last bit, depends on the CPU.

namespace {

using Matrix4 = Eigen::Matrix4d;

Matrix4 widen(Matrix const& matrix)
{
    return Eigen::Map<Eigen::Matrix4f const>(matrix.getValues()).cast<double>();
}

bool fail(Matrix& result)
{
    std::fill_n(result.getValues(), 16, std::numeric_limits<Real32>::quiet_NaN());
    return false;
}

/// Stores sixteen values, column by column; NaN throughout and false if one of them does not fit.
bool narrow(double const* values, Matrix& result)
{
    Real32* const stored = result.getValues();
    for (int i = 0; i < 16; ++i)
        stored[i] = static_cast<Real32>(values[i]);
    Real32 misfit = 0;
    for (int i = 0; i < 16; ++i)
        misfit += stored[i] * 0;
    return misfit == 0 || fail(result);
}

/// The e of 2^e <= |value| < 2^(e+1); -1023 for 0.
int exponentOf(double value)
{
    return static_cast<int>(std::bit_cast<std::uint64_t>(value) >> 52 & 0x7ff) - 1023;
}

/// 2^exponent, for -1022 <= exponent <= 1023.
double powerOfTwo(int exponent)
{
    return std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

bool isAffine(double const* m)
{
    return m[3] == 0 && m[7] == 0 && m[11] == 0;
}

// ---- Determinant --------------------------------------------------------------------------------------------

/// `bound` is what the absolute values of the products add up to. A value that is lost in the rounding of such
/// a sum is a zero.
struct Determinant {
    double value = 0, bound = 0;
    bool isZero() const { return !(std::abs(value) > 4e-15 * bound); }
};

Determinant determinant(Matrix4 const& m)
{
    // Laplace's expansion: minors of the upper two rows times minors of the lower two.
    constexpr int columns[6][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
    constexpr int signs[6] = {1, -1, 1, 1, -1, 1};
    auto const minor = [&m](int row, int const (&c)[2]) {
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

// ---- Exponential: halving, a Taylor polynomial of degree 12 (remainder 1/13! = 2e-10), squaring ------------

using Pair [[gnu::vector_size(16)]] = double;

/// Four columns of two pairs each: sixteen doubles, column by column.
struct Columns {
    Pair _pairs[4][2];

    double* values() { return reinterpret_cast<double*>(_pairs); }
};

/// result = a * b; `result` may be one of them.
inline void multiply(Columns const& a, Columns const& b, Columns& result)
{
    Columns product;
    for (int c = 0; c < 4; ++c) {
        Pair const upper = b._pairs[c][0], lower = b._pairs[c][1];
        Pair const x = {upper[0], upper[0]}, y = {upper[1], upper[1]};
        Pair const z = {lower[0], lower[0]}, w = {lower[1], lower[1]};
        for (int half = 0; half < 2; ++half)
            product._pairs[c][half] = (a._pairs[0][half] * x + a._pairs[1][half] * y)
                + (a._pairs[2][half] * z + a._pairs[3][half] * w);
    }
    result = product;
}

/// 1 / n!
constexpr std::array<double, 13> taylor = [] {
    std::array<double, 13> result{};
    double factorial = 1;
    for (int n = 0; n < 13; factorial *= ++n)
        result[n] = 1 / factorial;
    return result;
}();

/// The halvings that bring the norm of m to 1 or below; -1 if m is not finite.
int halvingsFor(double const* m)
{
    double sums[4];
    for (int c = 0; c < 4; ++c)
        sums[c] = std::abs(m[4 * c]) + std::abs(m[4 * c + 1]) + std::abs(m[4 * c + 2]) + std::abs(m[4 * c + 3]);
    if (!(sums[0] + sums[1] + sums[2] + sums[3] <= std::numeric_limits<double>::max()))
        return -1;
    // The exponential is linear in the translation of an affine matrix: its size costs no accuracy.
    if (isAffine(m))
        sums[3] = std::abs(m[15]);
    return std::max(0, exponentOf(std::max({sums[0], sums[1], sums[2], sums[3]})) + 1);
}

/// result = exp(matrix), where matrix / 2^halvings is small.
inline void exponential(Columns const& matrix, int halvings, Columns& result)
{
    double const factor = powerOfTwo(-halvings);
    Columns x, square, cube;
    for (int c = 0; c < 4; ++c)
        for (int half = 0; half < 2; ++half)
            x._pairs[c][half] = matrix._pairs[c][half] * factor;
    multiply(x, x, square);
    multiply(x, square, cube);
    for (int c = 0; c < 4; ++c)
        for (int half = 0; half < 2; ++half)
            result._pairs[c][half] = cube._pairs[c][half] * taylor[12];
    for (int n : {9, 6, 3, 0}) {
        for (int c = 0; c < 4; ++c) {
            for (int half = 0; half < 2; ++half)
                result._pairs[c][half] +=
                    x._pairs[c][half] * taylor[n + 1] + square._pairs[c][half] * taylor[n + 2];
            result._pairs[c][c / 2] += c % 2 == 0 ? Pair{taylor[n], 0} : Pair{0, taylor[n]};
        }
        if (n > 0)
            multiply(cube, result, result);
    }
    for (; halvings > 0; --halvings)
        multiply(result, result, result);
}

// ---- Logarithm ----------------------------------------------------------------------------------------------

using Complex = std::complex<double>;
using Schur = Eigen::ComplexSchur<Matrix4>;

/// The root in the right half plane.
Complex squareRoot(Complex z)
{
    double const larger = std::sqrt((std::sqrt(std::norm(z)) + std::abs(z.real())) / 2);
    double const smaller = larger == 0 ? 0 : z.imag() / (2 * larger);
    return z.real() >= 0 ? Complex(larger, smaller) : Complex(std::abs(smaller), std::copysign(larger, z.imag()));
}

/// Replaces an upper triangular matrix by its square root (Bjorck and Hammarling, 1983).
void takeSquareRoot(Eigen::Matrix4cd& t)
{
    for (int c = 0; c < 4; ++c) {
        t(c, c) = squareRoot(t(c, c));
        for (int r = c - 1; r >= 0; --r) {
            Complex sum = t(r, c);
            for (int k = r + 1; k < c; ++k)
                sum -= t(r, k) * t(k, c);
            t(r, c) = sum / (t(r, r) + t(c, c));
        }
    }
}

/// The logarithm with angles between -pi and pi, by square roots until 2 artanh((T - 1) / (T + 1)) converges
/// quickly (inverse scaling and squaring; Kenney and Laub, 1989).
bool principalLog(Schur const& schur, Matrix4& result)
{
    Eigen::Matrix4cd const unit = Eigen::Matrix4cd::Identity();
    Eigen::Matrix4cd t = schur.matrixT();
    double factor = 2;
    auto const distance = [&] { return (t - unit).cwiseAbs2().sum(); };
    // Exponents of floats leave room for less than 300 roots; a NaN would go on for ever.
    for (int roots = 0; !(distance() < 0.05); ++roots, factor *= 2) {
        if (roots == 300)
            return false;
        takeSquareRoot(t);
    }
    Eigen::Matrix4cd const z = (t + unit).triangularView<Eigen::Upper>().solve(t - unit);
    Eigen::Matrix4cd const square = z * z;
    Eigen::Matrix4cd sum = unit / 15;
    for (double n : {13., 11., 9., 7., 5., 3., 1.})
        sum = sum * square + unit / n;
    result = factor * (schur.matrixU() * (z * sum) * schur.matrixU().adjoint()).real();
    return true;
}

/// A plane that a matrix turns by about half a turn.
struct TurnedPlane {
    Matrix4 _projector;
    Matrix4 _quarter; ///< turns the plane by a right angle, and is 0 elsewhere
    double _turn, _scale, _stretch; ///< in the plane the matrix is _turn * _quarter - _scale, but for a stretch
};

/// The invariant plane of two eigenvalues near the negative real axis; the sum and the product of the others.
TurnedPlane turnedPlane(Matrix4 const& m, double mean, double otherSum, double otherProduct)
{
    // A polynomial of the matrix that vanishes for the other eigenvalues.
    Matrix4 const polynomial = (m * m - otherSum * m + otherProduct * Matrix4::Identity())
        / (mean * mean - otherSum * mean + otherProduct);
    Eigen::Matrix<double, 4, 2> basis;
    Matrix4 rest = polynomial;
    for (int i = 0; i < 2; ++i) {
        int largest;
        rest.colwise().squaredNorm().maxCoeff(&largest);
        basis.col(i) = rest.col(largest).normalized();
        rest -= basis.col(i) * (basis.col(i).transpose() * rest).eval();
    }
    Eigen::Matrix<double, 2, 4> dual = basis.transpose() * polynomial;
    dual = (dual * basis).inverse() * dual;

    Eigen::Matrix2d const inside = dual * m * basis;
    Eigen::Matrix2d const quarter{{0, -1}, {1, 0}};
    double const difference = (inside(0, 0) - inside(1, 1)) / 2, skew = (inside(1, 0) + inside(0, 1)) / 2;
    TurnedPlane plane{basis * dual, basis * quarter * dual, (inside(1, 0) - inside(0, 1)) / 2,
                      -(inside(0, 0) + inside(1, 1)) / 2, std::sqrt(difference * difference + skew * skew)};
    // Of the two ways round an exact half turn the one about the axis whose largest component is positive, as
    // in its quaternion.
    Matrix4 const& q = plane._quarter;
    double const axis[3] = {q(2, 1) - q(1, 2), q(0, 2) - q(2, 0), q(1, 0) - q(0, 1)};
    double largest = 0;
    for (double component : axis)
        largest = std::abs(component) > std::abs(largest) ? component : largest;
    if (plane._turn != 0 ? plane._turn < 0 : largest < 0) {
        plane._quarter = -plane._quarter;
        plane._turn = -plane._turn;
    }
    return plane;
}

/// The real logarithm. What floats leave of a half turn, or nearly one, has a stretch from rounding beside it, and
/// the logarithm of both together is ill-conditioned or does not exist: without that stretch it is a turn again.
/// Exact half turns are taken out, since a square root cannot know which way they go, and added to the logarithm
/// of the rest.
bool realLog(Matrix4 m, Matrix4& result)
{
    Matrix4 const unit = Matrix4::Identity();
    Matrix4 halfTurns = Matrix4::Zero();
    Schur schur(m);
    for (int pairs = 0; pairs < 2 && schur.info() == Eigen::Success; ++pairs) {
        Eigen::Vector4cd values = schur.matrixT().diagonal();
        auto const isNearNegative = [](Complex v) { return std::abs(v.imag()) <= -0.3 * v.real(); };
        auto const end = std::partition(values.data(), values.data() + 4, isNearNegative);
        if (end - values.data() < 2)
            break;
        std::partial_sort(values.data(), values.data() + 2, end,
                          [](Complex a, Complex b) { return a.real() < b.real(); });
        double const mean = (values[0].real() + values[1].real()) / 2;
        TurnedPlane plane;
        if ((m - mean * unit).cwiseAbs().maxCoeff() <= -1e-6 * mean) {
            // Both pairs at once: every plane is turned alike.
            plane = {unit, Matrix4::Zero(), 0, -mean, 0};
            plane._quarter(1, 0) = plane._quarter(3, 2) = 1;
            plane._quarter(0, 1) = plane._quarter(2, 3) = -1;
        } else {
            plane = turnedPlane(m, mean, (values[2] + values[3]).real(), (values[2] * values[3]).real());
        }
        // Of a clear turn less is taken for rounding.
        double const rounding = (plane._turn < 2 * plane._stretch ? 1e-6 : 4e-7) * plane._scale;
        if (!(plane._stretch <= rounding)) {
            if (!(plane._turn > plane._stretch))
                return false;
            break;
        }
        m = (unit - plane._projector) * m * (unit - plane._projector);
        if (plane._turn > 1e-6 * plane._scale) {
            m += plane._turn * plane._quarter - plane._scale * plane._projector;
            pairs = 2;
        } else {
            m += plane._scale * plane._projector;
            halfTurns += (EIGEN_PI - plane._turn / plane._scale) * plane._quarter;
        }
        schur.compute(m);
    }
    if (schur.info() != Eigen::Success || !principalLog(schur, result))
        return false;
    result += halfTurns;
    return true;
}

// ---- Decompositions of 3x3 matrices, columns of three -------------------------------------------------------

using Matrix3 = double[3][3];

double dot(double const* a, double const* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void cross(double const* a, double const* b, double* result)
{
    result[0] = a[1] * b[2] - a[2] * b[1];
    result[1] = a[2] * b[0] - a[0] * b[2];
    result[2] = a[0] * b[1] - a[1] * b[0];
}

/// Eigenvectors of a symmetric matrix and its eigenvalues by cyclic Jacobi rotations, starting at the identity, so
/// that both stay with the axes they are nearest to.
void diagonalize(Matrix3 const& s, Matrix3& vectors, double (&values)[3])
{
    // The vectors' upper two rows, and their third.
    Pair pairs[2][3] = {{{1, 0}, {0, 1}, {0, 0}}, {{0, 0}, {0, 0}, {1, 0}}};
    for (int i = 0; i < 3; ++i)
        values[i] = s[i][i];
    // The element in neither row nor column i, and its square: the next rotation starts from the square, which is
    // known before the cosine is.
    double off[3] = {s[1][2], s[2][0], s[0][1]};
    double square[3] = {off[0] * off[0], off[1] * off[1], off[2] * off[2]};
    bool rotated;
    auto const rotate = [&](int p, int q, int other) {
        double const pivot = off[other], difference = (values[p] - values[q]) / 2;
        if (!(std::abs(pivot) > 1e-8 * (std::abs(values[p]) + std::abs(values[q]))))
            return;
        rotated = true;
        double const half = std::sqrt(difference * difference + square[other]), sum = half + std::abs(difference);
        double const tangent = (difference < 0 ? -pivot : pivot) / sum;
        double const cosine2 = sum / (2 * half), cosine = std::sqrt(cosine2), sine = tangent * cosine;
        values[p] += tangent * pivot;
        values[q] -= tangent * pivot;
        double const p1 = off[q] + tangent * off[p], q1 = off[p] - tangent * off[q];
        off[other] = square[other] = 0;
        off[q] = cosine * p1;
        off[p] = cosine * q1;
        square[q] = cosine2 * (p1 * p1);
        square[p] = cosine2 * (q1 * q1);
        Pair const c = {cosine, cosine}, n = {sine, sine};
        for (auto& rows : pairs) {
            Pair const atP = rows[p], atQ = rows[q];
            rows[p] = c * atP + n * atQ;
            rows[q] = c * atQ - n * atP;
        }
    };
    // Convergence is quadratic: three or four sweeps are usual.
    for (int sweep = 0; sweep < 20; ++sweep) {
        rotated = false;
        rotate(0, 1, 2);
        rotate(2, 0, 1);
        rotate(1, 2, 0);
        if (!rotated)
            break;
    }
    for (int i = 0; i < 3; ++i) {
        vectors[i][0] = pairs[0][i][0];
        vectors[i][1] = pairs[0][i][1];
        vectors[i][2] = pairs[1][i][0];
    }
}

/// A rotation Q with Q^T m symmetric, for m with a vanishing singular value: what m leaves open is filled in.
void orthogonalFactorOfSingular(Matrix3 const& m, Matrix3& q)
{
    Matrix3 product, v, image;
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 3; ++r)
            product[c][r] = dot(m[c], m[r]);
    double length[3];
    diagonalize(product, v, length);
    for (int i = 0; i < 3; ++i) {
        for (int r = 0; r < 3; ++r)
            image[i][r] = m[0][r] * v[i][0] + m[1][r] * v[i][1] + m[2][r] * v[i][2];
        length[i] = std::sqrt(dot(image[i], image[i]));
    }
    int order[3] = {0, 1, 2};
    std::sort(order, order + 3, [&length](int a, int b) { return length[a] > length[b]; });

    // Three perpendicular directions before (from) and after (to).
    Matrix3 from, to;
    auto const setTo = [&](int i, double const* direction) {
        double const along = i == 0 ? 0 : dot(to[0], direction);
        for (int r = 0; r < 3; ++r)
            to[i][r] = direction[r] - (i == 0 ? 0 : along * to[0][r]);
        double const size = std::sqrt(dot(to[i], to[i]));
        for (int r = 0; r < 3; ++r)
            to[i][r] /= size;
        return size;
    };
    std::copy_n(v[order[0]], 3, from[0]);
    setTo(0, length[order[0]] > 0 ? image[order[0]] : from[0]);
    std::copy_n(v[order[1]], 3, from[1]);
    if (length[order[1]] <= 1e-7 * length[order[0]] || setTo(1, image[order[1]]) <= 1e-7 * length[order[0]]) {
        // A line is left: turn no further than it takes.
        if (std::abs(dot(to[0], from[1])) > std::abs(dot(to[0], v[order[2]])))
            std::copy_n(v[order[2]], 3, from[1]);
        setTo(1, from[1]);
    }
    cross(from[0], from[1], from[2]);
    cross(to[0], to[1], to[2]);
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 3; ++r)
            q[c][r] = to[0][r] * from[0][c] + to[1][r] * from[1][c] + to[2][r] * from[2][c];
}

/// The orthogonal factor of m, whose elements are of the order of 1; returns its determinant. Newton's iteration:
/// the mean of a matrix and its inverse transpose (Higham, 1986).
double orthogonalFactor(Matrix3 const& m, Matrix3& q)
{
    std::copy_n(m[0], 9, q[0]);
    // Ten steps take the smallest singular value that gets here, 2^-24, to 1.
    double sign = 1, change = 10;
    for (int step = 0; change > 1e-8 && step < 30; ++step) {
        Matrix3 cofactor;
        cross(q[1], q[2], cofactor[0]);
        cross(q[2], q[0], cofactor[1]);
        cross(q[0], q[1], cofactor[2]);
        double const det = dot(q[0], cofactor[0]);
        double keep = 0.5, inverse = 0.5 / det;
        if (change > 1) {
            double const size = dot(q[0], q[0]) + dot(q[1], q[1]) + dot(q[2], q[2]);
            double const cofactorSize =
                dot(cofactor[0], cofactor[0]) + dot(cofactor[1], cofactor[1]) + dot(cofactor[2], cofactor[2]);
            if (step == 0) {
                // Flat, to the precision of floats: there is no telling which side is up.
                if (!(det * det > 0x1p-48 * size * cofactorSize)) {
                    orthogonalFactorOfSingular(m, q);
                    return 1;
                }
                sign = det < 0 ? -1 : 1;
            }
            // What makes matrix and inverse equally large; it need not be exact.
            float const ratio = std::sqrt(static_cast<float>(cofactorSize / size));
            keep *= std::sqrt(ratio / static_cast<float>(std::abs(det)));
            inverse *= std::sqrt(static_cast<float>(std::abs(det)) / ratio);
        }
        // What is left is the square of this change.
        change = 0;
        for (int c = 0; c < 3; ++c)
            for (int r = 0; r < 3; ++r) {
                double const next = keep * q[c][r] + inverse * cofactor[c][r];
                change += (next - q[c][r]) * (next - q[c][r]);
                q[c][r] = next;
            }
    }
    return sign;
}

/// The rotation of a quaternion x, y, z, w of any length but 0; as columns.
void rotationOf(double const (&quaternion)[4], Matrix3& result)
{
    auto const& [x, y, z, w] = quaternion;
    double const square = x * x + y * y + z * z + w * w;
    double const s = square > 0 ? 2 / square : 0;
    double const sx = s * x, sy = s * y, sz = s * z;
    result[0][0] = 1 - (sy * y + sz * z);
    result[0][1] = sx * y + sz * w;
    result[0][2] = sx * z - sy * w;
    result[1][0] = sx * y - sz * w;
    result[1][1] = 1 - (sx * x + sz * z);
    result[1][2] = sy * z + sx * w;
    result[2][0] = sx * z + sy * w;
    result[2][1] = sy * z - sx * w;
    result[2][2] = 1 - (sx * x + sy * y);
}

/// What the absolute values of the upper 3x3 part add up to; not finite if one of them is not.
double size3(Matrix const& m)
{
    double sums[3];
    for (UInt32 c = 0; c < 3; ++c)
        sums[c] = std::abs(static_cast<double>(m[c][0])) + std::abs(static_cast<double>(m[c][1]))
            + std::abs(static_cast<double>(m[c][2]));
    return sums[0] + sums[1] + sums[2];
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
void TransformationMatrix<T>::setRotate(QuaternionType const& r)
{
    Matrix3 columns;
    rotationOf({r.x(), r.y(), r.z(), r.w()}, columns);
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
    // Scaled columns of R SO times the rows of SO^-1, which are the columns of SO.
    double const a[4] = {r.x(), r.y(), r.z(), r.w()}, b[4] = {so.x(), so.y(), so.z(), so.w()};
    Matrix3 turned, orientation;
    rotationOf({a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
                a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2],
                a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0],
                a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]}, turned);
    rotationOf(b, orientation);
    for (UInt32 c = 0; c < 3; ++c) {
        double const x = orientation[0][c] * s[0], y = orientation[1][c] * s[1], z = orientation[2][c] * s[2];
        for (UInt32 i = 0; i < 3; ++i)
            _matrix[c][i] = static_cast<T>(turned[0][i] * x + turned[1][i] * y + turned[2][i] * z);
        _matrix[c][3] = 0;
    }
    _matrix[3].setValues(t[0], t[1], t[2], 1);
}

template <class T>
void TransformationMatrix<T>::mult(TransformationMatrix const& matrix)
{
    TransformationMatrix result;
    for (UInt32 c = 0; c < 4; ++c)
        for (UInt32 r = 0; r < 4; ++r)
            result[c][r] = _matrix[0][r] * matrix[c][0] + _matrix[1][r] * matrix[c][1]
                + _matrix[2][r] * matrix[c][2] + _matrix[3][r] * matrix[c][3];
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
    return static_cast<T>(determinant(upper).value);
}

template <class T>
T TransformationMatrix<T>::det() const
{
    return static_cast<T>(determinant(widen(*this)).value);
}

template <class T>
bool TransformationMatrix<T>::inverse(TransformationMatrix& result) const
{
    Matrix4 const m = widen(*this);
    TransformationMatrix inverted;
    if (!m.allFinite() || determinant(m).isZero() || !narrow(m.inverse().eval().data(), inverted))
        return false;
    result = inverted;
    return true;
}

template <class T>
bool TransformationMatrix<T>::invert()
{
    return inverse(*this);
}

template <class T>
bool TransformationMatrix<T>::expOf(TransformationMatrix const& matrix)
{
    Columns x;
    for (UInt32 c = 0; c < 4; ++c) {
        x._pairs[c][0] = Pair{matrix[c][0], matrix[c][1]};
        x._pairs[c][1] = Pair{matrix[c][2], matrix[c][3]};
    }
    int const halvings = halvingsFor(x.values());
    if (halvings < 0)
        return fail(*this);
    Columns result;
    exponential(x, halvings, result);
    return narrow(result.values(), *this);
}

template <class T>
bool TransformationMatrix<T>::logOf(TransformationMatrix const& matrix)
{
    Matrix4 m = widen(matrix);
    if (!m.allFinite())
        return fail(*this);
    Determinant const det = determinant(m);
    if (det.isZero() || det.value < 0)
        return fail(*this);

    // A change of the unit of length that brings translation and projective part to the size of the rest. Powers
    // of two are exact.
    bool const affine = isAffine(m.data());
    double const translation = m.col(3).head<3>().cwiseAbs().sum();
    double const projection = m.row(3).head<3>().cwiseAbs().sum();
    int unit = 0;
    if (translation != 0)
        unit = affine ? exponentOf(m.topLeftCorner<3, 3>().cwiseAbs().sum()) - exponentOf(translation)
                      : (exponentOf(projection) - exponentOf(translation)) / 2;
    m.col(3).head<3>() *= powerOfTwo(unit);
    m.row(3).head<3>() *= powerOfTwo(-unit);

    Matrix4 result;
    if (!realLog(m, result))
        return fail(*this);
    // Where the elements differ by more than doubles can hold, the steps above lose their way without noticing.
    Columns negative, inverse;
    Eigen::Map<Matrix4>(negative.values()) = -result;
    int const halvings = halvingsFor(negative.values());
    if (halvings < 0)
        return fail(*this);
    exponential(negative, halvings, inverse);
    if (!((Eigen::Map<Matrix4>(inverse.values()) * m - Matrix4::Identity()).cwiseAbs().maxCoeff() < 1e-4))
        return fail(*this);

    result.col(3).head<3>() *= powerOfTwo(-unit);
    result.row(3).head<3>() *= powerOfTwo(unit);
    if (affine && m(3, 3) > 0) {
        result.row(3).head<3>().setZero();
        if (m(3, 3) == 1)
            result(3, 3) = 0;
    }
    return narrow(result.data(), *this);
}

template <class T>
void TransformationMatrix<T>::polarDecompose(TransformationMatrix& Q, TransformationMatrix& S, T& det) const
{
    TransformationMatrix const source = *this;
    Q.setIdentity();
    S.setIdentity();
    double const size = size3(source);
    if (!std::isfinite(size)) {
        det = std::numeric_limits<T>::quiet_NaN();
        fail(Q);
        fail(S);
        return;
    }
    int const exponent = size > 0 ? exponentOf(size) - 1 : 0;
    Matrix3 m, q;
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            m[c][r] = source[c][r] * powerOfTwo(-exponent);
    det = static_cast<T>(orthogonalFactor(m, q));
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r) {
            Q[c][r] = static_cast<T>(q[c][r]);
            S[c][r] = static_cast<T>((dot(q[c], m[r]) + dot(q[r], m[c])) / 2 * powerOfTwo(exponent));
        }
    S[3][3] = source[3][3];
}

template <class T>
void TransformationMatrix<T>::spectralDecompose(TransformationMatrix& SO, VectorType3f& k) const
{
    TransformationMatrix const source = *this;
    SO.setIdentity();
    if (!std::isfinite(size3(source))) {
        fail(SO);
        k.setValue(SO.getValues());
        return;
    }
    Matrix3 s, vectors;
    double values[3];
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            s[c][r] = (static_cast<double>(source[c][r]) + source[r][c]) / 2;
    diagonalize(s, vectors, values);
    for (UInt32 c = 0; c < 3; ++c) {
        k[c] = static_cast<T>(values[c]);
        for (UInt32 r = 0; r < 3; ++r)
            SO[c][r] = static_cast<T>(vectors[c][r]);
    }
}

template <>
void QuaternionBase<Real32>::setValue(TransformationMatrix<Real32> const& matrix)
{
    auto const m = [&matrix](UInt32 row, UInt32 column) { return static_cast<double>(matrix[column][row]); };
    // What stands for 1 in a rotation: the size of a column.
    double squares = 0;
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            squares += m(r, c) * m(r, c);
    double const one = std::sqrt(squares / 3);
    double const trace = m(0, 0) + m(1, 1) + m(2, 2);

    // Four times the largest of the components (or nearly) times the quaternion: nothing cancels.
    double q[4];
    if (trace > 0) {
        q[0] = m(2, 1) - m(1, 2);
        q[1] = m(0, 2) - m(2, 0);
        q[2] = m(1, 0) - m(0, 1);
        q[3] = trace + one;
    } else {
        UInt32 const i = m(1, 1) > m(0, 0) ? (m(2, 2) > m(1, 1) ? 2 : 1) : (m(2, 2) > m(0, 0) ? 2 : 0);
        UInt32 const j = (i + 1) % 3, k = (j + 1) % 3;
        q[i] = m(i, i) - m(j, j) - m(k, k) + one;
        q[j] = m(j, i) + m(i, j);
        q[k] = m(k, i) + m(i, k);
        q[3] = m(k, j) - m(j, k);
    }
    double const square = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
    if (square == 0)
        return setIdentity();
    double const factor = 1 / std::sqrt(square);
    for (UInt32 i = 0; i < 4; ++i)
        _quat[i] = static_cast<Real32>(q[i] * factor);
}

template class TransformationMatrix<Real32>;

OSG_END_NAMESPACE
