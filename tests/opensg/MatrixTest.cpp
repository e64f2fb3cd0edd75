#include <OpenSG/OSGMatrix.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <random>

namespace {

using osg::Matrix, osg::Quaternion, osg::Vec3f;
using Real = long double;
constexpr Real pi = std::numbers::pi_v<Real>;

// Plain matrix arithmetic in long double: the reference.
struct Reference {
    Real _m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}; // row, column

    Reference() = default;
    explicit Reference(Matrix const& m)
    {
        forEach([&](int r, int c) { _m[r][c] = m[c][r]; });
    }
    template <class F>
    static void forEach(F f)
    {
        for (int i = 0; i < 16; ++i)
            f(i % 4, i / 4);
    }
    Matrix rounded() const
    {
        Matrix m;
        forEach([&](int r, int c) { m[c][r] = static_cast<float>(_m[r][c]); });
        return m;
    }
    Reference operator*(Reference const& o) const
    {
        Reference p;
        forEach([&](int r, int c) {
            p._m[r][c] = 0;
            for (int k = 0; k < 4; ++k)
                p._m[r][c] += _m[r][k] * o._m[k][c];
        });
        return p;
    }
    Reference plus(Reference const& o, Real factor) const
    {
        Reference s;
        forEach([&](int r, int c) { s._m[r][c] = _m[r][c] + factor * o._m[r][c]; });
        return s;
    }
    Reference times(Real factor) const { return plus(*this, factor - 1); }
    Reference transposed() const
    {
        Reference t;
        forEach([&](int r, int c) { t._m[r][c] = _m[c][r]; });
        return t;
    }
    Real largest() const
    {
        Real most = 0;
        forEach([&](int r, int c) { most = std::max(most, std::abs(_m[r][c])); });
        return most;
    }
    Reference inverse() const
    {
        Reference a = *this, b;
        for (int c = 0; c < 4; ++c) {
            int pivot = c;
            for (int r = c; r < 4; ++r)
                pivot = std::abs(a._m[r][c]) > std::abs(a._m[pivot][c]) ? r : pivot;
            std::swap(a._m[c], a._m[pivot]);
            std::swap(b._m[c], b._m[pivot]);
            for (int r = 0; r < 4; ++r) {
                Real const factor = r == c ? 1 - 1 / a._m[c][c] : a._m[r][c] / a._m[c][c];
                for (int k = 0; k < 4; ++k) {
                    a._m[r][k] -= factor * a._m[c][k];
                    b._m[r][k] -= factor * b._m[c][k];
                }
            }
        }
        return b;
    }
    Reference exp() const
    {
        int const halvings = std::max(0, std::ilogb(largest()) + 4);
        Reference const x = times(std::ldexp(Real(1), -halvings));
        Reference sum;
        for (int n = 24; n > 0; --n)
            sum = Reference().plus(x * sum, Real(1) / n);
        for (int i = 0; i < halvings; ++i)
            sum = sum * sum;
        return sum;
    }
    /// Angles below pi only (Denman-Beavers roots, then the series of the logarithm).
    Reference log() const
    {
        Reference y = *this;
        Real factor = 1;
        for (; y.plus({}, -1).largest() > 0.05L && factor < 1e9L; factor *= 2) {
            Reference z;
            for (int i = 0; i < 60; ++i) {
                Reference const next = y.plus(z.inverse(), 1).times(0.5L);
                z = z.plus(y.inverse(), 1).times(0.5L);
                y = next;
            }
        }
        Reference const x = y.plus({}, -1);
        Reference sum = Reference().times(0);
        for (int n = 40; n > 0; --n)
            sum = Reference().times(Real(1) / n).plus(x * sum, -1);
        return (x * sum).times(factor);
    }
};

Reference rotation(Vec3f const& axis, Real angle)
{
    Real const length = std::sqrt(Real(axis.dot(axis)));
    Real const a[3] = {axis[0] / length, axis[1] / length, axis[2] / length};
    Reference r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r._m[i][j] = (i == j ? std::cos(angle) : 0) + (1 - std::cos(angle)) * a[i] * a[j]
                + std::sin(angle) * (i == j ? 0 : (j - i + 3) % 3 == 1 ? -a[3 - i - j] : a[3 - i - j]);
    return r;
}
Reference scaling(Real x, Real y, Real z)
{
    Reference s;
    s._m[0][0] = x;
    s._m[1][1] = y;
    s._m[2][2] = z;
    return s;
}
Reference moved(Reference m, Real x, Real y, Real z)
{
    m._m[0][3] = x;
    m._m[1][3] = y;
    m._m[2][3] = z;
    return m;
}

Real difference(Matrix const& a, Reference const& b) { return Reference(a).plus(b, -1).largest() / b.largest(); }
/// The error of exp(log(m)), relative to the largest element; huge if there is no logarithm.
Real roundTrip(Matrix const& m)
{
    Matrix log, back;
    return log.logOf(m) && back.expOf(log) ? difference(back, Reference(m)) : 1e9L;
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
    void operator()(Real error) { _error = error > _error || std::isnan(error) ? error : _error; }
    ~Worst()
    {
        std::printf("    %-58s worst %.2Le, allowed %.2Le\n", _family, _error, _limit);
        EXPECT_LE(_error, _limit) << _family;
    }
};

Vec3f const axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}, {-1, 2, 3}, {0.1f, -0.7f, 0.2f}, {1e-4f, 1, -1e-3f}};
Real const angles[] = {0, 1e-7L, 0.01L, 1, pi / 2, 2, 2.5L, 3, 3.1L, 3.14L, pi - 1e-4L, pi - 1e-6L, pi - 1e-8L, pi};

TEST(Matrix, LogarithmAndExponentialAreInverse)
{
    Worst rotations{"log/exp: rotation x uniform scale 1e-3..1e3, moved to 1e4", 4e-6L};
    Worst halves{"log/exp: half of a rotation, half turn included", 4e-6L};
    for (Vec3f const& axis : axes)
        for (Real angle : angles)
            for (Real scale : {1e-3L, 0.3L, 1.L, 17.L, 1e3L})
                for (Real far : {0.L, 20.L, 1e4L}) {
                    rotations(roundTrip(moved(rotation(axis, angle) * scaling(scale, scale, scale), far, -far / 3, 1)
                                            .rounded()));
                    Matrix log, half;
                    log.logOf(rotation(axis, angle).rounded());
                    log.scale(0.5f);
                    half.expOf(log);
                    // An exact half turn goes either way.
                    halves(std::min(difference(half, rotation(axis, angle / 2)),
                                    angle < pi - 1e-5L ? 1 : difference(half, rotation(axis, -angle / 2))));
                }
    Worst shears{"log/exp: shears", 4e-6L};
    for (int at : {1, 2, 4, 6, 8, 9})
        for (float by : {1e-3f, 0.5f, -2.f, 10.f, 1e4f}) {
            Matrix shear;
            shear.getValues()[at] = by;
            shears(roundTrip(shear));
            // The logarithm holds the product of shear and way: rounding it costs more than what is allowed here.
            if (by > 10)
                continue;
            shear.getValues()[12] = 1e4f;
            shear.getValues()[at == 1 || at == 2 || at == 6 ? 2 : 8] += 0.25f;
            shears(roundTrip(shear));
        }
}

TEST(Matrix, LogarithmOfUnequalScalesIsAsExactAsFloatsAllow)
{
    Worst unequal{"log/exp: unequal scales, in errors of the rounded logarithm", 4};
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(-1, 1);
    int compared = 0;
    for (int i = 0; i < 600; ++i) {
        auto const direction = [&] { return Vec3f(uniform(random), uniform(random), uniform(random)); };
        Real const spread = i % 3 == 0 ? 0.01L : i % 3 == 1 ? 0.7L : 3;
        auto const factor = [&] { return std::pow(Real(10), spread * uniform(random)); };
        Reference const orientation = rotation(direction(), 3 * uniform(random));
        Matrix const m = moved(rotation(direction(), i % 5 == 0 ? pi - 0.05L : pi * uniform(random)) * orientation
                                   * scaling(factor(), factor(), factor()) * orientation.transposed(),
                               100 * uniform(random), 0, 1).rounded();
        Reference const exact = Reference(m).log();
        if (!(Reference(m).plus(exact.exp(), -1).largest() < 1e-12L * Reference(m).largest()))
            continue; // Two different negative eigenvalues: there is none.
        ++compared;
        Real const left = difference(m, Reference(exact.rounded()).exp());
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
        {"half turn, scaled along its axis", {-2, 0, 0, 3, 0, -2, 0, 5, 0, 0, 7, 6, 0, 0, 0, 1}, true},
        {"half turn in the other order", {-1, 0, 0, 3, 0, 1, 0, 5, 0, 0, -1, 6, 0, 0, 0, 1}, true},
        {"negated identity", {-1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1}, true},
        {"two half turns", {-1, 0, 0, 0, 0, -3, 0, 0, 0, 0, -1, 0, 0, 0, 0, -3}, true},
        {"perspective with a logarithm", {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 1, 0, 0, 0.5f, 1}, true},
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
            EXPECT_LE(difference(matrix, Reference(log).exp()), 2e-5L) << name;
        }
    }
    Matrix tooLarge(100, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0);
    EXPECT_FALSE(tooLarge.expOf(tooLarge));
    EXPECT_EQ(contentsOf(tooLarge), Contents::NaN);
}

TEST(Matrix, ExponentialAndDecompositionsAreExact)
{
    Worst exponentials{"expOf against long double", 3e-7L};
    Worst polar{"polarDecompose: Q S against the matrix", 2e-6L}, orthogonal{"polarDecompose: Q^T Q against 1", 1e-6L};
    Worst spectral{"spectralDecompose: SO diag(k) SO^T against S", 2e-6L}, turned{"SO^T SO against 1", 1e-6L};
    Worst composed{"setTransform of what the decompositions gave", 2e-6L};
    std::mt19937 random(3);
    std::uniform_real_distribution<float> uniform(-1, 1);
    Real const factors[][3] = {{1, 1, 1}, {1, 2, 3}, {3, 2, 1}, {5, 5, 1}, {1e3L, 1, 1e-3L}, {1, 1, 0}, {2, 0, 0},
                               {0, 0, 0}, {1, 1, -1}, {-1, -2, -3}, {1, 1e-8L, 1e-8L}, {1e-42L, 1e-42L, 1e-41L},
                               {1e38L, 1e37L, 1e38L}, {1, 1 + 1e-6L, 1 - 1e-6L}};
    for (int i = 0; i < 2000; ++i) {
        Matrix m;
        for (int k = 0; k < 16; ++k)
            m.getValues()[k] = (i % 7 + 0.1f) * uniform(random);
        if (i % 2 != 0)
            m[0][3] = m[1][3] = m[2][3] = m[3][3] = 0;
        Matrix e;
        EXPECT_TRUE(e.expOf(m));
        exponentials(difference(e, Reference(m).exp()));

        auto const direction = [&] { return Vec3f(uniform(random), uniform(random), uniform(random)); };
        auto const& f = factors[i % std::size(factors)];
        Reference const so = i % 3 == 0 ? Reference() : rotation(direction(), 3 * uniform(random));
        m = (rotation(direction(), i % 5 == 0 ? pi : 3 * uniform(random)) * so * scaling(f[0], f[1], f[2])
             * so.transposed()).rounded();
        Reference linear(m);
        linear._m[3][3] = m[3][3] = 0; // The size of the rest is what counts.
        Real const size = linear.largest() == 0 ? 1 : linear.largest();
        Matrix Q, S, SO;
        Vec3f k;
        float det = 0;
        m.polarDecompose(Q, S, det);
        S.spectralDecompose(SO, k);
        // A denormal's own rounding is no error of ours.
        Real const rounding = 3e-45L / size;
        polar((Reference(Q) * Reference(S)).plus(linear, -1).largest() / size - rounding);
        orthogonal((Reference(Q).transposed() * Reference(Q)).plus({}, -1).largest());
        turned((Reference(SO).transposed() * Reference(SO)).plus({}, -1).largest());
        Reference diagonal = scaling(k[0], k[1], k[2]);
        diagonal._m[3][3] = 0;
        spectral((Reference(SO) * diagonal * Reference(SO).transposed()).plus(Reference(S), -1).largest() / size
                 - rounding);
        EXPECT_EQ(det, f[0] * f[1] * f[2] < 0 ? -1 : 1) << "factors " << f[0] << ' ' << f[1] << ' ' << f[2];
        EXPECT_NEAR(Q.det3(), det, 1e-6);
        EXPECT_NEAR(SO.det3(), 1, 1e-6);

        if (det < 0)
            Q.negate();
        Quaternion r, o;
        r.setValue(Q);
        o.setValue(SO);
        Matrix again;
        again.setTransform({0, 0, 0}, r, k * det, o);
        again[3][3] = 0;
        composed(Reference(again).plus(linear, -1).largest() / size - rounding);
    }
}

TEST(Matrix, EigenvaluesStayWithTheirAxes)
{
    for (float tilt : {0.f, 0.3f, -0.6f}) {
        Reference const so = rotation({1, -1, 0.5f}, tilt);
        Matrix const m = (so * scaling(2, 7, -1) * so.transposed()).rounded();
        Matrix SO;
        Vec3f k;
        m.spectralDecompose(SO, k);
        EXPECT_TRUE(k.equals({2, 7, -1}, tilt == 0 ? 0 : 2e-6f)) << k[0] << ' ' << k[1] << ' ' << k[2];
        EXPECT_LE(difference(SO, so), tilt == 0 ? 0 : 1e-6L);
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
    m.setScale(0);
    EXPECT_FALSE(Matrix(0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1).inverse(other));
}

TEST(Matrix, QuaternionsOfRotations)
{
    Worst quaternions{"quaternion of a rotation, half turn included", 4e-7L};
    for (Vec3f const& axis : axes)
        for (Real angle : angles)
            for (Real scale : {1.L, 5.L}) {
                Quaternion q;
                q.setValue((rotation(axis, angle) * scaling(scale, scale, scale)).rounded());
                Matrix back;
                back.setTransform(q);
                quaternions(difference(back, rotation(axis, angle)));
                EXPECT_NEAR(q.length(), 1, 2e-7);
            }
}

TEST(Matrix, EveryInputEnds)
{
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        Matrix m;
        for (int k = 0; k < 16; ++k) {
            std::uint32_t const bits = random();
            // Any bits, small integers (singular, mirrored, defective, paired), powers of two of any size.
            m.getValues()[k] = i % 3 == 0 ? std::bit_cast<float>(bits)
                : i % 3 == 1              ? static_cast<float>(static_cast<int>(bits % 5) - 2)
                                          : std::ldexp(bits & 1 ? 1.f : -1.f, static_cast<int>(bits >> 1) % 40 - 20);
        }
        if (i % 2 != 0)
            m[0][3] = m[1][3] = m[2][3] = 0, m[3][3] = 1;
        Matrix log, exp, Q, S, SO;
        Vec3f k;
        float det;
        bool const exists = log.logOf(m);
        ASSERT_EQ(contentsOf(log), exists ? Contents::Finite : Contents::NaN);
        if (exists && Reference(log).largest() < 1e3L) {

            ASSERT_LE(difference(m, Reference(log).exp()), 1e-2L) << i;
        }
        ASSERT_EQ(contentsOf(exp), exp.expOf(m) ? Contents::Finite : Contents::NaN);
        m.polarDecompose(Q, S, det);
        m.spectralDecompose(SO, k);
        ASSERT_NE(contentsOf(Q), Contents::Mixed);
        ASSERT_NE(contentsOf(SO), Contents::Mixed);
        m.invert();
        Quaternion q;
        q.setValue(m);
    }
}

} // namespace
