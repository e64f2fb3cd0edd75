#include "interpolationNodePool/DecomposableMatrix.h"

#include <Eigen/Core>
#include <Eigen/SVD>
#include <unsupported/Eigen/MatrixFunctions>

#include <benchmark/benchmark.h>

#include <array>
#include <random>

namespace {

using osg::Matrix, osg::Quaternion, osg::Vec3f;

constexpr std::size_t count = 64;
using Matrices = std::array<Matrix, count>;

// What scenes hold: turned, moved, stretched along tilted axes.
Matrices transforms()
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-1, 1);
    auto const vector = [&] { return Vec3f(uniform(random), uniform(random), uniform(random)); };
    Matrices result;
    for (Matrix& m : result)
        m.setTransform(vector() * 20, Quaternion(vector(), 2.5f * uniform(random)), vector() * 0.5f + Vec3f(1, 1, 1),
                       Quaternion(vector(), uniform(random)));
    return result;
}

Matrices logarithms()
{
    Matrices result = transforms();
    for (Matrix& m : result)
        m.logOf(m);
    return result;
}

// No zeros to profit from.
Matrices projective()
{
    std::mt19937 random(2);
    std::uniform_real_distribution<float> uniform(-1, 1);
    Matrices result;
    for (Matrix& m : result)
        for (int i = 0; i < 16; ++i)
            m.getValues()[i] = uniform(random);
    return result;
}

Eigen::Map<Eigen::Matrix4f const> asEigen(Matrix const& m)
{
    return Eigen::Map<Eigen::Matrix4f const>(m.getValues());
}

template <class F>
void forEach(benchmark::State& state, Matrices const& matrices, F f)
{
    std::size_t i = 0;
    for (auto _ : state)
        f(matrices[i++ % count]);
}

void exponential(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Matrix result;
        result.expOf(m);
        benchmark::DoNotOptimize(result);
    });
}
void exponentialByEigen(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Eigen::Matrix4f result = asEigen(m).exp();
        benchmark::DoNotOptimize(result);
    });
}
void logarithm(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Matrix result;
        result.logOf(m);
        benchmark::DoNotOptimize(result);
    });
}
void logarithmByEigen(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Eigen::Matrix4f result = asEigen(m).log();
        benchmark::DoNotOptimize(result);
    });
}

// Rotation, scale factors and scale orientation of a matrix, as the component mode takes them.
void decomposition(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Matrix q, s, so;
        float det;
        Vec3f factors;
        Quaternion rotation, orientation;
        Zelvan::DecomposableMatrix(m).polarDecompose(q, s, det);
        rotation.setValue(q);
        Zelvan::DecomposableMatrix(s).spectralDecompose(so, factors);
        orientation.setValue(so);
        benchmark::DoNotOptimize(rotation);
        benchmark::DoNotOptimize(factors);
        benchmark::DoNotOptimize(orientation);
    });
}
void polarDecomposition(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Matrix q, s;
        float det;
        Zelvan::DecomposableMatrix(m).polarDecompose(q, s, det);
        benchmark::DoNotOptimize(q);
        benchmark::DoNotOptimize(s);
    });
}
void polarDecompositionByEigen(benchmark::State& state, Matrices const& matrices)
{
    forEach(state, matrices, [](Matrix const& m) {
        Eigen::Matrix3f const linear = asEigen(m).topLeftCorner<3, 3>();
        Eigen::JacobiSVD<Eigen::Matrix3f> const svd(linear, Eigen::ComputeFullU | Eigen::ComputeFullV);
        Eigen::Matrix3f q = svd.matrixU() * svd.matrixV().transpose();
        Eigen::Matrix3f s = svd.matrixV() * svd.singularValues().asDiagonal() * svd.matrixV().transpose();
        benchmark::DoNotOptimize(q);
        benchmark::DoNotOptimize(s);
    });
}
void composition(benchmark::State& state)
{
    Vec3f const translation(1, 2, 3), factors(1, 2, 1.5f);
    Quaternion rotation({1, 2, 3}, 0.7f), orientation({1, -1, 0}, 0.2f);
    for (auto _ : state) {
        benchmark::DoNotOptimize(rotation);
        Matrix result;
        result.setTransform(translation, rotation, factors, orientation);
        benchmark::DoNotOptimize(result);
    }
}

BENCHMARK_CAPTURE(exponential, affine, logarithms());
BENCHMARK_CAPTURE(exponentialByEigen, affine, logarithms());
BENCHMARK_CAPTURE(exponential, projective, projective());
BENCHMARK_CAPTURE(exponentialByEigen, projective, projective());
BENCHMARK_CAPTURE(logarithm, affine, transforms());
BENCHMARK_CAPTURE(logarithmByEigen, affine, transforms());
BENCHMARK_CAPTURE(decomposition, affine, transforms());
BENCHMARK_CAPTURE(polarDecomposition, affine, transforms());
BENCHMARK_CAPTURE(polarDecompositionByEigen, affine, transforms());
BENCHMARK(composition);

} // namespace
