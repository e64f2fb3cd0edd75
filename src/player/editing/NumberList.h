#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

class AuthorFile;

/// The numbers of one value in an author's text: where each stands, and how they are separated.
class NumberList {
public:
    /// `offset` is that of the value's first byte, behind the quote or bracket. Throws Failure where no numbers stand.
    NumberList(AuthorFile const& file, std::uint32_t offset);

    std::vector<float> const& numbers() const { return _numbers; }

    /// A number of the list to be: one that stands there already, or a new one.
    struct Number {
        float value;
        std::optional<std::size_t> old;
    };
    /// The list with these numbers, in the author's habit: separators, commas, numbers per line, with `components`
    /// numbers to a value. Each is the shortest text that reads back to the same float, or the author's if that is no longer.
    std::string written(std::vector<Number> const& numbers, unsigned components) const;
    /// The same, as an edit of the file.
    void replace(AuthorFile& file, std::vector<Number> const& numbers, unsigned components) const;

private:
    struct Token {
        std::size_t begin, end;
    };
    struct Habit {
        std::string_view inner, outer, line; ///< within a value, between values, and between lines
        std::size_t perLine = 0;             ///< numbers; 0 where all stand on one line
    };
    std::string_view gap(std::size_t after) const;
    Habit habit(unsigned components) const;

    std::string_view _text;
    std::size_t _offset;
    bool _classic;
    bool _bare = false; ///< without brackets
    std::vector<Token> _tokens;
    std::vector<float> _numbers;
};

} // namespace Zelvan::play
