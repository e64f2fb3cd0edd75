#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Zelvan::play {

/// The character a text of UTF-8 begins with.
struct CodePoint {
    char32_t value;  ///< the byte itself where it is not valid
    unsigned length; ///< bytes, 1 to 4; 1 where it is not valid
    bool valid;      ///< not cut off, overlong, a surrogate or beyond U+10FFFF
};
/// Of a text that is not empty. This is the only decoder: what it refuses is refused everywhere.
CodePoint decodeUtf8(std::string_view text);

/// Number of characters; a byte that does not fit in counts as one.
std::size_t characters(std::string_view text);
/// Columns that a text takes on a terminal: two for a wide character (CJK), none for one that combines.
std::size_t displayWidth(std::string_view text);
/// What of a text fits into so many columns, with "…" where something is left out.
std::string fitted(std::string_view text, std::size_t columns);

/// How people are shown a name, a value, or a message with a stranger's words in it: one line, in which nothing acts on
/// the terminal or reorders what stands beside it. Control characters, separators of lines, bidirectional controls and
/// bytes that are no UTF-8 appear as "\n", "\t", "\x1b", "\u202e".
std::string printable(std::string_view text);

} // namespace Zelvan::play
