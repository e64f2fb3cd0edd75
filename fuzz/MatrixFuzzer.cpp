// Matrix functions: each ends, and either says that there is no result or gives one that fits.

#include "base/OpenSG.h"
#include "fuzz/Input.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::fuzz {
namespace {

using osg::Matrix;

/// Sixteen doubles, column by column.
struct Wide {
    Wide() = default;
    explicit Wide(Matrix const& m) { std::copy_n(m.getValues(), 16, v); }
    double v[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

Wide operator*(Wide const& a, Wide const& b)
{
    Wide product;
    for (int i = 0; i < 16; ++i) {
        product.v[i] = 0;
        for (int k = 0; k < 4; ++k)
            product.v[i] += a.v[4 * k + i % 4] * b.v[i / 4 * 4 + k];
    }
    return product;
}

double distance(Wide const& a, Wide const& b)
{
    double largest = 0;
    for (int i = 0; i < 16; ++i)
        if (!(std::abs(a.v[i] - b.v[i]) <= largest))
            largest = std::abs(a.v[i] - b.v[i]);
    return largest;
}

/// Largest sum of a column's first `rows` numbers without sign, of the first `columns`; NaN stays.
double size(Matrix const& m, unsigned columns = 4, unsigned rows = 4)
{
    double largest = 0;
    for (unsigned c = 0; c < columns; ++c) {
        double sum = 0;
        for (unsigned r = 0; r < rows; ++r)
            sum += std::abs(static_cast<double>(m[c][r]));
        largest = sum > largest || std::isnan(sum) ? sum : largest;
    }
    return largest;
}

bool all(Matrix const& m, bool (*what)(float)) { return std::all_of(m.getValues(), m.getValues() + 16, what); }
bool isNaN(float value) { return std::isnan(value); }
bool isFinite(float value) { return std::isfinite(value); }
bool same(Matrix const& a, Matrix const& b) { return std::memcmp(a.getValues(), b.getValues(), sizeof a) == 0; }

Matrix transposed(Matrix m)
{
    m.transpose();
    return m;
}

osg::Vec3f vector(Input& input)
{
    auto const n = input.numbers(3);
    return {n[0], n[1], n[2]};
}

osg::Quaternion quaternion(Input& input)
{
    auto const n = input.numbers(4);
    osg::Quaternion q;
    q.setValueAsQuat(n.data());
    return q;
}

Matrix matrix(Input& input)
{
    Matrix m;
    unsigned const kind = input.below(3);
    if (kind == 0) {
        osg::Vec3f const t = vector(input), s = vector(input);
        osg::Quaternion const r = quaternion(input);
        m.setTransform(t, r, s, quaternion(input));
        return m;
    }
    m.setValue(input.numbers(16).data());
    for (osg::UInt32 c = 0; c < 4 && kind == 1; ++c)
        m[c][3] = c == 3 ? 1.f : 0.f;
    return m;
}

void invert(Matrix const& m)
{
    Matrix const before(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    Matrix inverse = before, own = m;
    bool const inverted = m.inverse(inverse);
    require(own.invert() == inverted && same(own, inverted ? inverse : m), "invert and inverse agree");
    if (!inverted)
        return require(same(inverse, before), "no inverse, no change");
    require(all(inverse, isFinite), "an inverse is finite");
    double const bound = size(m) * size(inverse);
    require(!(bound < 1e12) || distance(Wide(m) * Wide(inverse), Wide()) <= 1e-6 * bound + 1e-13 * bound * bound,
            "a matrix times its inverse is the identity");
}

void logarithm(Matrix const& m)
{
    Matrix log, own = m, back;
    bool const taken = log.logOf(m);
    require(own.logOf(own) == taken && (!taken || same(own, log)), "a matrix may take its own logarithm");
    if (!taken)
        return require(all(log, isNaN), "no logarithm is NaN throughout");
    require(all(m, isFinite) && all(log, isFinite), "a logarithm is finite");
    bool const affine = m[0][3] == 0 && m[1][3] == 0 && m[2][3] == 0;
    double const upper = size(log, 3);
    if (!affine || !(upper < 12) || !(size(m) < 1e30))
        return;
    double const tolerance = 1e-3 * size(m) + 4e-7 * std::exp(upper) * (1 + size(log));
    require(back.expOf(log) && distance(Wide(back), Wide(m)) <= tolerance, "the exponential undoes the logarithm");
    log.scale(0.5f);
    require(back.expOf(log) && distance(Wide(back) * Wide(back), Wide(m)) <= 2 * tolerance,
            "half the logarithm is that of the square root");
}

void exponential(Matrix const& m)
{
    Matrix exp, inverse, negative = m;
    negative.negate();
    bool const taken = exp.expOf(m);
    require(all(exp, taken ? isFinite : isNaN), "an exponential is finite, or NaN throughout");
    require(taken || !(size(m) < 80), "a small matrix has an exponential");
    if (size(m) < 8)
        require(inverse.expOf(negative)
                    && distance(Wide(exp) * Wide(inverse), Wide()) <= 1e-6 * size(exp) * size(inverse),
                "the exponential of the negative is the inverse");
}

void decompose(Matrix m)
{
    osg::Vec3f const translation(m[3][0], m[3][1], m[3][2]);
    for (osg::UInt32 i = 0; i < 3; ++i)
        m[3][i] = m[i][3] = 0.f;
    Matrix Q, S, SO;
    osg::Vec3f k;
    float det = 0;
    m.polarDecompose(Q, S, det);
    m.spectralDecompose(SO, k);
    m[3][3] = 1.f;
    double const norm = size(m, 3, 3);
    if (!std::isfinite(norm))
        return require(all(Q, isNaN) && all(S, isNaN) && all(SO, isNaN) && std::isnan(det), "no parts are NaN throughout");
    S[3][3] = 1.f;
    osg::Quaternion rotation, orientation;
    rotation.setValue(m);
    require(std::abs(rotation.length() - 1.f) < 1e-5f, "a quaternion from a finite matrix has length 1");
    if (norm > 1e37)
        return; // S may be too large for a float

    double const fine = 1e-5 * norm + 1e-42, determinant = m.det3();
    require(distance(Wide(transposed(Q)) * Wide(Q), Wide()) < 1e-5, "the first polar factor is orthogonal");
    require(same(transposed(S), S), "the second polar factor is symmetric");
    require(distance(Wide(Q) * Wide(S), Wide(m)) <= fine, "the polar factors make the matrix");
    require((det == 1.f || det == -1.f) && std::abs(Q.det3() - det) < 1e-4f, "the determinant is that of the factor");
    require(!std::isfinite(determinant) || !(std::abs(determinant) > 1e-5 * norm * norm * norm) || (det < 0) == (determinant < 0), "mirrors mirror");

    auto const scaled = [&] {
        Matrix diagonal;
        diagonal.setScale(k);
        return Wide(SO) * Wide(diagonal) * Wide(transposed(SO));
    };
    Wide symmetric(m);
    for (int i = 0; i < 16; ++i)
        symmetric.v[i] = (static_cast<double>(m[static_cast<unsigned>(i) / 4][static_cast<unsigned>(i) % 4])
                          + m[static_cast<unsigned>(i) % 4][static_cast<unsigned>(i) / 4]) / 2;
    require(distance(scaled(), symmetric) <= fine, "the spectral factors make the symmetric part");
    S.spectralDecompose(SO, k);
    require(distance(scaled(), Wide(S)) <= fine && std::abs(SO.det3() - 1.f) < 1e-4f, "the factors are a rotation's");
    require(std::min({k[0], k[1], k[2]}) >= -fine, "the scale factors are not negative");

    if (det < 0)
        Q.negate();
    rotation.setValue(Q);
    orientation.setValue(SO);
    Matrix again;
    again.setTransform(translation, rotation, k * det, orientation);
    again[3][0] = again[3][1] = again[3][2] = 0.f;
    require(distance(Wide(again), Wide(m)) <= 3 * fine, "the parts make the matrix");
}

} // namespace
} // namespace Zelvan::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan::fuzz;
    Input input(data, size);
    Matrix const a = matrix(input), b = matrix(input);
    for (Matrix const& m : {a, b}) {
        invert(m);
        logarithm(m);
        exponential(m);
        decompose(m);
        require(same(transposed(transposed(m)), m), "transposing twice changes nothing");
    }
    Matrix left = a, right = b, sum = a;
    left.mult(b);
    right.multLeft(a);
    sum.addScaled(b, input.number());
    require(same(left, right) || !all(left, isFinite), "a product is the same from both sides");
    return 0;
}
