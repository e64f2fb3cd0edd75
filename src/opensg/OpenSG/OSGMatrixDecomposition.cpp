// Polar and spectral decomposition (Shoemake and Duff, Matrix Animation and Polar Decomposition, 1992).

#include "OpenSG/MatrixMath.h"

#include <algorithm>
#include <limits>

OSG_BEGIN_NAMESPACE

using namespace matrixMath;

namespace {

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
/// that both stay with the axes they are nearest to. Two values that differ by no more than twice `tolerance` count as
/// equal: which directions of their plane are eigenvectors is then left to chance, and they are not turned.
void diagonalize(Matrix3 const& s, double tolerance, Matrix3& vectors, double (&values)[3])
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
        // Convergence is quadratic: what the next rotation would leave is far below the rounding of floats.
        if (!(std::abs(pivot) > 1e-8 * (std::abs(values[p]) + std::abs(values[q]))))
            return;
        double const half = std::sqrt(difference * difference + square[other]), sum = half + std::abs(difference);
        if (!(half > tolerance))
            return;
        rotated = true;
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
    // Three or four sweeps are usual.
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
    diagonalize(product, 0, v, length);
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

/// What a symmetric matrix is without the differences of its eigenvalues that are below 2 * tolerance.
void dropBelow(double tolerance, Matrix3& s)
{
    Matrix3 v;
    double k[3];
    diagonalize(s, tolerance, v, k);
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r <= c; ++r) // the other way round it would be rounded otherwise
            s[c][r] = s[r][c] = k[0] * v[0][c] * v[0][r] + k[1] * v[1][c] * v[1][r] + k[2] * v[2][c] * v[2][r];
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

double matrixMath::unitOfDecimals(Matrix const& matrix)
{
    double squares = 0;
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            squares += static_cast<double>(matrix[c][r]) * matrix[c][r];
    double const size = std::sqrt(squares / 3);
    // 1.5 * 2^52: what is added to it is rounded to an integer.
    auto const fits = [&matrix](double scale) {
        for (UInt32 c = 0; c < 3; ++c)
            for (UInt32 r = 0; r < 3; ++r) {
                double const scaled = matrix[c][r] * scale;
                double const whole = (scaled + 0x1.8p52) - 0x1.8p52;
                if (!(std::abs(scaled - whole) <= std::abs(scaled) * 0x1.01p-24))
                    return false;
            }
        return true;
    };
    double scale = 1;
    for (int decimals = 0; decimals <= 12 && size * scale < 1.1e6; ++decimals, scale *= 10)
        if (size * scale >= 500 && fits(scale))
            return 1 / scale;
    return 0;
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
    Matrix3 m, q, s;
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            m[c][r] = source[c][r] * powerOfTwo(-exponent);
    det = static_cast<T>(orthogonalFactor(m, q));
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r)
            s[c][r] = (dot(q[c], m[r]) + dot(q[r], m[c])) / 2;
    if (double const unit = unitOfDecimals(source); unit > 0)
        dropBelow(unit * powerOfTwo(-exponent), s);
    for (UInt32 c = 0; c < 3; ++c)
        for (UInt32 r = 0; r < 3; ++r) {
            Q[c][r] = static_cast<T>(q[c][r]);
            S[c][r] = static_cast<T>(s[c][r] * powerOfTwo(exponent));
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
    double size = 0;
    for (int c = 0; c < 3; ++c)
        size = std::max(size, std::abs(s[c][c]));
    // Factors that floats, and products of a few of them, cannot tell apart (5e-7: no rotation of a million, and no
    // product of two to four, has more).
    diagonalize(s, 5e-7 * size, vectors, values);
    for (UInt32 c = 0; c < 3; ++c) {
        k[c] = static_cast<T>(values[c]);
        for (UInt32 r = 0; r < 3; ++r)
            SO[c][r] = static_cast<T>(vectors[c][r]);
    }
}

template void TransformationMatrix<Real32>::polarDecompose(Matrix&, Matrix&, Real32&) const;
template void TransformationMatrix<Real32>::spectralDecompose(Matrix&, Vec3f&) const;

OSG_END_NAMESPACE
