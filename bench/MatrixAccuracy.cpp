// How exact the matrix functions are, over families of matrices as scenes hold them: matrixAccuracy [COUNT] takes so
// many of each (default: a million) and prints a table. The reference is what a key was before it was written down,
// in long double; errors are relative to the largest element, the translation's to its own.

#include "interpolationNodePool/Slerp.h"

#include <OpenSG/OSGMatrix.h>

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using osg::Quaternion, osg::Vec3f;
using Real = long double;
using Wide = Eigen::Matrix<Real, 4, 4>;
using Wide3 = Eigen::Matrix<Real, 3, 3>;
using Vector = Eigen::Matrix<Real, 3, 1>;
constexpr Real pi = EIGEN_PI;

/// Reaches the decompositions where they are protected.
struct Matrix : osg::Matrix {
    using osg::Matrix::polarDecompose, osg::Matrix::spectralDecompose;
};

thread_local std::mt19937_64 engine;
Real uniform(Real low, Real high)
{
    return low + (high - low) * static_cast<Real>(engine() >> 11) * 0x1p-53L;
}
Vector vector(Real size)
{
    return {uniform(-size, size), uniform(-size, size), uniform(-size, size)};
}
Wide3 rotation(Vector const& axis, Real angle)
{
    return Eigen::AngleAxis<Real>(angle, axis.normalized()).matrix();
}
Wide3 rotation()
{
    return rotation(vector(1), uniform(0, pi));
}
Wide3 tilted(Real x, Real y, Real z)
{
    Wide3 const axes = rotation();
    return axes * Vector(x, y, z).asDiagonal() * axes.transpose();
}
Real power(Real exponent)
{
    return std::pow(Real(10), uniform(-exponent, exponent));
}
Wide whole(Wide3 const& linear, Vector const& move = Vector::Zero())
{
    Wide result = Wide::Identity();
    result.topLeftCorner<3, 3>() = linear;
    result.col(3).head<3>() = move;
    return result;
}
Wide exact(osg::Matrix const& m)
{
    return Eigen::Map<Eigen::Matrix4f const>(m.getValues()).cast<Real>();
}
Wide3 upper(Wide const& m)
{
    return m.topLeftCorner<3, 3>();
}

/// As a file holds it: with that many decimals, or with all that floats can tell.
Matrix written(Wide const& m, int decimals)
{
    Real const scale = decimals < 0 ? 0 : std::pow(Real(10), decimals);
    Matrix result;
    Eigen::Map<Eigen::Matrix4f>(result.getValues()) =
        m.unaryExpr([scale](Real v) { return scale == 0 ? v : std::round(v * scale) / scale; }).cast<float>();
    return result;
}

struct Parts {
    Vec3f move, factors;
    Quaternion turn, axes;
};
Parts partsOf(Matrix m)
{
    Parts parts;
    parts.move.setValues(m[3][0], m[3][1], m[3][2]);
    for (unsigned c = 0; c < 3; ++c)
        m[3][c] = m[c][3] = 0;
    Matrix Q, S, SO;
    float side;
    m.polarDecompose(Q, S, side);
    if (side < 0)
        Q.negate();
    S.spectralDecompose(SO, parts.factors);
    parts.factors *= side;
    parts.turn.setValue(Q);
    parts.axes.setValue(SO);
    return parts;
}
Matrix halfWay(Parts const& a, Parts const& b)
{
    auto const middle = [](Vec3f const& v, Vec3f const& w) { return (w - v) * 0.5f + v; };
    Zelvan::KeptAngle none, neither;
    Matrix result;
    result.setTransform(middle(a.move, b.move), Zelvan::slerp(a.turn, b.turn, 0.5f, none), middle(a.factors, b.factors),
                        Zelvan::slerp(a.axes, b.axes, 0.5f, neither));
    return result;
}

Real error(osg::Matrix const& m, Wide const& reference)
{
    Wide const d = exact(m) - reference;
    Real const move = reference.col(3).head<3>().cwiseAbs().maxCoeff();
    Real const linear = upper(d).cwiseAbs().maxCoeff<Eigen::PropagateNaN>() / upper(reference).cwiseAbs().maxCoeff();
    Real const moved = d.col(3).head<3>().cwiseAbs().maxCoeff<Eigen::PropagateNaN>();
    return std::max(linear, move > 0 ? moved / move : moved);
}

/// A key; its half (what squares to it; zero if there is none), a key beside it and what is half way to that.
struct Sample {
    Matrix key;
    Wide half = Wide::Zero();
    Matrix beside;
    Wide between;
};

Sample sample(Wide const& key, Wide const& half, Wide const& beside, Wide const& between, int decimals = -1)
{
    return {written(key, decimals), half, written(beside, decimals), between};
}
/// A turn and a uniform scale, beside the same stretched along its own x axis.
Sample rigid(Vector const& axis, Real angle, Real scale, Real reach, int decimals)
{
    Wide3 const turn = rotation(axis, angle) * scale, half = rotation(axis, angle / 2) * std::sqrt(scale);
    Vector const move = vector(reach), halfMove = (Wide3::Identity() + half).inverse() * move;
    auto const stretched = [&](Real factor) { return whole(turn * Vector(factor, 1, 1).asDiagonal(), move); };
    return sample(whole(turn, move), whole(half, halfMove), stretched(3), stretched(2), decimals);
}
/// The square of a matrix whose eigenvalues lie in the right half plane, beside the same turned.
Sample square(Wide const& half)
{
    Vector const axis = vector(1);
    Wide const key = half * half;
    Wide between = whole(rotation(axis, 0.5)) * key;
    between.row(3) << 0, 0, 0, 1;
    between.col(3) = key.col(3);
    Wide beside = whole(rotation(axis, 1)) * key;
    beside.col(3) = key.col(3);
    return sample(key, half, beside, between);
}
bool inRightHalfPlane(Wide3 const& m)
{
    Wide3 const s = m + m.transpose();
    return s(0, 0) > 0 && s(0, 0) * s(1, 1) > s(0, 1) * s(0, 1) && s.determinant() > 0;
}
Sample squareOf(std::function<Wide3()> const& make, Real projection = 0)
{
    Wide3 half = make();
    while (!inRightHalfPlane(half))
        half = make();
    Wide result = whole(half, vector(1));
    result.row(3).head<3>() = vector(projection).transpose();
    return square(result);
}
Sample product(int factors)
{
    Matrix key = written(whole(rotation()), -1), stretch, beside;
    Wide3 ideal = upper(exact(key));
    for (int i = 1; i < factors; ++i) {
        Matrix const next = written(whole(rotation()), -1);
        key.mult(next);
        ideal = ideal * upper(exact(next));
    }
    stretch.setScale(3, 1, 1);
    beside = key;
    beside.mult(stretch);
    Eigen::AngleAxis<Real> const turn(Eigen::Quaternion<Real>(ideal).normalized());
    return {key, whole(rotation(turn.axis(), turn.angle() / 2)), beside, whole(ideal * Vector(2, 1, 1).asDiagonal())};
}
Sample mirrored()
{
    Wide3 const axes = rotation(), key = axes * Vector(-1, 1, 1).asDiagonal() * axes.transpose() * rotation();
    Vector const axis = vector(1);
    return sample(whole(key), Wide::Zero(), whole(rotation(axis, 1) * key), whole(rotation(axis, 0.5) * key));
}
/// About the axis whose largest component is positive.
Sample halfTurn(int decimals)
{
    Vector axis = vector(1);
    int largest;
    axis.cwiseAbs().maxCoeff(&largest);
    return rigid(axis(largest) < 0 ? Vector(-axis) : axis, pi, 1, 0, decimals);
}

struct Family {
    std::string name;
    std::function<Sample()> make;
};
std::vector<Family> families()
{
    std::vector<Family> list;
    auto const add = [&list](std::string const& name, std::function<Sample()> make) { list.push_back({name, make}); };
    auto const turn = [] { return uniform(0, pi); };
    add("rotations", [=] { return rigid(vector(1), turn(), 1, 10, -1); });
    add("rotations x uniform scale 0.001 to 1000", [=] { return rigid(vector(1), turn(), power(3), 10, -1); });
    for (int factors : {2, 3, 4})
        add("products of " + std::to_string(factors), [=] { return product(factors); });
    for (int decimals = 3; decimals <= 9; ++decimals)
        add("rotations, " + std::to_string(decimals) + " decimals", [=] { return rigid(vector(1), turn(), 1, 10, decimals); });
    for (int exponent = 1; exponent <= 7; ++exponent)
        add("half turns less 1e-" + std::to_string(exponent),
            [=] { return rigid(vector(1), pi - std::pow(Real(10), -exponent), 1, 0, -1); });
    add("exact half turns", [] { return halfTurn(-1); });
    for (int decimals = 3; decimals <= 9; ++decimals)
        add("exact half turns, " + std::to_string(decimals) + " decimals", [=] { return halfTurn(decimals); });
    for (auto const& [degrees, decimals] : {std::pair("179.9", 3), {"179.9", 4}, {"179.99", 3}, {"179.99", 4}, {"179.99", 5}})
        add(std::string(degrees) + " degrees, " + std::to_string(decimals) + " decimals",
            [angle = std::strtold(degrees, nullptr) / 180 * pi, places = decimals] {
                return rigid(vector(1), angle, 1, 0, places);
            });
    add("unequal scales", [] {
        return squareOf(
            [] { return Wide3(rotation(vector(1), uniform(0, 1.2L)) * tilted(power(0.3L), power(0.3L), power(0.3L))); });
    });
    add("mirrored", mirrored);
    add("sheared", [] {
        return squareOf([] {
            Wide3 shear = Wide3::Identity();
            shear(0, 1) = uniform(-1, 1);
            shear(0, 2) = uniform(-1, 1);
            return Wide3(rotation(vector(1), uniform(0, 1)) * shear);
        });
    });
    add("projective", [] { return squareOf([] { return rotation(vector(1), uniform(0, 1.2L)); }, 0.1L); });
    add("tiny, 1e-30", [=] { return rigid(vector(1), turn(), 1e-30L, 1e-30L, -1); });
    add("huge, 1e30", [=] { return rigid(vector(1), turn(), 1e30L, 1e30L, -1); });
    return list;
}

struct Errors {
    std::vector<float> list;
    std::size_t none = 0;
    void add(Real e) { std::isnan(e) ? void(++none) : list.push_back(static_cast<float>(e)); }
};

void print(Errors& errors, std::size_t count, bool bent)
{
    std::vector<float>& list = errors.list;
    std::sort(list.begin(), list.end());
    if (list.empty())
        return void(std::printf(bent ? " none | | |" : " none | |"));
    std::printf(" %.1e | %.1e |", list[list.size() - 1 - list.size() / 1000], list.back());
    if (bent) {
        auto const above = list.end() - std::upper_bound(list.begin(), list.end(), 0.01f);
        std::printf(" %.3g |", 100.0 * static_cast<double>(above) / static_cast<double>(count));
    }
}

/// Errors of exp(log), half way by logarithms, half way by components, recomposition.
std::vector<Errors> measure(Family const& family, std::size_t count, unsigned long seed)
{
    engine.seed(seed);
    std::vector<Errors> errors(4);
    for (std::size_t i = 0; i < count; ++i) {
        Sample const s = family.make();
        Matrix log, back;
        bool const taken = log.logOf(s.key);
        back.expOf(log);
        errors[0].add(taken ? error(back, exact(s.key)) : std::nanl(""));
        log.scale(0.5f);
        back.expOf(log);
        errors[1].add(taken && !s.half.isZero(0) ? error(back, s.half) : std::nanl(""));
        Parts const parts = partsOf(s.key);
        errors[2].add(error(halfWay(parts, partsOf(s.beside)), s.between));
        Wide affine = exact(s.key);
        affine.row(3) << 0, 0, 0, 1;
        errors[3].add(error(halfWay(parts, parts), affine));
    }
    return errors;
}

} // namespace

int main(int count, char** arguments)
{
    std::size_t const each = count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 1'000'000;
    std::printf("| %zu of each | no log, %% | exp(log) 99.9 %% | worst | half way, logarithm 99.9 %% | worst "
                "| above 1 %%, %% | half way, components 99.9 %% | worst | above 1 %%, %% | recomposed 99.9 %% | worst |\n"
                "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n",
                each);
    constexpr std::size_t threads = 2;
    for (Family const& family : families()) {
        std::vector<Errors> halves[threads];
        std::vector<std::thread> running;
        for (std::size_t i = 0; i < threads; ++i)
            running.emplace_back([&, i] { halves[i] = measure(family, each / threads, i + 1); });
        for (std::thread& thread : running)
            thread.join();
        for (std::size_t k = 0; k < 4; ++k) {
            Errors& all = halves[0][k];
            for (std::size_t i = 1; i < threads; ++i) {
                all.list.insert(all.list.end(), halves[i][k].list.begin(), halves[i][k].list.end());
                all.none += halves[i][k].none;
            }
            if (k == 0)
                std::printf("| %s | %.3g |", family.name.c_str(),
                            100.0 * static_cast<double>(all.none) / static_cast<double>(each));
            print(all, each, k == 1 || k == 2);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
}
