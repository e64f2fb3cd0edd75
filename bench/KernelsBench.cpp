// The kernels of every instruction set this CPU has, each beside the plain loop that does the same, compiled for the
// same instruction set. Compare "<set>/<what>/kernel/<size>" with "<set>/<what>/loop/<size>".
// Compile with -O3 -fno-math-errno -fno-trapping-math, or the plain loops with a square root are not vectorised.

#include "interpolationNodePool/Kernels.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using Zelvan::Kernels;

[[gnu::always_inline]] inline void lerpLoop(float const* a, float const* b, float t, float* __restrict out,
                                            std::size_t count)
{
    for (std::size_t k = 0; k < count; ++k)
        out[k] = (b[k] - a[k]) * t + a[k];
}

[[gnu::always_inline]] inline void storeUnit(float x, float y, float z, float* out)
{
    float const length = std::sqrt((x * x + y * y) + z * z);
    float const factor = length < 1e-6f ? 1.f : 1.f / length;
    out[0] = x * factor;
    out[1] = y * factor;
    out[2] = z * factor;
}

[[gnu::always_inline]] inline void lerpNormalsLoop(float const* a, float const* b, float t, float* __restrict out,
                                                   std::size_t count)
{
    for (std::size_t k = 0; k < 3 * count; k += 3)
        storeUnit((b[k] - a[k]) * t + a[k], (b[k + 1] - a[k + 1]) * t + a[k + 1],
                  (b[k + 2] - a[k + 2]) * t + a[k + 2], out + k);
}

[[gnu::always_inline]] inline void normaliseLoop(float const* in, float* __restrict out, std::size_t count)
{
    for (std::size_t k = 0; k < 3 * count; k += 3)
        storeUnit(in[k], in[k + 1], in[k + 2], out + k);
}

// Searches leave their loop in the middle, so no compiler vectorises this one.
unsigned firstAboveLoop(float const* keys, unsigned begin, unsigned end, float fraction)
{
    unsigned j = begin;
    while (j < end && !(fraction < keys[j]))
        ++j;
    return j;
}

/// The plain loops, compiled for one instruction set.
#define LOOPS_FOR(set, attributes)                                                                               \
    attributes void set##Lerp(float const* a, float const* b, float t, float* out, std::size_t count)            \
    {                                                                                                            \
        lerpLoop(a, b, t, out, count);                                                                           \
    }                                                                                                            \
    attributes void set##LerpNormals(float const* a, float const* b, float t, float* out, std::size_t count)     \
    {                                                                                                            \
        lerpNormalsLoop(a, b, t, out, count);                                                                    \
    }                                                                                                            \
    attributes void set##Normalise(float const* in, float* out, std::size_t count)                               \
    {                                                                                                            \
        normaliseLoop(in, out, count);                                                                           \
    }                                                                                                            \
    Kernels const set##Loops{#set, firstAboveLoop, set##Lerp, set##LerpNormals, set##Normalise};

LOOPS_FOR(baseline, )
LOOPS_FOR(avx2, [[gnu::target("avx2")]])
LOOPS_FOR(avx512, [[gnu::target("avx512f,avx512vl,avx512dq,avx512bw")]])

Kernels const* const loops[] = {&baselineLoops, &avx2Loops, &avx512Loops};

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
std::vector<float> const keyValue = randomFloats(2 * mostFloats);
std::vector<float> valueChanged(mostFloats);

void lerp(benchmark::State& state, Kernels const& kernels)
{
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        kernels.lerp(keyValue.data(), keyValue.data() + count, 0.3f, valueChanged.data(), count);
        benchmark::ClobberMemory();
    }
}

void lerpNormals(benchmark::State& state, Kernels const& kernels)
{
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        kernels.lerpNormals(keyValue.data(), keyValue.data() + 3 * count, 0.3f, valueChanged.data(), count);
        benchmark::ClobberMemory();
    }
}

void normalise(benchmark::State& state, Kernels const& kernels)
{
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        kernels.normalise(keyValue.data(), valueChanged.data(), count);
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
        return benchmark::RegisterBenchmark((std::string(kernels.name) + '/' + what + '/' + kind).c_str(), function,
                                            kernels);
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
        add(*loops[set], "loop");
    }
    return true;
}();

} // namespace
