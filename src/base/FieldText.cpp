#include "base/FieldText.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Zelvan {

namespace {

bool isSeparator(char c)
{
    return c == ' ' || c == ',' || c == '\n' || c == '\t' || c == '\r';
}

char const* wordEnd(char const* at)
{
    while (*at != '\0' && !isSeparator(*at))
        ++at;
    return at;
}

template <class Real>
struct Bits {
    using Word = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;
    static constexpr int mantissaBits = sizeof(Real) == 4 ? 23 : 52;
    static constexpr Word mantissa = (Word(1) << mantissaBits) - 1;
    static constexpr Word quiet = Word(1) << (mantissaBits - 1);
    static constexpr Word sign = Word(1) << (8 * sizeof(Real) - 1);
    static constexpr Word exponent = ~(sign | mantissa);
};

// "nan" and "nan(0x1)", behind an optional minus sign. Null when it is neither.
template <class Real>
char const* readNaN(char const* at, char const* end, Real& value)
{
    using B = Bits<Real>;
    typename B::Word bits = B::exponent;
    if (*at == '-') {
        bits |= B::sign;
        ++at;
    }
    if (end - at < 3 || std::memcmp(at, "nan", 3) != 0)
        return nullptr;
    at += 3;
    typename B::Word payload = B::quiet;
    if (at != end) {
        if (end - at < 5 || std::memcmp(at, "(0x", 3) != 0 || end[-1] != ')')
            return nullptr;
        auto const [stop, error] = std::from_chars(at + 3, end - 1, payload, 16);
        if (error != std::errc() || stop != end - 1 || payload == 0 || payload > B::mantissa)
            return nullptr;
    }
    value = std::bit_cast<Real>(static_cast<typename B::Word>(bits | payload));
    return end;
}

template <class Real>
void append(std::string& text, Real value)
{
    char buffer[48];
    char* end;
    if (std::isnan(value)) {
        using B = Bits<Real>;
        auto const bits = std::bit_cast<typename B::Word>(value);
        char* at = buffer;
        if ((bits & B::sign) != 0)
            *at++ = '-';
        std::memcpy(at, "nan", 3);
        end = at + 3;
        if ((bits & B::mantissa) != B::quiet) {
            std::memcpy(end, "(0x", 3);
            end = std::to_chars(end + 3, buffer + sizeof buffer, bits & B::mantissa, 16).ptr;
            *end++ = ')';
        }
    } else {
        end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    }
    text.append(buffer, end);
}

} // namespace

bool NumberReader::atEnd()
{
    while (isSeparator(*_at))
        ++_at;
    return *_at == '\0';
}

template <class Real>
bool NumberReader::readReal(Real& value)
{
    bool const ended = atEnd();
    _numberAt = _at;
    _expected = "a number";
    if (ended)
        return false;
    char const* const end = wordEnd(_at);
    char const* const digits = *_at == '+' && _at[1] != '-' ? _at + 1 : _at;
    auto [stop, error] = std::from_chars(digits, end, value);
    if (error == std::errc::result_out_of_range) {
        // Too small is as good as zero, too large is not a number of this kind.
        double wide = 0;
        bool const tiny = std::from_chars(digits, stop, wide).ec == std::errc::result_out_of_range
            ? std::strtod(std::string(digits, stop).c_str(), nullptr) == 0
            : std::abs(wide) < 1;
        if (!tiny) {
            _expected = sizeof(Real) == 4 ? "a number within the range of a float" : "a number within the range of a double";
            return false;
        }
        value = static_cast<Real>(*digits == '-' ? -0.0 : 0.0);
        error = std::errc();
    } else if (error == std::errc() && std::isnan(value)) {
        stop = readNaN(digits, end, value);
    }
    if (error != std::errc() || stop != end)
        return false;
    _at = end;
    return true;
}

bool NumberReader::read(float& value)
{
    return readReal(value);
}

bool NumberReader::read(double& value)
{
    return readReal(value);
}

std::string NumberReader::found() const
{
    constexpr std::ptrdiff_t longest = 40;
    if (*_numberAt == '\0')
        return "end of text";
    char const* const end = wordEnd(_numberAt);
    if (end - _numberAt <= longest)
        return {_numberAt, end};
    // Not in the middle of a UTF-8 sequence.
    char const* cut = _numberAt + longest;
    while (cut != _numberAt && (static_cast<unsigned char>(*cut) & 0xC0) == 0x80)
        --cut;
    return std::string(_numberAt, cut) + "...";
}

void appendNumber(std::string& text, float value)
{
    append(text, value);
}

void appendNumber(std::string& text, double value)
{
    append(text, value);
}

} // namespace Zelvan
