#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace Zelvan::play {

/// Rows of text in aligned columns, for people. Widths are counted in characters, not bytes.
class Table {
public:
    /// A heading that begins with ">" is aligned to the right.
    explicit Table(std::vector<std::string> headings);
    void row(std::vector<std::string> cells);
    bool empty() const { return _rows.size() == 1; }
    /// Headings are set off in bold when `styled`.
    void write(std::ostream& out, bool styled) const;

private:
    std::vector<bool> _right;
    std::vector<std::vector<std::string>> _rows;
};

/// A curve of one line: low values as "▁", high ones as "█", gaps (NaN) as a space.
std::string sparkline(std::span<float const> values);
/// Whether to style what goes to a descriptor: it is a terminal and NO_COLOR is not set.
bool styledOutput(int descriptor);

} // namespace Zelvan::play
