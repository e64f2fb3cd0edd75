// Compiled with -O3 -fno-math-errno -fno-trapping-math, or the loops with a square root are not vectorised.

#include "bench/PlainLoops.h"

#include <cmath>

namespace {

using Zelvan::Kernels;

[[gnu::always_inline]] inline void lerpLoop(float const* a, float const* b, float t, float* __restrict out, std::size_t count)
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
        storeUnit((b[k] - a[k]) * t + a[k], (b[k + 1] - a[k + 1]) * t + a[k + 1], (b[k + 2] - a[k + 2]) * t + a[k + 2],
                  out + k);
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
#define LOOPS_FOR(set, attributes)                                                                           \
    attributes void set##Lerp(float const* a, float const* b, float t, float* out, std::size_t count)        \
    {                                                                                                        \
        lerpLoop(a, b, t, out, count);                                                                       \
    }                                                                                                        \
    attributes void set##LerpNormals(float const* a, float const* b, float t, float* out, std::size_t count) \
    {                                                                                                        \
        lerpNormalsLoop(a, b, t, out, count);                                                                \
    }                                                                                                        \
    attributes void set##Normalise(float const* in, float* out, std::size_t count)                           \
    {                                                                                                        \
        normaliseLoop(in, out, count);                                                                       \
    }                                                                                                        \
    Kernels const set##Loops{#set, firstAboveLoop, set##Lerp, set##LerpNormals, set##Normalise};

LOOPS_FOR(baseline, )
LOOPS_FOR(avx2, [[gnu::target("avx2")]])
LOOPS_FOR(avx512, [[gnu::target("avx512f,avx512vl,avx512dq,avx512bw")]])

Kernels const* const loops[] = {&baselineLoops, &avx2Loops, &avx512Loops};

} // namespace

std::span<Kernels const* const> plainLoops()
{
    return {loops, Kernels::supported().size()};
}

Kernels const& activePlainLoops()
{
    auto const supported = Kernels::supported();
    std::size_t set = 0;
    while (supported[set] != &Kernels::active())
        ++set;
    return *loops[set];
}
