// The functions of Kernels, written once over vectors of any width. Each including source is compiled for its own
// instruction set. Everything here has internal linkage and nothing outside the intrinsics is called: the linker
// would keep one copy of a shared inline function, and it might be the one this CPU cannot run.

#include "interpolationNodePool/Kernels.h"

#include <immintrin.h>

namespace Zelvan {

namespace {

// What is particular to a width. Floats holds `width` floats. Of three Floats that hold `width` vectors x, y, z
// in memory order, sumOfTriples gives (x + y) + z of each, in order; spread undoes that for one number per vector.

struct Sse2 {
    using Floats = __m128;
    static constexpr unsigned width = 4;

    static Floats load(float const* p) { return _mm_loadu_ps(p); }
    static void store(float* p, Floats v) { _mm_storeu_ps(p, v); }
    static Floats splat(float v) { return _mm_set1_ps(v); }
    static Floats sqrt(Floats v) { return _mm_sqrt_ps(v); }
    static Floats largerOrSecond(Floats v, Floats w) { return _mm_max_ps(v, w); }
    static unsigned maskOfLess(Floats v, Floats w) { return static_cast<unsigned>(_mm_movemask_ps(_mm_cmplt_ps(v, w))); }
    static Floats whereLess(Floats v, Floats w, Floats yes, Floats no)
    {
        Floats const less = _mm_cmplt_ps(v, w);
        return _mm_or_ps(_mm_and_ps(less, yes), _mm_andnot_ps(less, no));
    }
    static Floats sumOfTriples(Floats v0, Floats v1, Floats v2)
    {
        // v0 = x0 y0 z0 x1, v1 = y1 z1 x2 y2, v2 = z2 x3 y3 z3
        Floats const yz = _mm_shuffle_ps(v0, v1, _MM_SHUFFLE(1, 0, 2, 1)); // y0 z0 y1 z1
        Floats const xy = _mm_shuffle_ps(v1, v2, _MM_SHUFFLE(2, 1, 3, 2)); // x2 y2 x3 y3
        return (_mm_shuffle_ps(v0, xy, _MM_SHUFFLE(2, 0, 3, 0)) + _mm_shuffle_ps(yz, xy, _MM_SHUFFLE(3, 1, 2, 0)))
            + _mm_shuffle_ps(yz, v2, _MM_SHUFFLE(3, 0, 3, 1));
    }
    static void spread(Floats s, Floats& s0, Floats& s1, Floats& s2)
    {
        s0 = _mm_shuffle_ps(s, s, _MM_SHUFFLE(1, 0, 0, 0));
        s1 = _mm_shuffle_ps(s, s, _MM_SHUFFLE(2, 2, 1, 1));
        s2 = _mm_shuffle_ps(s, s, _MM_SHUFFLE(3, 3, 3, 2));
    }
};

#ifdef __AVX2__
struct Avx2 {
    using Floats = __m256;
    using Narrower = Sse2;
    static constexpr unsigned width = 8;

    static Floats load(float const* p) { return _mm256_loadu_ps(p); }
    static void store(float* p, Floats v) { _mm256_storeu_ps(p, v); }
    static Floats splat(float v) { return _mm256_set1_ps(v); }
    static Floats sqrt(Floats v) { return _mm256_sqrt_ps(v); }
    static Floats largerOrSecond(Floats v, Floats w) { return _mm256_max_ps(v, w); }
    static unsigned maskOfLess(Floats v, Floats w)
    {
        return static_cast<unsigned>(_mm256_movemask_ps(_mm256_cmp_ps(v, w, _CMP_LT_OQ)));
    }
    static Floats whereLess(Floats v, Floats w, Floats yes, Floats no)
    {
        return _mm256_blendv_ps(no, yes, _mm256_cmp_ps(v, w, _CMP_LT_OQ));
    }
    static Floats sumOfTriples(Floats v0, Floats v1, Floats v2)
    {
        // Four vectors to each half, then as for Sse2 in both halves at once.
        Floats const u0 = _mm256_blend_ps(v0, v1, 0xf0);
        Floats const u1 = _mm256_permute2f128_ps(v0, v2, 0x21);
        Floats const u2 = _mm256_blend_ps(v1, v2, 0xf0);
        Floats const yz = _mm256_shuffle_ps(u0, u1, _MM_SHUFFLE(1, 0, 2, 1));
        Floats const xy = _mm256_shuffle_ps(u1, u2, _MM_SHUFFLE(2, 1, 3, 2));
        return (_mm256_shuffle_ps(u0, xy, _MM_SHUFFLE(2, 0, 3, 0)) + _mm256_shuffle_ps(yz, xy, _MM_SHUFFLE(3, 1, 2, 0)))
            + _mm256_shuffle_ps(yz, u2, _MM_SHUFFLE(3, 0, 3, 1));
    }
    static void spread(Floats s, Floats& s0, Floats& s1, Floats& s2)
    {
        s0 = _mm256_permutevar8x32_ps(s, _mm256_setr_epi32(0, 0, 0, 1, 1, 1, 2, 2));
        s1 = _mm256_permutevar8x32_ps(s, _mm256_setr_epi32(2, 3, 3, 3, 4, 4, 4, 5));
        s2 = _mm256_permutevar8x32_ps(s, _mm256_setr_epi32(5, 5, 6, 6, 6, 7, 7, 7));
    }
};
#endif

#ifdef __AVX512F__
struct Avx512 {
    using Floats = __m512;
    using Narrower = Avx2;
    static constexpr unsigned width = 16;
    // GCC 12 warns inside its own unmasked forms of these; masked with all lanes they are the same instructions.
    static constexpr __mmask16 all = 0xffff;

    static Floats load(float const* p) { return _mm512_loadu_ps(p); }
    static void store(float* p, Floats v) { _mm512_storeu_ps(p, v); }
    static Floats splat(float v) { return _mm512_set1_ps(v); }
    static Floats sqrt(Floats v) { return _mm512_maskz_sqrt_ps(all, v); }
    static Floats largerOrSecond(Floats v, Floats w) { return _mm512_maskz_max_ps(all, v, w); }
    static unsigned maskOfLess(Floats v, Floats w) { return _mm512_cmp_ps_mask(v, w, _CMP_LT_OQ); }
    static Floats whereLess(Floats v, Floats w, Floats yes, Floats no)
    {
        return _mm512_mask_blend_ps(_mm512_cmp_ps_mask(v, w, _CMP_LT_OQ), no, yes);
    }
    static Floats sumOfTriples(Floats v0, Floats v1, Floats v2)
    {
        // Each index picks from v0 (0 to 15) and v1 (16 to 31), then the last ones from v2 (16 to 31).
        __m512i const x01 = _mm512_setr_epi32(0, 3, 6, 9, 12, 15, 18, 21, 24, 27, 30, 0, 0, 0, 0, 0);
        __m512i const y01 = _mm512_setr_epi32(1, 4, 7, 10, 13, 16, 19, 22, 25, 28, 31, 0, 0, 0, 0, 0);
        __m512i const z01 = _mm512_setr_epi32(2, 5, 8, 11, 14, 17, 20, 23, 26, 29, 0, 0, 0, 0, 0, 0);
        __m512i const x2 = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 17, 20, 23, 26, 29);
        __m512i const y2 = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 18, 21, 24, 27, 30);
        __m512i const z2 = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 19, 22, 25, 28, 31);
        return (_mm512_permutex2var_ps(_mm512_permutex2var_ps(v0, x01, v1), x2, v2)
                + _mm512_permutex2var_ps(_mm512_permutex2var_ps(v0, y01, v1), y2, v2))
            + _mm512_permutex2var_ps(_mm512_permutex2var_ps(v0, z01, v1), z2, v2);
    }
    static void spread(Floats s, Floats& s0, Floats& s1, Floats& s2)
    {
        __m512i const i0 = _mm512_setr_epi32(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
        __m512i const i1 = _mm512_setr_epi32(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
        __m512i const i2 = _mm512_setr_epi32(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
        s0 = _mm512_maskz_permutexvar_ps(all, i0, s);
        s1 = _mm512_maskz_permutexvar_ps(all, i1, s);
        s2 = _mm512_maskz_permutexvar_ps(all, i2, s);
    }
};
#endif

// Number of floats from p to the next address behind it that a whole vector is aligned at: 1 to width.
template <class V>
std::size_t toAlignment(float const* p)
{
    return V::width - (reinterpret_cast<std::size_t>(p) / sizeof(float)) % V::width;
}

template <class V>
unsigned firstAbove(float const* keys, unsigned begin, unsigned end, float fraction)
{
    constexpr std::size_t w = V::width, vectorsPerBlock = 8;
    std::size_t const count = end - begin;
    float const* const p = keys + begin;
    if (count < w) {
        if constexpr (w > 4) {
            return firstAbove<typename V::Narrower>(keys, begin, end, fraction);
        } else {
            unsigned mask = 1u << count; // the bit behind the last key stands for "none"
            for (std::size_t k = 0; k < count; ++k)
                mask |= static_cast<unsigned>(fraction < p[k]) << k;
            return begin + static_cast<unsigned>(__builtin_ctz(mask));
        }
    }
    auto const f = V::splat(fraction);
    auto const maskAt = [&](std::size_t k) -> unsigned long long { return V::maskOfLess(f, V::load(p + k)); };
    auto const found = [&](std::size_t k, unsigned long long mask) {
        return begin + static_cast<unsigned>(k) + static_cast<unsigned>(__builtin_ctzll(mask));
    };

    // Looking at a key twice does no harm, so vectors may overlap: the last one ends with the list, and the
    // vectors between are aligned.
    std::size_t const last = count - w;
    if (last <= w)
        return found(0, maskAt(0) | maskAt(last) << last | 1ull << count);
    if (auto const mask = maskAt(0))
        return found(0, mask);
    std::size_t k = toAlignment<V>(p);
    for (; k + vectorsPerBlock * w <= count; k += vectorsPerBlock * w) {
        // Some key is above the fraction when the largest is. The order of arguments passes over NaN keys.
        auto largest = V::splat(-__builtin_inff());
        for (std::size_t v = 0; v < vectorsPerBlock; ++v)
            largest = V::largerOrSecond(V::load(p + k + v * w), largest);
        if (V::maskOfLess(f, largest))
            break;
    }
    for (; k < last; k += w) {
        if (auto const mask = maskAt(k))
            return found(k, mask);
    }
    auto const mask = maskAt(last);
    return mask ? found(last, mask) : end;
}

// Where the numbers come from: a list as it is, or two lists blended.
struct Single {
    float const* in;

    template <class V>
    typename V::Floats at(std::size_t k) const
    {
        return V::load(in + k);
    }
    float at(std::size_t k) const { return in[k]; }
};

struct Blend {
    float const* a;
    float const* b;
    float t;

    template <class V>
    typename V::Floats at(std::size_t k) const
    {
        auto const from = V::load(a + k);
        return (V::load(b + k) - from) * V::splat(t) + from;
    }
    float at(std::size_t k) const { return (b[k] - a[k]) * t + a[k]; }
};

template <class V>
void write(Blend source, float* out, std::size_t count)
{
    constexpr std::size_t w = V::width;
    if (count < w) {
        if constexpr (w > 4) {
            write<typename V::Narrower>(source, out, count);
        } else {
            for (std::size_t k = 0; k < count; ++k)
                out[k] = source.at(k);
        }
        return;
    }
    auto const step = [&](std::size_t k) { V::store(out + k, source.at<V>(k)); };
    // Writing a number twice does no harm, so the first and the last vector may overlap those between. There the loads
    // from `a` are aligned rather than the stores: a load that meets two cache lines costs more than such a store.
    step(0);
    std::size_t k = toAlignment<V>(source.a);
    for (; k + 4 * w <= count; k += 4 * w) {
        step(k);
        step(k + w);
        step(k + 2 * w);
        step(k + 3 * w);
    }
    for (; k + w <= count; k += w)
        step(k);
    step(count - w);
}

constexpr float shortest = 1e-6f;

template <class V, class Source>
void writeUnit(Source source, float* out, std::size_t count)
{
    constexpr std::size_t w = V::width;
    if (count < w) {
        if constexpr (w > 4) {
            writeUnit<typename V::Narrower>(source, out, count);
        } else {
            for (std::size_t k = 0; k < 3 * count; k += 3) {
                float const x = source.at(k), y = source.at(k + 1), z = source.at(k + 2);
                float const length = _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss((x * x + y * y) + z * z)));
                float const factor = length < shortest ? 1.f : 1.f / length;
                out[k] = x * factor;
                out[k + 1] = y * factor;
                out[k + 2] = z * factor;
            }
        }
        return;
    }
    auto const one = V::splat(1.f);
    // One factor per vector suffices: the vectors themselves never leave memory order.
    auto const step = [&](std::size_t vector) {
        std::size_t const k = 3 * vector;
        auto const v0 = source.template at<V>(k), v1 = source.template at<V>(k + w), v2 = source.template at<V>(k + 2 * w);
        auto const length = V::sqrt(V::sumOfTriples(v0 * v0, v1 * v1, v2 * v2));
        typename V::Floats f0, f1, f2;
        V::spread(V::whereLess(length, V::splat(shortest), one, one / length), f0, f1, f2);
        V::store(out + k, v0 * f0);
        V::store(out + k + w, v1 * f1);
        V::store(out + k + 2 * w, v2 * f2);
    };
    for (std::size_t vector = 0; vector + w < count; vector += w)
        step(vector);
    step(count - w);
}

template <class V>
void lerp(float const* a, float const* b, float t, float* out, std::size_t count)
{
    write<V>(Blend{a, b, t}, out, count);
}

template <class V>
void lerpNormals(float const* a, float const* b, float t, float* out, std::size_t count)
{
    writeUnit<V>(Blend{a, b, t}, out, count);
}

template <class V>
void normalise(float const* in, float* out, std::size_t count)
{
    writeUnit<V>(Single{in}, out, count);
}

template <class V>
constexpr Kernels kernels(char const* name)
{
    return {name, firstAbove<V>, lerp<V>, lerpNormals<V>, normalise<V>};
}

} // namespace

} // namespace Zelvan
