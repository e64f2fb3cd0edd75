#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

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
    Input(std::uint8_t const* data, std::size_t size) : _at(data), _end(data + size) {}

    bool empty() const { return _at == _end; }
    unsigned byte() { return empty() ? 0 : *_at++; }
    unsigned below(unsigned count) { return byte() % count; }
    std::string bytes(std::size_t count)
    {
        std::size_t const left = static_cast<std::size_t>(_end - _at);
        std::string const taken(reinterpret_cast<char const*>(_at), count < left ? count : left);
        _at += taken.size();
        return taken;
    }
    /// One byte for a round or odd number, five for any bits.
    float number()
    {
        using Float = std::numeric_limits<float>;
        constexpr float odd[] = {-0.f, 1e-6f, 1e-30f, Float::denorm_min(), Float::min(), 16777216.f, 1e30f, Float::max(),
                                 -Float::max(), Float::infinity(), -Float::infinity(), Float::quiet_NaN(), 3.14159274f};
        unsigned const kind = byte();
        if (kind <= 200)
            return (static_cast<float>(kind) - 100.f) / 20.f;
        if (kind <= 200 + std::size(odd))
            return odd[kind - 201];
        std::uint8_t raw[4];
        for (std::uint8_t& b : raw)
            b = static_cast<std::uint8_t>(byte());
        float value;
        std::memcpy(&value, raw, sizeof value);
        return value;
    }
    std::vector<float> numbers(std::size_t count)
    {
        std::vector<float> list(count);
        for (float& value : list)
            value = number();
        return list;
    }

private:
    std::uint8_t const* _at;
    std::uint8_t const* _end;
};

} // namespace Zelvan::fuzz
