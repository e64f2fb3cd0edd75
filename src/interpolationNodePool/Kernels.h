#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace Zelvan {

/// Vector code for whole lists of floats, one set of functions per x86-64 instruction set. All sets give the
/// same bits (of NaN results only that they are NaN) and read and write nothing outside the lists.
/// The best set that the CPU supports is chosen at load; the environment variable ZELVAN_KERNELS, holding a
/// set's name, chooses another one. A name that is unknown or not supported changes nothing.
struct Kernels {
    char const* name;

    /// The first j in [begin, end) with fraction < keys[j]; `end` when there is none. begin <= end.
    /// The keys need not be sorted. NaN, as fraction or key, is never above or below anything.
    unsigned (*firstAbove)(float const* keys, unsigned begin, unsigned end, float fraction);
    /// out[k] = (b[k] - a[k]) * t + a[k] for k < count, in single precision and in that order.
    /// `out` may not overlap a or b, here and below.
    void (*lerp)(float const* a, float const* b, float t, float* out, std::size_t count);
    /// The same for `count` vectors of three floats, each then scaled to unit length as by `normalise`.
    void (*lerpNormals)(float const* a, float const* b, float t, float* out, std::size_t count);
    /// out = in for `count` vectors of three floats, each scaled to unit length: times 1 / length, where the
    /// length is sqrt((x * x + y * y) + z * z) in single precision. A vector shorter than 1e-6 stays as it is.
    void (*normalise)(float const* in, float* out, std::size_t count);

    static Kernels const baseline, avx2, avx512;

    /// The set in use; `baseline` until this library's initialisers have run.
    static Kernels const& active() { return *_active; }
    /// The sets this CPU can run, the best one last.
    static std::span<Kernels const* const> supported();
    /// Changes the set in use, not while another thread computes; false, and no change, if there is no supported
    /// one of that name.
    static bool use(std::string_view name);

private:
    static Kernels const* _active;
};

} // namespace Zelvan
