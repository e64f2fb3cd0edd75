#include "player/commands/Tables.h"

#include "player/scene/Utf8.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <ostream>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

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

/// Of each column; 0 of one that is left out.
std::vector<std::size_t> Table::widthsFor(std::size_t width) const
{
    std::vector<std::size_t> widths(_right.size());
    for (auto const& row : _rows)
        for (std::size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], displayWidth(row[c]));
    auto const total = [&] {
        std::size_t sum = 0;
        for (std::size_t const one : widths)
            sum += one != 0 ? one + 2 : 0;
        return sum - std::min<std::size_t>(sum, 2);
    };
    constexpr std::size_t longestName = 28, least = 8;
    if (total() > width)
        widths[0] = std::min(widths[0], longestName);
    std::vector<std::pair<std::size_t, std::size_t>> left; // columns and their widths
    for (std::string const& heading : _leastUseful)
        if (auto const found = std::find(_rows[0].begin(), _rows[0].end(), heading);
            total() > width && found != _rows[0].end()) {
            auto const column = std::size_t(found - _rows[0].begin());
            left.emplace_back(column, std::exchange(widths[column], 0));
        }
    // A narrow one may still have room where a wide one had none.
    for (; !left.empty(); left.pop_back())
        if (total() + left.back().second + 2 <= width)
            widths[left.back().first] = left.back().second;
    for (auto widest = std::max_element(widths.begin(), widths.end()); total() > width && *widest > least;
         widest = std::max_element(widths.begin(), widths.end()))
        --*widest;
    return widths;
}

void Table::write(std::ostream& out, bool styled, std::size_t width) const
{
    std::vector<std::size_t> const widths = widthsFor(width);
    for (auto const& row : _rows) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            if (widths[c] == 0)
                continue;
            std::string const cell = fitted(row[c], widths[c]), fill(widths[c] - displayWidth(cell), ' ');
            line += c == 0 ? "" : "  ";
            line += _right[c] ? fill + cell : cell + fill;
        }
        line.resize(line.find_last_not_of(' ') + 1);
        bool const bold = styled && &row == &_rows.front();
        out << (bold ? "\033[1m" : "") << line << (bold ? "\033[0m" : "") << '\n';
    }
}

std::vector<std::string> wrapped(std::string const& text, std::size_t width)
{
    std::vector<std::string> lines{""};
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = std::min(text.find(' ', at), text.size());
        std::string const word = text.substr(at, end - at);
        std::string& line = lines.back();
        if (line.empty())
            line = word;
        else if (characters(line) + 1 + characters(word) <= width)
            line += ' ' + word;
        else
            lines.push_back(word);
        at = end + 1;
    }
    return lines;
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

std::size_t outputWidth(int descriptor)
{
    winsize size{};
    return ::isatty(descriptor) != 0 && ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

bool styledOutput(int descriptor)
{
    char const* const no = std::getenv("NO_COLOR");
    return (no == nullptr || *no == '\0') && ::isatty(descriptor) != 0;
}

} // namespace Zelvan::play
