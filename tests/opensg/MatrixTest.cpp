#include "interpolationNodePool/DecomposableMatrix.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <unsupported/Eigen/MatrixFunctions>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <random>

namespace {

using osg::Matrix, osg::Quaternion, osg::Vec3f;
using Zelvan::DecomposableMatrix;
// The references are computed in long double.
using Real = long double;
using Reference = Eigen::Matrix<Real, 4, 4>;
constexpr Real pi = EIGEN_PI;

Reference exact(Matrix const& m)
{
    return Eigen::Map<Eigen::Matrix4f const>(m.getValues()).cast<Real>();
}
Matrix rounded(Reference const& m)
{
    Matrix result;
    Eigen::Map<Eigen::Matrix4f>(result.getValues()) = m.cast<float>();
    return result;
}
Reference rotation(Vec3f const& axis, Real angle)
{
    Reference result = Reference::Identity();
    Eigen::Matrix<Real, 3, 1> const direction(axis[0], axis[1], axis[2]);
    result.topLeftCorner<3, 3>() = Eigen::AngleAxis<Real>(angle, direction.normalized()).matrix();
    return result;
}
Reference scaling(Real x, Real y, Real z)
{
    return Eigen::Matrix<Real, 4, 1>(x, y, z, 1).asDiagonal();
}
Reference moved(Reference m, Real x, Real y, Real z)
{
    m.col(3).head<3>() << x, y, z;
    return m;
}

/// The larger one, and a NaN larger than all.
Real worse(Real a, Real b)
{
    return std::isnan(a) || a >= b ? a : b;
}
Real largest(Reference const& m)
{
    return m.cwiseAbs().maxCoeff<Eigen::PropagateNaN>();
}
Real difference(Matrix const& a, Reference const& b)
{
    return largest(exact(a) - b) / largest(b);
}
/// The error of exp(log(m)), relative to the largest element; huge if there is no logarithm, or if that of an affine
/// matrix is none.
Real roundTrip(Matrix const& m)
{
    Matrix log, back;
    if (!log.logOf(m) || !back.expOf(log))
        return 1e9L;
    if (exact(m).row(3) == Reference::Identity().row(3) && !exact(log).row(3).isZero(0))
        return 1e8L;
    return difference(back, exact(m));
}
enum class Contents { Finite, NaN, Mixed };
Contents contentsOf(Matrix const& m)
{
    int finite = 0, nan = 0;
    for (int i = 0; i < 16; ++i) {
        finite += std::isfinite(m.getValues()[i]);
        nan += std::isnan(m.getValues()[i]);
    }
    return finite == 16 ? Contents::Finite : nan == 16 ? Contents::NaN : Contents::Mixed;
}

/// The worst of a family, printed so that the table of accuracies can be read off a run.
struct Worst {
    char const* _family;
    Real _limit, _error = 0;
    void operator()(Real error) { _error = worse(_error, error); }
    ~Worst()
    {
        std::printf("    %-58s worst %.2Le, allowed %.2Le\n", _family, _error, _limit);
        EXPECT_LE(_error, _limit) << _family;
    }
};

TEST(Matrix, LogarithmOfUnequalScalesIsAsExactAsFloatsAllow)
{
    Worst unequal{"log/exp: unequal scales, in errors of the rounded logarithm", 2};
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(-1, 1);
    int compared = 0;
    for (int i = 0; i < 600; ++i) {
        auto const direction = [&] { return Vec3f(uniform(random), uniform(random), uniform(random)); };
        Real const spread = i % 3 == 0 ? 0.01L : i % 3 == 1 ? 0.7L : 3;
        auto const factor = [&] { return std::pow(Real(10), spread * uniform(random)); };
        Reference const orientation = rotation(direction(), 3 * uniform(random));
        Matrix const m = rounded(moved(rotation(direction(), i % 5 == 0 ? pi - 0.05L : pi * uniform(random)) * orientation
                                           * scaling(factor(), factor(), factor()) * orientation.transpose(),
                                       100 * uniform(random), 0, 1));
        Reference const log = exact(m).log();
        if (!(difference(m, log.exp()) < 1e-12L))
            continue; // Two different negative eigenvalues: there is none.
        ++compared;
        Real const left = difference(m, exact(rounded(log)).exp());
        unequal(roundTrip(m) / (left + 3e-8L));
    }
    EXPECT_GT(compared, 400);
}

TEST(Matrix, MatricesWithoutLogarithmGiveNaN)
{
    float const inf = std::numeric_limits<float>::infinity();
    struct {
        char const* name;
        Matrix matrix;
        bool exists;
    } const cases[] = {
        {"zero", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, false},
        {"flat", {1, 0, 0, 4, 0, 1, 0, 5, 0, 0, 0, 6, 0, 0, 0, 1}, false},
        {"rank 2, no zeros", {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 0, 0, 0, 1}, false},
        {"mirror", {1, 0, 0, 0, 0, -2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, false},
        {"point reflection", {-1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1}, false},
        {"half turn, scaled unequally", {-1, 0, 0, 0, 0, -2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, false},
        {"half turn, sheared", {-1, 1, 0, 0, 0, -1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, false},
        {"half turn, stretched beyond its digits", {-1, 0, 0, 0, 0, -1.0003f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, false},
        {"half turn, scaled along its axis", {-2, 0, 0, 3, 0, -2, 0, 5, 0, 0, 7, 6, 0, 0, 0, 1}, true},
        {"half turn in the other order", {-1, 0, 0, 3, 0, 1, 0, 5, 0, 0, -1, 6, 0, 0, 0, 1}, true},
        {"negated identity", {-1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1}, true},
        {"two half turns", {-1, 0, 0, 0, 0, -3, 0, 0, 0, 0, -1, 0, 0, 0, 0, -3}, true},
        {"perspective with a logarithm", {2, 0, 0, 40, 0, 2, 0, 0, 0, 0, 3, 1, 0, 0, 0.5f, 1}, true},
        {"half turn in perspective", {-2, 0, 0, 0, 0, -2, 0, 0, 0, 0, 3, 0, -0.75f, 0, 0, 1}, true},
        {"perspective of a viewer", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1.2f, -2.2f, 0, 0, -1, 0}, false},
        {"denormal", {1e-40f, 0, 0, 0, 0, 1e-40f, 0, 0, 0, 0, 1e-40f, 0, 0, 0, 0, 1}, true},
        {"huge", {0, -3e38f, 0, 1, 3e38f, 0, 0, 1, 0, 0, 3e38f, 1e-30f, 0, 0, 0, 1}, true},
        {"infinite", {1, 0, 0, inf, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, false},
        {"NaN", {1, 0, 0, 0, 0, 1, 0, 0, 0, std::nanf(""), 1, 0, 0, 0, 0, 1}, false},
    };
    for (auto const& [name, matrix, exists] : cases) {
        Matrix log;
        EXPECT_EQ(log.logOf(matrix), exists) << name;
        EXPECT_EQ(contentsOf(log), exists ? Contents::Finite : Contents::NaN) << name;
        if (exists) {
            EXPECT_LE(difference(matrix, exact(log).exp()), 2e-5L) << name;
        }
    }
    Matrix tooLarge(100, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0);
    EXPECT_FALSE(tooLarge.expOf(tooLarge));
    EXPECT_EQ(contentsOf(tooLarge), Contents::NaN);
}

TEST(Matrix, RotationsOfAnySizeHaveExactLogarithms)
{
    Worst whole{"log/exp: rotation x uniform scale 1e-3..1e3, moved to 1e4", 4e-7L};
    Worst halves{"log/exp: half of a rotation x uniform scale, half turn included", 4e-7L};
    for (Vec3f const& axis : {Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1), Vec3f(-1, 2, 3), Vec3f(1e-4f, 1, -1e-3f)})
        for (Real angle : {0.L, 1e-7L, 0.01L, 1.L, pi / 2, 2.5L, 3.1L, 3.14L, pi - 1e-4L, pi - 1e-6L, pi})
            for (Real scale : {1e-3L, 0.3L, 1.L, 17.L, 1e3L}) {
                Reference const turned = rotation(axis, angle) * scaling(scale, scale, scale);
                whole(roundTrip(rounded(moved(turned, 1e4L, -20, 1))));
                Matrix log, half;
                log.logOf(rounded(turned));
                log.scale(0.5f);
                half.expOf(log);
                Real const s = std::sqrt(scale);
                halves(difference(half, rotation(axis, angle / 2) * scaling(s, s, s)));
            }
}

// Seen through a frame that is not square, too, a half turn goes about the axis whose largest component is positive. The
// frames are such that floats hold all of it.
TEST(Matrix, ShearedHalfTurnsGoTheSameWayRound)
{
    std::mt19937 random(11);
    std::uniform_int_distribution<int> quarters(-6, 6);
    int about[3] = {};
    for (int i = 0; i < 300; ++i) {
        Reference frame = Reference::Identity(), other = frame;
        for (auto const& [row, column] : {std::pair(1, 0), {2, 0}, {2, 1}}) {
            frame(row, column) = 0.25L * quarters(random);
            other(column, row) = 0.25L * quarters(random);
        }
        frame *= other;
        Reference const half = i % 3 == 0 ? scaling(1, -1, -1) : i % 3 == 1 ? scaling(-1, 1, -1) : scaling(-1, -1, 1);
        Matrix const m = rounded(frame * half * frame.inverse());
        Matrix log;
        ASSERT_TRUE(log.logOf(m));
        EXPECT_LE(roundTrip(m), 2e-5L);
        Reference const turn = exact(log);
        int const largest = m[0][0] >= m[1][1] && m[0][0] >= m[2][2] ? 0 : m[1][1] >= m[2][2] ? 1 : 2;
        int const next = (largest + 1) % 3, last = (largest + 2) % 3;
        EXPECT_GT(turn(last, next) - turn(next, last), 0) << i;
        ++about[largest];
    }
    EXPECT_GT(std::ranges::min(about), 50);
}

// As a file holds it.
Matrix written(Reference const& m, int decimals)
{
    Real const scale = std::pow(Real(10), decimals);
    return rounded(m.unaryExpr([scale](Real v) { return std::round(v * scale) / scale; }));
}

TEST(Matrix, WhatIsLeftOfTurnsByWrittenDigitsIsATurn)
{
    for (int decimals = 3; decimals <= 9; ++decimals) {
        Real const unit = std::pow(Real(10), -decimals) + 2e-7L;
        Worst exactly{"half of a half turn, in units of its last decimal", 1};
        Worst nearly{"half of 179.9 degrees, bent by", decimals < 5 ? 0.006L : decimals == 5 ? 0.003L : 1e-6L};
        Worst equal{"factors of a turn, apart by, in its last decimals", 2};
        for (Vec3f const& axis : {Vec3f(1, 2, 3), Vec3f(-1, 2, -1), Vec3f(3, -4, 5), Vec3f(-2, -1, 7), Vec3f(1, 0, 0),
                                  Vec3f(5, -5, 4), Vec3f(0.1f, 3, -0.2f), Vec3f(2, -1, -1), Vec3f(6, 5, -4)})
            for (Real angle : {pi, pi * 179.9L / 180, 1.L, 0.02L}) {
                Matrix log, half;
                DecomposableMatrix const key = written(rotation(axis, angle), decimals);
                EXPECT_TRUE(log.logOf(key)) << decimals << ' ' << angle;
                log.scale(0.5f);
                half.expOf(log);
                Real const error = difference(half, rotation(axis, angle / 2));
                angle == pi ? exactly(error / unit) : nearly(error);
                DecomposableMatrix Q, S, SO;
                Vec3f k;
                float det;
                key.polarDecompose(Q, S, det);
                S.spectralDecompose(SO, k);
                EXPECT_EQ(SO, Matrix::identity()) << decimals << ' ' << angle;
                equal(std::abs(std::max({k[0], k[1], k[2]}) - std::min({k[0], k[1], k[2]})) / unit);
            }
    }
    // With all their digits, stretches far smaller than that are kept.
    Worst kept{"log/exp: 179.95 degrees, stretched by 1 + 3e-4", 2e-7L};
    for (Vec3f const& axis : {Vec3f(1, 2, 3), Vec3f(3, -4, 5), Vec3f(-1, 2, -1)}) {
        Reference const tilt = rotation(Vec3f(5, 1, 2), 1);
        kept(roundTrip(rounded(rotation(axis, pi * 179.95L / 180) * tilt * scaling(1.0003L, 1, 1) * tilt.transpose())));
    }
}

TEST(Matrix, ElementsOfAnySizeDoNotDisturbTheOthers)
{
    for (float const tiny : {1e-45f, 1e-40f, 1e-33f, 1e-28f})
        for (osg::UInt32 column : {0u, 1u, 2u}) {
            Matrix key, log, half;
            key.setTransform(Vec3f(2, 3, 5));
            key[column][3] = tiny;
            EXPECT_TRUE(log.logOf(key)) << tiny;
            log.scale(0.5f);
            half.expOf(log);
            EXPECT_TRUE(half.equals(Matrix(1, 0, 0, 1, 0, 1, 0, 1.5f, 0, 0, 1, 2.5f, 0, 0, 0, 1), 1e-6f)) << tiny;
        }
    // Another unit of length makes the translation or the projective part larger, and changes nothing else.
    for (bool const projective : {false, true})
        for (float const huge : {1e10f, 1e21f}) {
            Matrix log(0, -0.5f, 0, 0, 0.5f, 0, 0, 0, 0, 0, 0.7f, 0, 0, 0, 0, 0.2f), expected, found, again;
            auto const element = [&](Matrix& m, osg::UInt32 i) -> float& { return projective ? m[i][3] : m[3][i]; };
            element(log, 0) = 1;
            EXPECT_TRUE(expected.expOf(log));
            element(log, 0) = huge;
            EXPECT_TRUE(found.expOf(log) && again.logOf(found)) << huge;
            element(log, 0) = 1;
            for (osg::UInt32 i = 0; i < 3; ++i) {
                element(found, i) /= huge;
                element(again, i) /= huge;
            }
            EXPECT_TRUE(found.equals(expected, 1e-6f) && again.equals(log, 1e-6f)) << huge;
        }
    float const least = 1.4e-45f;
    DecomposableMatrix const wide = Matrix(0, -3e38f, least, 0, least, least, least, 0, 0, 1e-7f, least, 0, 0, 0, 0, 1);
    DecomposableMatrix Q, S;
    float det;
    wide.polarDecompose(Q, S, det);
    EXPECT_EQ(contentsOf(Q), Contents::Finite);
    EXPECT_EQ(contentsOf(S), Contents::Finite);
    EXPECT_NEAR(Q.det3(), 1, 1e-6);
    for (auto const& [flat, sign] : {std::pair(-7e-8f, 1), {-1e-7f, -1}}) {
        DecomposableMatrix(Matrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, flat, 0, 0, 0, 0, 1)).polarDecompose(Q, S, det);
        EXPECT_EQ(det, sign) << flat;
    }
}

TEST(Matrix, ExponentialAndDecompositionsAreExact)
{
    Worst exponentials{"expOf against long double", 1e-7L};
    Worst polar{"polarDecompose: Q S against the matrix", 4e-7L};
    Worst orthogonal{"polarDecompose: Q^T Q against 1", 3e-7L};
    Worst spectral{"spectralDecompose: SO diag(k) SO^T against S", 1e-6L};
    Worst turned{"spectralDecompose: SO^T SO against 1", 3e-7L};
    Worst composed{"setTransform of what the decompositions gave", 1e-6L};
    std::mt19937 random(3);
    std::uniform_real_distribution<float> uniform(-1, 1);
    Real const factors[][3] = {{1, 1, 1},
                               {1, 2, 3},
                               {3, 2, 1},
                               {5, 5, 1},
                               {1e3L, 1, 1e-3L},
                               {1, 1, 0},
                               {2, 0, 0},
                               {0, 0, 0},
                               {1, 1, -1},
                               {-1, -2, -3},
                               {1, 1e-8L, 1e-8L},
                               {1e-42L, 1e-42L, 1e-41L},
                               {1e38L, 1e37L, 1e38L},
                               {1, 1 + 1e-6L, 1 - 1e-6L}};
    for (int i = 0; i < 2000; ++i) {
        Matrix m;
        for (int k = 0; k < 16; ++k)
            m.getValues()[k] = (i % 7 + 0.1f) * uniform(random);
        if (i % 2 != 0)
            m[0][3] = m[1][3] = m[2][3] = m[3][3] = 0;
        Matrix e;
        EXPECT_TRUE(e.expOf(m));
        exponentials(difference(e, exact(m).exp()));

        auto const direction = [&] { return Vec3f(uniform(random), uniform(random), uniform(random)); };
        auto const& f = factors[i % std::size(factors)];
        Reference const so = rotation(direction(), i % 3 == 0 ? 0 : 3 * uniform(random));
        m = rounded(rotation(direction(), i % 5 == 0 ? pi : 3 * uniform(random)) * so * scaling(f[0], f[1], f[2])
                    * so.transpose());
        m[3][3] = 0; // The size of the rest is what counts.
        Real const size = largest(exact(m)) == 0 ? 1 : largest(exact(m));
        Matrix Q, S, SO;
        Vec3f k;
        float det = 0;
        DecomposableMatrix(m).polarDecompose(Q, S, det);
        DecomposableMatrix(S).spectralDecompose(SO, k);
        // A denormal's own rounding is no error of ours.
        Real const rounding = 3e-45L / size;
        polar(largest(exact(Q) * exact(S) - exact(m)) / size - rounding);
        orthogonal(largest(exact(Q).transpose() * exact(Q) - Reference::Identity()));
        turned(largest(exact(SO).transpose() * exact(SO) - Reference::Identity()));
        Reference diagonal = scaling(k[0], k[1], k[2]);
        diagonal(3, 3) = 0;
        spectral(largest(exact(SO) * diagonal * exact(SO).transpose() - exact(S)) / size - rounding);
        EXPECT_EQ(det, f[0] * f[1] * f[2] < 0 ? -1 : 1) << "factors " << f[0] << ' ' << f[1] << ' ' << f[2];
        EXPECT_NEAR(Q.det3(), det, 1e-6);
        EXPECT_NEAR(SO.det3(), 1, 1e-6);

        if (det < 0)
            Q.negate();
        Quaternion r, o;
        Q[3].setValues(5, -7, 9, 1); // where it is moved to is no business of a turn
        r.setValue(Q);
        o.setValue(SO);
        Matrix again;
        again.setTransform({0, 0, 0}, r, k * det, o);
        again[3][3] = 0;
        composed(largest(exact(again) - exact(m)) / size - rounding);
    }
}

TEST(Matrix, MovesPointsByConvention)
{
    auto const moves = [](Matrix const& m, Vec3f const& to) {
        Vec3f p;
        m.multMatrixPnt({1, 2, 3}, p);
        EXPECT_TRUE(p.equals(to, 1e-5f)) << p[0] << ' ' << p[1] << ' ' << p[2];
    };
    Quaternion const quarter({0, 0, 1}, 1.5707964f), tilt({1, 0, 0}, 0.7f);
    float const elements[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1};
    Matrix m, other;
    m.setValue(elements);
    moves(m, {11, 22, 33});
    moves(Matrix(0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1), {8, 21, 33});
    m.setTransform({10, 20, 30}, quarter);
    moves(m, {8, 21, 33});
    m.setTransform({10, 20, 30}, tilt, {5, 5, 5}, tilt); // nothing of it stays
    m.setTransform({10, 20, 30}, quarter, {2, 3, 4});
    moves(m, {4, 22, 42});
    m.setTransform({10, 20, 30}, quarter, {2, 3, 4}, quarter);
    moves(m, {6, 23, 42});
    // Translate after turning, and turn after translating.
    m.setTransform(Vec3f(10, 20, 30));
    other.setTransform(quarter);
    m.mult(other);
    moves(m, {8, 21, 33});
    m.setTransform(Vec3f(10, 20, 30));
    m.multLeft(other);
    moves(m, {-22, 11, 33});
    m.setTransform({10, 20, 30}, quarter, {2, 3, 4}, tilt);
    EXPECT_NEAR(m.det(), 24, 1e-4);
    ASSERT_TRUE(m.inverse(other));
    other.mult(m);
    EXPECT_EQ(other, Matrix::identity());
    Vec3f direction;
    m.setTransform({10, 20, 30}, quarter);
    m.multMatrixVec({1, 2, 0}, direction);
    EXPECT_TRUE(direction.equals({-2, 1, 0}, 1e-5f)) << "a direction is not moved";
    other = m;
    EXPECT_FALSE(other != m);
    EXPECT_TRUE(other.transpose());
    EXPECT_TRUE(other != m && other[0][3] == 10 && other[1][3] == 20 && other[3][1] == 0);
    other.transpose();
    other.add(m);
    other.addScaled(m, -2);
    EXPECT_TRUE(other.equals(Matrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), 0));
    EXPECT_FALSE(Matrix().equals(Matrix(2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1), 0.5f));
    other.setScale(Vec3f(2, 3, 4));
    EXPECT_EQ(other, Matrix(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0)) << "three elements only";
    Quaternion still;
    still.setValueAsAxisRad(Vec3f(0, 0, 0), 2);
    EXPECT_EQ(still, Quaternion()) << "no axis, no turn";
    still.setValue(Matrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(still, Quaternion()) << "no matrix of a turn";
    float const zeros[4] = {};
    still.setValueAsQuat(zeros);
    m.setTransform(still);
    EXPECT_EQ(m, Matrix::identity());
    EXPECT_EQ(Matrix(2, 1, 3, 1, 4, 1, 0, 2, 1, 5, 2, 3, 7, 1, 1, 6).det(), 160) << "every minor counts";
    m.setScale(0);
    EXPECT_FALSE(Matrix(0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1).inverse(other));
}

TEST(Quaternion, ProductsRoundAsOpenSGs)
{
    struct {
        float a[4], b[4];
        unsigned bits[4]; // computed step by step in single precision elsewhere
    } const cases[] = {
        {{0.1f, 0.2f, 0.3f, 0.9f}, {0.5f, -0.25f, 0.125f, 0.8f}, {0x3f282bf5, 0x3d9ad32c, 0x3e72ea2e, 0x3f362fa0}},
        {{0.7f, 0.1f, -0.6f, 0.35f}, {-0.33f, 0.9f, 0.05f, 0.2f}, {0x3f160221, 0x3f032ccb, 0x3f13a33f, 0x3e7debc7}},
        {{0, 0, 0, 1}, {0.6f, 0, 0.8f, 0}, {0x3f19999a, 0, 0x3f4ccccd, 0}}};
    for (auto const& c : cases) {
        osg::Quaternion a, b;
        a.setValueAsQuat(c.a);
        b.setValueAsQuat(c.b);
        a.mult(b);
        for (unsigned i = 0; i < 4; ++i)
            EXPECT_EQ(std::bit_cast<unsigned>(a[i]), c.bits[i]) << i;
    }
}

} // namespace
