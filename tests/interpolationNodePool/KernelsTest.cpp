#include "interpolationNodePool/Kernels.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Zelvan::Kernels;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

// What every set has to agree with, one number at a time.

unsigned firstAbove(float const* keys, unsigned begin, unsigned end, float fraction)
{
    unsigned j = begin;
    while (j < end && !(fraction < keys[j]))
        ++j;
    return j;
}

void lerp(float const* a, float const* b, float t, float* out, std::size_t count)
{
    for (std::size_t k = 0; k < count; ++k)
        out[k] = (b[k] - a[k]) * t + a[k];
}

void normalise(float const* in, float* out, std::size_t count)
{
    for (std::size_t k = 0; k < 3 * count; k += 3) {
        float const x = in[k], y = in[k + 1], z = in[k + 2];
        float const length = std::sqrt((x * x + y * y) + z * z);
        float const factor = std::abs(length) < 1e-6f ? 1.f : 1.f / length;
        out[k] = x * factor;
        out[k + 1] = y * factor;
        out[k + 2] = z * factor;
    }
}

/// A heap block of exactly the floats asked for, beginning `offset` floats behind an aligned address, so that the
/// address sanitizer sees every access behind the end.
class Floats {
public:
    Floats(std::size_t count, std::size_t offset) : _block(new float[offset + count]), _first(_block.get() + offset) {}
    float* data() const { return _first; }
    float& operator[](std::size_t k) { return _first[k]; }

private:
    std::unique_ptr<float[]> _block;
    float* _first;
};

/// Numbers of every size and sign, every fifth one from the odd end: zeros, denormals, infinities, NaN.
class Numbers {
public:
    float operator()()
    {
        static constexpr float odd[] = {0.f,   -0.f,   1e-7f,    -5e-7f,    1e-6f,      1e-38f,      1e-45f, -1e-45f,
                                        3e38f, -3e38f, infinity, -infinity, notANumber, -notANumber, 1.f,    2e19f};
        if (_random() % 5 == 0)
            return odd[_random() % std::size(odd)];
        return std::ldexp(std::uniform_real_distribution<float>(-1.f, 1.f)(_random), static_cast<int>(_random() % 24) - 12);
    }
    void fill(Floats& list, std::size_t count)
    {
        for (std::size_t k = 0; k < count; ++k)
            list[k] = (*this)();
    }

private:
    std::mt19937 _random{20};
};

/// The same bits; which NaN is left open.
void expectSame(float const* got, float const* expected, std::size_t count, std::string const& where)
{
    for (std::size_t k = 0; k < count; ++k) {
        if (std::isnan(expected[k]))
            ASSERT_TRUE(std::isnan(got[k])) << where << ", float " << k << " is " << got[k];
        else
            ASSERT_EQ(std::bit_cast<std::uint32_t>(got[k]), std::bit_cast<std::uint32_t>(expected[k]))
                << where << ", float " << k << ": " << got[k] << " instead of " << expected[k];
    }
}

std::vector<std::size_t> lengths()
{
    std::vector<std::size_t> all;
    for (std::size_t length = 0; length <= 300; ++length)
        all.push_back(length);
    all.insert(all.end(), {1000, 3001, 30011});
    return all;
}

class KernelsTest : public testing::TestWithParam<Kernels const*> {
protected:
    Kernels const& kernels = *GetParam();
    Numbers numbers;
    std::mt19937 random{10};

    /// Calls `compute` for lists of `width` floats per value, of every length and at every offset from an aligned
    /// address, and expects `reference`'s results and the floats on both sides of them untouched.
    template <class Compute, class Reference>
    void compareLists(std::size_t width, Compute compute, Reference reference)
    {
        static constexpr float ts[] = {0.f, 0.3f, 1.f, 1.5f, -0.25f, 1e-40f, infinity, notANumber};
        for (std::size_t const length : lengths()) {
            std::size_t const count = width * length;
            Floats a(count, length % 17), b(count, length % 13), out(count + 2, length % 19);
            std::vector<float> expected(count);
            numbers.fill(a, count);
            numbers.fill(b, count);
            float const t = length < 2 * std::size(ts) ? ts[length % std::size(ts)] : ts[length % 3];
            out[0] = out[count + 1] = 12345.f;
            compute(a.data(), b.data(), t, out.data() + 1, length);
            reference(a.data(), b.data(), t, expected.data(), length);
            ASSERT_NO_FATAL_FAILURE(expectSame(out.data() + 1, expected.data(), count, "length " + std::to_string(length)));
            ASSERT_EQ(out[0], 12345.f) << length;
            ASSERT_EQ(out[count + 1], 12345.f) << length;
        }
    }
};

TEST_P(KernelsTest, lerpGivesTheBitsOfThePlainLoop)
{
    compareLists(1, kernels.lerp, lerp);
}

TEST_P(KernelsTest, normaliseGivesTheBitsOfThePlainLoop)
{
    compareLists(
        3, [&](auto a, auto, float, auto out, auto count) { kernels.normalise(a, out, count); },
        [](auto a, auto, float, auto out, auto count) { normalise(a, out, count); });
}

TEST_P(KernelsTest, lerpNormalsGivesTheBitsOfBothPlainLoops)
{
    compareLists(3, kernels.lerpNormals, [](auto a, auto b, float t, auto out, auto count) {
        std::vector<float> blend(3 * count);
        lerp(a, b, t, blend.data(), 3 * count);
        normalise(blend.data(), out, count);
    });
}

TEST_P(KernelsTest, firstAboveFollowsThePlainLoopThroughOddKeys)
{
    static constexpr float values[] = {0.f, -0.f, 0.25f, 0.5f, 0.75f, 1.f, 1e-45f, infinity, -infinity, notANumber};
    auto const value = [&](std::size_t among) { return values[random() % among]; };
    for (unsigned round = 0; round < 20'000; ++round) {
        unsigned const end = static_cast<unsigned>(random() % (round % 10 ? 140 : 1500));
        unsigned const begin = static_cast<unsigned>(random() % (end + 1));
        float const fraction = value(std::size(values));
        // Long lists would end at once if every key could be above: most are not, NaN in every lane is likely.
        unsigned const rare = static_cast<unsigned>(1 + random() % 400);
        Floats keys(end, round % 17);
        for (unsigned j = 0; j < end; ++j) {
            float const key = value(std::size(values));
            keys[j] = fraction < key && random() % rare ? (random() % 2 ? notANumber : -infinity) : key;
        }
        ASSERT_EQ(kernels.firstAbove(keys.data(), begin, end, fraction), firstAbove(keys.data(), begin, end, fraction))
            << "round " << round << ": keys " << begin << " to " << end << ", fraction " << fraction;
    }
}

INSTANTIATE_TEST_SUITE_P(Sets, KernelsTest, testing::ValuesIn(Kernels::supported().begin(), Kernels::supported().end()),
                         [](auto const& test) { return test.param->name; });

TEST(KernelsChoice, takesOnlyWhatTheCpuCanRun)
{
    Kernels const& before = Kernels::active();
    ASSERT_STREQ(Kernels::supported().front()->name, "baseline");
    for (Kernels const* kernels : Kernels::supported()) {
        EXPECT_TRUE(Kernels::use(kernels->name));
        EXPECT_EQ(&Kernels::active(), kernels);
        EXPECT_FALSE(Kernels::use("avx1024"));
        EXPECT_FALSE(Kernels::use(""));
        EXPECT_EQ(&Kernels::active(), kernels);
    }
    Kernels::use(before.name);
}

} // namespace
