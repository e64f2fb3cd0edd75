#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace Zelvan::fuzz {

/// What must hold for every input. If it does not, the process ends here and the input is kept.
inline void require(bool holds, char const* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

/// Numbers and texts out of a run of bytes; zeros and nothing after its end.
class Input {
public:
    Input(std::uint8_t const* data, std::size_t size) : _rest(reinterpret_cast<char const*>(data), size) {}
    bool empty() const { return _rest.empty(); }
    std::string bytes(std::size_t count)
    {
        std::string const taken(_rest.substr(0, count));
        _rest.remove_prefix(taken.size());
        return taken;
    }
    unsigned below(unsigned count) { return empty() ? 0 : static_cast<unsigned char>(bytes(1)[0]) % count; }
    /// One byte each for round and odd numbers, five for any bits.
    std::vector<float> numbers(std::size_t count)
    {
        using Float = std::numeric_limits<float>;
        constexpr float odd[] = {
            -0.f,       1e-6f,        1e-30f,        Float::denorm_min(), Float::min(),       16777216.f,
            1e30f,      Float::max(), -Float::max(), Float::infinity(),   -Float::infinity(), Float::quiet_NaN(),
            3.14159274f};
        std::vector<float> list(count);
        for (float& value : list) {
            unsigned const kind = below(256), index = kind - 201;
            value = kind <= 200 ? (float(kind) - 100.f) / 20.f : index < std::size(odd) ? odd[index] : 0.f;
            if (kind > 200 && index >= std::size(odd)) {
                std::string const raw = bytes(4);
                std::memcpy(&value, raw.data(), raw.size());
            }
        }
        return list;
    }

private:
    std::string_view _rest;
};

} // namespace Zelvan::fuzz
