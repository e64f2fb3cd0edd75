#include "player/scene/DidYouMean.h"

#include <algorithm>
#include <array>

namespace Zelvan::play {

namespace {

constexpr std::size_t longest = 64; // names beyond are not typed by hand

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same(char a, char b)
{
    return lower(a) == lower(b);
}

// Damerau's distance, without repeated changes of one place and without regard to case; anything above `most` when
// it is more.
std::size_t distance(std::string_view a, std::string_view b, std::size_t most)
{
    std::array<std::array<std::size_t, longest + 1>, 3> rows{};
    for (std::size_t j = 0; j <= b.size(); ++j)
        rows[0][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        auto& row = rows[i % 3];
        auto const& above = rows[(i - 1) % 3];
        auto const& second = rows[(i + 1) % 3];
        std::size_t least = row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            bool const equal = same(a[i - 1], b[j - 1]);
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (equal ? 0 : 1)});
            if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]))
                row[j] = std::min(row[j], second[j - 2] + 1);
            least = std::min(least, row[j]);
        }
        if (least > most)
            return most + 1;
    }
    return rows[a.size() % 3][b.size()];
}

} // namespace

DidYouMean::DidYouMean(std::string_view name)
    : _name(name), _least(name.size() > longest ? 0 : std::min<std::size_t>(name.size() / 3, 3))
{}

void DidYouMean::offer(std::string_view candidate)
{
    if (candidate == _name || std::max(candidate.size(), _name.size()) > longest)
        return;
    if (std::max(_name.size(), candidate.size()) - std::min(_name.size(), candidate.size()) > _least)
        return;
    std::size_t const errors = distance(_name, candidate, _least);
    if (errors > _least || (!_nearest.empty() && errors == _least))
        return;
    _nearest = candidate;
    _least = errors;
}

std::string DidYouMean::text() const
{
    return _nearest.empty() ? "" : "; did you mean \"" + _nearest + "\"?";
}

} // namespace Zelvan::play
