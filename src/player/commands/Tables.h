#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Zelvan::play {

/// Rows of text in aligned columns, for people. Widths are those on a terminal, not bytes.
class Table {
public:
    /// A heading that begins with ">" is aligned to the right.
    explicit Table(std::vector<std::string> headings);
    void row(std::vector<std::string> cells);
    bool empty() const { return _rows.size() == 1; }
    /// The columns that are left out where there is no room for all, the least useful first.
    void leastUseful(std::vector<std::string> headings) { _leastUseful = std::move(headings); }
    /// Headings are set off in bold when `styled`. Lines are no longer than `width`: long names are shortened, then
    /// columns left out, then the widest ones shortened.
    void write(std::ostream& out, bool styled, std::size_t width = ~std::size_t(0)) const;

private:
    std::vector<std::size_t> widthsFor(std::size_t width) const;

    std::vector<std::string> _leastUseful;
    std::vector<bool> _right;
    std::vector<std::vector<std::string>> _rows;
};

/// Characters of a line of text.
inline constexpr std::size_t pageWidth = 100;
/// Lines of at most so many characters, broken between words.
std::vector<std::string> wrapped(std::string const& text, std::size_t width);
/// A curve of one line: low values as "▁", high ones as "█", gaps (NaN) as a space.
std::string sparkline(std::span<float const> values);
/// Columns of the terminal a descriptor is; 80 of a file or a pipe.
std::size_t outputWidth(int descriptor);
/// Whether to style what goes to a descriptor: it is a terminal and NO_COLOR is not set.
bool styledOutput(int descriptor);

} // namespace Zelvan::play
