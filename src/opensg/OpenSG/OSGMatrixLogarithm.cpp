// The real logarithm (Higham, Functions of Matrices, SIAM 2008, chapter 11).

#include "OpenSG/MatrixMath.h"

#include <Eigen/Eigenvalues>
#include <Eigen/LU>

#include <algorithm>
#include <complex>

OSG_BEGIN_NAMESPACE

using namespace matrixMath;

namespace {

using Matrix4 = Eigen::Matrix4d;
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
    Matrix4 _quarter;               ///< turns the plane by a right angle, and is 0 elsewhere
    double _turn, _scale, _stretch; ///< in the plane the matrix is _turn * _quarter - _scale, but for a stretch
};

/// The invariant plane of two eigenvalues near the negative real axis; the sum and the product of the others.
TurnedPlane turnedPlane(Matrix4 const& m, double mean, double otherSum, double otherProduct)
{
    // A polynomial of the matrix that vanishes for the other eigenvalues.
    Matrix4 polynomial =
        (m * m - otherSum * m + otherProduct * Matrix4::Identity()) / (mean * mean - otherSum * mean + otherProduct);
    // Of an affine map the last one stands alone. Where it is far larger than the pair, rounding would leave more
    // here than the pair has.
    if (m.row(3).head<3>().isZero(0) && m(3, 3) > 0)
        polynomial.row(3).setZero();
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
    // in its quaternion, which finds that component by the diagonal. What doubles leave of 0 is no turn; floats
    // near 1 cannot hold one below 6e-8.
    bool const half = std::abs(plane._turn) <= 1e-9 * plane._scale;
    Matrix4 const& q = plane._quarter;
    double const axis[3] = {q(2, 1) - q(1, 2), q(0, 2) - q(2, 0), q(1, 0) - q(0, 1)};
    if (half ? axis[largestOf(m(0, 0), m(1, 1), m(2, 2))] < 0 : plane._turn < 0)
        plane._quarter = -plane._quarter;
    plane._turn = half ? 0 : std::abs(plane._turn);
    return plane;
}

/// Whether the stretch of a plane that turns by about half a turn is what rounding leaves of none.
bool isRounding(TurnedPlane const& plane, double unit)
{
    // What floats leave. Of a clear turn less is taken for it.
    if (plane._stretch <= (plane._turn < 2 * plane._stretch ? 1e-6 : 4e-7) * plane._scale)
        return true;
    // What decimals leave. Errors of half a unit in each element stretch by a fifth of a unit (standard deviation),
    // and in one plane of 100,000 by more than one. Half way, the stretch would bend by its ratio to the turn: where
    // that is below 0.5 %, it stays.
    return plane._stretch <= unit && plane._turn < 200 * plane._stretch;
}

/// The real logarithm of m. What rounding leaves of a half turn, or nearly one, has a stretch beside it, and the
/// logarithm of both together is ill-conditioned or does not exist: without that stretch, which is taken out of m, it
/// is a turn again. Exact half turns are taken out of what the logarithm is computed from, since a square root cannot
/// know which way they go, and added to the result. `unit`: see unitOfDecimals.
bool realLog(Matrix4& m, double unit, Matrix4& result)
{
    Matrix4 const one = Matrix4::Identity();
    Matrix4 halfTurns = Matrix4::Zero(), rest = m;
    Schur schur(rest);
    for (int pairs = 0; pairs < 2 && schur.info() == Eigen::Success; ++pairs) {
        Eigen::Vector4cd values = schur.matrixT().diagonal();
        auto const isNearNegative = [](Complex v) { return std::abs(v.imag()) <= -0.3 * v.real(); };
        auto const end = std::partition(values.data(), values.data() + 4, isNearNegative);
        if (end - values.data() < 2)
            break;
        std::partial_sort(values.data(), values.data() + 2, end, [](Complex a, Complex b) { return a.real() < b.real(); });
        double const mean = (values[0].real() + values[1].real()) / 2;
        TurnedPlane plane;
        if ((rest - mean * one).cwiseAbs().maxCoeff() <= -1e-6 * mean) {
            // Both pairs at once: every plane is turned alike.
            plane = {one, Matrix4::Zero(), 0, -mean, 0};
            plane._quarter(1, 0) = plane._quarter(3, 2) = 1;
            plane._quarter(0, 1) = plane._quarter(2, 3) = -1;
        } else {
            plane = turnedPlane(rest, mean, (values[2] + values[3]).real(), (values[2] * values[3]).real());
        }
        if (!isRounding(plane, unit)) {
            if (!(plane._turn > plane._stretch))
                return false;
            break;
        }
        Matrix4 const turn = plane._turn * plane._quarter - plane._scale * plane._projector;
        m = ((one - plane._projector) * m * (one - plane._projector) + turn).eval();
        rest = ((one - plane._projector) * rest * (one - plane._projector)).eval();
        if (plane._turn > 1e-6 * plane._scale) {
            rest += turn;
            pairs = 2;
        } else {
            rest += plane._scale * plane._projector;
            halfTurns += (EIGEN_PI - plane._turn / plane._scale) * plane._quarter;
        }
        schur.compute(rest);
    }
    if (schur.info() != Eigen::Success || !principalLog(schur, result))
        return false;
    result += halfTurns;
    return true;
}

} // namespace

template <class T>
bool TransformationMatrix<T>::logOf(TransformationMatrix const& matrix)
{
    Matrix4 m = Eigen::Map<Eigen::Matrix4f const>(matrix.getValues()).cast<double>();
    if (!m.allFinite())
        return fail(*this);
    Determinant const det = determinant(m.data());
    if (det.isZero() || det.value < 0)
        return fail(*this);

    int const size = exponentOf(m.topLeftCorner<3, 3>().cwiseAbs().sum()), unit = unitOfLength(m.data());
    scaleLength(unit, m.data());
    Columns log, inverse;
    Matrix4 const given = m;
    Matrix4 result;
    double const decimals = unitOfDecimals(matrix);
    if (!realLog(m, decimals, result))
        return fail(*this);
    // Where the elements differ by more than doubles can hold, the steps above lose their way without noticing.
    Eigen::Map<Matrix4>(log.values()) = -result;
    auto const largest = [](Matrix4 const& error) { return error.cwiseAbs().maxCoeff<Eigen::PropagateNaN>(); };
    if (!(largest(m - given) <= 8 * std::max(decimals, 1e-6 * powerOfTwo(size))) || !exponential(log, inverse)
        || !(largest(Eigen::Map<Matrix4>(inverse.values()) * m - Matrix4::Identity()) < 1e-4))
        return fail(*this);

    scaleLength(-unit, result.data());
    Eigen::Map<Matrix4>(log.values()) = result;
    return narrow(log, *this);
}

template bool TransformationMatrix<Real32>::logOf(Matrix const&);

OSG_END_NAMESPACE
