#pragma once

namespace Zelvan {

/// A set of bits that fits one machine word: the fields of a node type, one bit per field index.
template <class Word>
class BitVector {
public:
    constexpr BitVector(Word bits = 0) noexcept : _bits(bits) {}
    constexpr BitVector(BitVector const&) noexcept = default;
    constexpr BitVector& operator=(BitVector const&) noexcept = default;
    // Not defaulted: masks are objects with a lifetime, built at load and destroyed at unload.
    constexpr ~BitVector() {}

    constexpr Word bits() const { return _bits; }
    constexpr BitVector& operator|=(BitVector const& other) { return *this = _bits | other._bits; }
    constexpr BitVector& operator&=(BitVector const& other) { return *this = _bits & other._bits; }
    constexpr BitVector operator&(BitVector const& other) const { return _bits & other._bits; }
    constexpr BitVector operator~() const { return ~_bits; }
    constexpr bool operator==(BitVector const& other) const { return _bits == other._bits; }

private:
    Word _bits;
};

} // namespace Zelvan
