// The kernels of every instruction set this CPU has, each beside the plain loop that does the same, compiled for the
// same instruction set. Compare "<set>/<what>/kernel/<size>" with "<set>/<what>/loop/<size>".

#include "bench/PlainLoops.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using Zelvan::Kernels;

std::vector<float> randomFloats(std::size_t count)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> between(-1.f, 1.f);
    std::vector<float> list(count);
    for (float& number : list)
        number = between(random);
    return list;
}

// Shared, because times depend on addresses: whether vectors meet two cache lines, which lines displace each other.
constexpr std::size_t mostFloats = 10'000'000;
float const* keyValue()
{
    static std::vector<float> const list = randomFloats(2 * mostFloats);
    return list.data();
}
float* valueChanged()
{
    static std::vector<float> list(mostFloats);
    return list.data();
}

void lerp(benchmark::State& state, Kernels const& kernels)
{
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    float const* const in = keyValue();
    float* const out = valueChanged();
    for (auto _ : state) {
        kernels.lerp(in, in + count, 0.3f, out, count);
        benchmark::ClobberMemory();
    }
}

void lerpNormals(benchmark::State& state, Kernels const& kernels)
{
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    float const* const in = keyValue();
    float* const out = valueChanged();
    for (auto _ : state) {
        kernels.lerpNormals(in, in + 3 * count, 0.3f, out, count);
        benchmark::ClobberMemory();
    }
}

void normalise(benchmark::State& state, Kernels const& kernels)
{
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    float const* const in = keyValue();
    float* const out = valueChanged();
    for (auto _ : state) {
        kernels.normalise(in, out, count);
        benchmark::ClobberMemory();
    }
}

/// Evenly spaced keys from 0 to 1, and fractions all over them, one per iteration.
void firstAbove(benchmark::State& state, Kernels const& kernels)
{
    unsigned const count = static_cast<unsigned>(state.range(0));
    std::vector<float> keys(count);
    for (unsigned j = 0; j < count; ++j)
        keys[j] = static_cast<float>(j) / static_cast<float>(count - 1);
    auto fractions = randomFloats(4096);
    for (float& fraction : fractions)
        fraction = std::abs(fraction);
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(kernels.firstAbove(keys.data(), 0, count, fractions[next++ % fractions.size()]));
}

void add(Kernels const& kernels, char const* kind)
{
    auto const benchmarkOf = [&](char const* what, auto function) {
        return benchmark::RegisterBenchmark((std::string(kernels.name) + '/' + what + '/' + kind).c_str(), function, kernels);
    };
    for (int const keys : {3, 4, 6, 8, 10, 16, 24, 32, 100, 10'000})
        benchmarkOf("firstAbove", firstAbove)->Arg(keys);
    for (int const floats : {2, 3, 9, 12, 3'000, 300'000, 10'000'000})
        benchmarkOf("lerp", lerp)->Arg(floats);
    for (int const vectors : {1, 3, 10, 1'000, 100'000}) {
        benchmarkOf("lerpNormals", lerpNormals)->Arg(vectors);
        benchmarkOf("normalise", normalise)->Arg(vectors);
    }
}

[[maybe_unused]] bool const added = [] {
    auto const supported = Kernels::supported();
    for (std::size_t set = 0; set < supported.size(); ++set) {
        add(*supported[set], "kernel");
        add(*plainLoops()[set], "loop");
    }
    return true;
}();

} // namespace
