#include "player/commands/Tables.h"

#include "player/scene/Utf8.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <ostream>
#include <unistd.h>

namespace Zelvan::play {

Table::Table(std::vector<std::string> headings)
{
    for (std::string& heading : headings) {
        _right.push_back(heading.starts_with('>'));
        if (_right.back())
            heading.erase(0, 1);
    }
    _rows.push_back(std::move(headings));
}

void Table::row(std::vector<std::string> cells)
{
    cells.resize(_right.size());
    _rows.push_back(std::move(cells));
}

void Table::write(std::ostream& out, bool styled) const
{
    std::vector<std::size_t> widths(_right.size());
    for (auto const& row : _rows)
        for (std::size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], characters(row[c]));
    for (auto const& row : _rows) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            std::string const fill(widths[c] - characters(row[c]), ' ');
            line += c == 0 ? "" : "  ";
            line += _right[c] ? fill + row[c] : row[c] + fill;
        }
        line.resize(line.find_last_not_of(' ') + 1);
        bool const bold = styled && &row == &_rows.front();
        out << (bold ? "\033[1m" : "") << line << (bold ? "\033[0m" : "") << '\n';
    }
}

std::string sparkline(std::span<float const> values)
{
    constexpr char const* blocks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    float low = std::numeric_limits<float>::infinity(), high = -low;
    for (float const v : values)
        if (std::isfinite(v)) {
            low = std::min(low, v);
            high = std::max(high, v);
        }
    std::string line;
    for (float const v : values) {
        if (!std::isfinite(v)) {
            line += ' ';
            continue;
        }
        double const share = high > low ? (static_cast<double>(v) - low) / (static_cast<double>(high) - low) : 0;
        line += blocks[std::min(7, static_cast<int>(share * 8))];
    }
    return line;
}

bool styledOutput(int descriptor)
{
    char const* const no = std::getenv("NO_COLOR");
    return (no == nullptr || *no == '\0') && ::isatty(descriptor) != 0;
}

} // namespace Zelvan::play
