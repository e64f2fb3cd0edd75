// Matrix functions: each ends, and either says that there is no result or gives one that fits.

#include "fuzz/Input.h"
#include "interpolationNodePool/DecomposableMatrix.h"
#include "interpolationNodePool/Slerp.h"

#include <Eigen/Core>

namespace Zelvan::fuzz {
namespace {

using osg::Matrix;
using Wide = Eigen::Matrix4d;

Wide wide(Matrix const& m)
{
    return Eigen::Map<Eigen::Matrix4f const>(m.getValues()).cast<double>();
}
double magnitude(Wide const& m)
{
    return m.cwiseAbs().sum();
}
double magnitude(Matrix const& m)
{
    return magnitude(wide(m));
}
bool isSame(Matrix const& a, Matrix const& b)
{
    return std::memcmp(a.getValues(), b.getValues(), sizeof a) == 0;
}
bool isNear(Wide const& a, Wide const& b, double tolerance)
{
    return magnitude(a - b) <= tolerance;
}
/// A result that was promised is finite; one that was refused is NaN throughout.
bool isResult(Matrix const& m, bool finite)
{
    return finite ? wide(m).allFinite() : wide(m).array().isNaN().all();
}

/// A transformation, an affine or any matrix.
Matrix matrix(Input& input)
{
    Matrix m;
    unsigned const kind = input.below(3);
    std::vector<float> const n = input.numbers(kind == 0 ? 14 : 16);
    osg::Quaternion rotation, orientation;
    rotation.setValueAsQuat(n.data() + 6);
    orientation.setValueAsQuat(n.data() + 10);
    if (kind == 0)
        m.setTransform({n[0], n[1], n[2]}, rotation, {n[3], n[4], n[5]}, orientation);
    else
        m.setValue(n.data());
    for (unsigned c = 0; c < 4 && kind == 1; ++c)
        m[c][3] = c == 3 ? 1.f : 0.f;
    return m;
}

/// What rounding to few decimals, each then read as a float, may have left of a matrix, and so is not told from nothing.
double decimals(Matrix const& m)
{
    double const size = wide(m).topLeftCorner<3, 3>().norm() / std::sqrt(3.);
    double scale = 1e12;
    while (scale > 1 && size * scale >= 1.1e6)
        scale /= 10;
    for (unsigned i = 0; i < 9; ++i)
        if (double const n = scale * m[i / 3][i % 3]; !(std::abs(n - std::round(n)) <= 6.1e-8 * std::abs(n)))
            return 0;
    return 0.01 * magnitude(m);
}

void invert(Matrix const& m)
{
    Matrix inverse, own = m;
    bool const taken = m.inverse(inverse);
    require(own.invert() == taken && isSame(own, taken ? inverse : m), "invert and inverse agree");
    require(taken ? isResult(inverse, true) : isSame(inverse, Matrix()), "an inverse is finite; none, no change");
    double const bound = magnitude(m) * magnitude(inverse), tolerance = 1e-6 * bound + 1e-13 * bound * bound;
    bool const sound = isNear(wide(m) * wide(inverse), Wide::Identity(), tolerance);
    require(!taken || !(bound < 1e12) || sound, "a matrix times its inverse is the identity");
}

void logarithm(Matrix const& m)
{
    Matrix log, own = m, back, half;
    bool const taken = log.logOf(m);
    require(isResult(log, taken) && own.logOf(own) == taken && (!taken || isSame(own, log)), "a logarithm, or NaN");
    double const upper = wide(log).leftCols<3>().cwiseAbs().sum();
    if (!(upper < 12) || !(magnitude(m) < 1e30) || !wide(m).row(3).head<3>().isZero(0))
        return;
    double const tolerance = decimals(m) + 1e-3 * magnitude(m) + 4e-7 * std::exp(upper) * (1 + magnitude(log));
    require(back.expOf(log) && isNear(wide(back), wide(m), tolerance), "the exponential undoes the logarithm");
    log.scale(0.5f);
    require(half.expOf(log) && isNear(wide(half) * wide(half), wide(m), 2 * tolerance), "half of it is the root's");
}

void exponential(Matrix const& m)
{
    Matrix exp, inverse, negative = m;
    negative.negate();
    bool const taken = exp.expOf(m), inverted = inverse.expOf(negative);
    require(isResult(exp, taken) && isResult(inverse, inverted), "an exponential, or NaN");
    require(taken || !(magnitude(m) < 80), "a small matrix has an exponential");
    double const tolerance = 1e-6 * magnitude(exp) * magnitude(inverse);
    bool const sound = isNear(wide(exp) * wide(inverse), Wide::Identity(), tolerance);
    require(!(magnitude(m) < 8) || sound, "the exponential of the negative is the inverse");
}

void decompose(Matrix m)
{
    osg::Vec3f const translation(m[3][0], m[3][1], m[3][2]);
    for (unsigned i = 0; i < 4; ++i)
        m[3][i] = m[i][3] = 0.f;
    double const norm = magnitude(m), exact = 1e-5 * norm + 1e-42, fine = exact + decimals(m);
    m[3][3] = 1.f;
    Matrix Q, S, SO, scale, again;
    osg::Vec3f k;
    osg::Quaternion rotation, orientation;
    float det = 0;
    Zelvan::DecomposableMatrix(m).polarDecompose(Q, S, det);
    Zelvan::DecomposableMatrix(m).spectralDecompose(SO, k);
    if (!(norm < 1e37)) // NaN, or S may be too large for floats
        return require(norm < HUGE_VAL || (isResult(Q, false) && isResult(S, false) && isResult(SO, false)), "NaN");
    scale.setScale(k);
    Wide const symmetric = (wide(m) + wide(m).transpose()) / 2;
    require(isNear(wide(SO) * wide(scale) * wide(SO).transpose(), symmetric, exact), "the spectral factors fit");
    require(isNear(wide(Q) * wide(Q).transpose(), Wide::Identity(), 1e-5), "the first polar factor is orthogonal");
    require(wide(S) == wide(S).transpose(), "the second polar factor is symmetric");
    require(isNear(wide(Q) * wide(S), wide(m), fine), "the polar factors make the matrix");
    double const determinant = m.det3();
    bool const clear = std::isfinite(determinant) && std::abs(determinant) > 1e-5 * norm * norm * norm;
    require(std::abs(det) == 1.f && (!clear || (det < 0) == (determinant < 0)), "mirrors mirror");
    Zelvan::DecomposableMatrix(S).spectralDecompose(SO, k);
    require(std::abs(SO.det3() - 1.f) < 1e-4f && std::min({k[0], k[1], k[2]}) >= -fine, "S is a scaling");
    if (det < 0)
        Q.negate();
    rotation.setValue(Q);
    orientation.setValue(SO);
    again.setTransform(translation, rotation, k * det, orientation);
    again.setTranslate(0, 0, 0);
    require(isNear(wide(again), wide(m), 3 * fine), "the parts make the matrix");
}

/// A turn, written with few digits or many, beside the same stretched: what is half way is what was meant.
void halfWay(Input& input)
{
    std::vector<float> const n = input.numbers(4);
    double const digits = std::pow(10, 3 + input.below(7)), coarse = 20 / digits + 1e-5;
    osg::Quaternion turns[2] = {{{n[0], n[1], n[2]}, n[3]}, {}}, axes[2];
    if (!(std::abs(turns[0].length() - 1) < 1e-3f))
        return;
    Matrix keys[2], meant, half, log;
    meant.setTransform({}, turns[0], {2, 1, 1}, {});
    osg::Vec3f factors[2];
    for (int k : {0, 1}) {
        keys[k].setTransform({}, turns[0], {k == 0 ? 1.f : 3.f, 1, 1}, {});
        for (int i = 0; i < 16; ++i)
            keys[k].getValues()[i] = static_cast<float>(std::round(keys[k].getValues()[i] * digits) / digits);
    }
    for (int k : {0, 1}) {
        DecomposableMatrix Q, S, SO;
        float det;
        DecomposableMatrix(keys[k]).polarDecompose(Q, S, det);
        S.spectralDecompose(SO, factors[k]);
        turns[k].setValue(Q);
        axes[k].setValue(SO);
    }
    KeptAngle none, neither;
    half.setTransform({}, slerp(turns[0], turns[1], 0.5f, none), (factors[0] + factors[1]) * 0.5f,
                      slerp(axes[0], axes[1], 0.5f, neither));
    require(isNear(wide(half), wide(meant), coarse), "half way between components");
    require(log.logOf(keys[0]), "a turn has a logarithm");
    log.scale(0.5f);
    half.expOf(log);
    require(isNear(wide(half) * wide(half).transpose(), Wide::Identity(), 0.1), "half of a turn is a turn");
    require(isNear(wide(half) * wide(half), wide(keys[0]), coarse), "and twice it is the turn");
}

} // namespace
} // namespace Zelvan::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan::fuzz;
    Input input(data, size);
    Matrix const a = matrix(input), b = matrix(input);
    for (Matrix const& m : {a, b}) {
        invert(m);
        logarithm(m);
        exponential(m);
        decompose(m);
    }
    Matrix left = a, right = b;
    halfWay(input);
    left.mult(b);
    right.multLeft(a);
    require(isSame(left, right) || !isResult(left, true), "a product is the same from both sides");
    return 0;
}
