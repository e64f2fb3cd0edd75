#include "interpolationNodePool/Kernels.h"

#include <cstdlib>

namespace Zelvan {

// Set at compile time, so that an event in another file's initialiser finds a set in place.
constinit Kernels const* Kernels::_active = &Kernels::baseline;

std::span<Kernels const* const> Kernels::supported()
{
    static Kernels const* const sets[] = {&baseline, &avx2, &avx512};
    static std::size_t const count = [] {
        __builtin_cpu_init(); // this may run before the compiler's own initialiser
        if (!__builtin_cpu_supports("avx2"))
            return 1;
        if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512dq")
            || !__builtin_cpu_supports("avx512bw"))
            return 2;
        return 3;
    }();
    return {sets, count};
}

bool Kernels::use(std::string_view name)
{
    for (Kernels const* kernels : supported()) {
        if (name == kernels->name) {
            _active = kernels;
            return true;
        }
    }
    return false;
}

namespace {

[[maybe_unused]] bool const chosen = [] {
    char const* const wanted = std::getenv("ZELVAN_KERNELS");
    return (wanted && Kernels::use(wanted)) || Kernels::use(Kernels::supported().back()->name);
}();

} // namespace

} // namespace Zelvan
