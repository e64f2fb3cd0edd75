#pragma once

#include <cstddef>
#include <string>

namespace Zelvan {

/// Reads the numbers of X3D attribute text: separated by white space and commas, in any mixture.
class NumberReader {
public:
    /// `text` ends with a zero byte.
    explicit NumberReader(char const* text) : _begin(text), _at(text) {}

    /// Skips separators; true when nothing but them is left.
    bool atEnd();
    /// Reads the next number. False when there is none: `expected()` and `found()` say why, `position()` where.
    bool read(float& value);
    bool read(double& value);

    /// Byte offset of the last number read, or of what stands in its place.
    std::size_t position() const { return static_cast<std::size_t>(_numberAt - _begin); }
    std::string const& expected() const { return _expected; }
    /// What stands at `position()`: the word there, shortened, or "end of text".
    std::string found() const;

private:
    template <class Real>
    bool readReal(Real& value);

    char const* _begin;
    char const* _at;
    char const* _numberAt = _begin;
    std::string _expected;
};

/// Appends the shortest decimal that reads back to the same bits; infinities as "inf", quiet NaNs as "nan",
/// other NaNs with their bits, "nan(0x1)".
void appendNumber(std::string& text, float value);
void appendNumber(std::string& text, double value);

} // namespace Zelvan
