#pragma once

#include "player/reading/ElementTree.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Zelvan::play {

/// Words and values of ClassicVRML, front to back, in place. Commas are white space, comments end with their line.
/// What it returns are views of the text.
class ClassicScanner {
public:
    /// `text[size]` is a zero byte. Comments go to `tree`.
    ClassicScanner(char* text, std::size_t size, ElementTree& tree) : _begin(text), _at(text), _end(text + size), _tree(tree) {}

    /// Passes over white space and comments. The byte behind them; zero at the end, and for a zero byte.
    char peek()
    {
        // Most often there is nothing to pass over.
        if (auto const c = static_cast<unsigned char>(*_at); c <= ' ' || c == ',' || c == '#')
            passBlanks(false);
        return *_at;
    }
    bool atEnd() { return peek() == '\0' && _at == _end; }
    std::size_t offset() const { return static_cast<std::size_t>(_at - _begin); }
    std::size_t offsetOf(std::string_view view) const { return static_cast<std::size_t>(view.data() - _begin); }
    /// Passes over `c` if it is next.
    bool take(char c)
    {
        bool const isNext = peek() == c;
        _at += isNext;
        return isNext;
    }
    /// Passes over the next word. Anything but white space, brackets, braces, quotes and "#" may be in one; empty when
    /// none is next.
    std::string_view word();
    std::string_view wordAhead();
    /// DEF for "Def" and its like, when that can be no node type: no "{" is next.
    std::string_view keyword(std::string_view word);
    /// A word, and where it stands.
    struct Name {
        std::string_view text;
        std::size_t offset = 0;
    };
    /// Throws SyntaxError where none is next: `what` was expected. Takes one in quotes for what stands in them.
    Name name(char const* what);

    /// Numbers, strings or truth values, as many as follow each other: in a list those up to its "]", which is passed
    /// over, as is the whole list when it is empty. Nothing when something else is next.
    std::optional<std::string_view> value(bool inList, std::size_t listBegin = SyntaxError::none);
    /// One string, without its quotes and backslashes; nothing when none is next.
    std::optional<std::string_view> plainString();
    /// Begins an element of the tree, and adds an attribute to the open one; the words have been passed.
    void open(std::string_view name, std::size_t offset) { _tree.open(terminated(name).data(), offset); }
    void attribute(std::string_view name, Name const& value);
    /// The byte behind a part of a word that has been passed is not needed any more.
    void cut(std::string_view part) { _begin[offsetOf(part) + part.size()] = '\0'; }

    /// What is next, for a message.
    std::string found();
    /// A word in quotes, shortened.
    static std::string shown(std::string_view word);
    /// Throws SyntaxError: `expected`, and what is next.
    void excuse(std::string const& what, std::size_t offset) { _tree.excuse(what, offset); }
    [[noreturn]] void refuse(std::string const& expected, std::size_t beginning = SyntaxError::none);

private:
    enum class Kind { none, numbers, strings, truths };
    Kind kindAhead();
    void passLine();
    void passComment(bool blank);
    void passBlanks(bool blankComments);
    void passString();
    void passNumbers();
    void passTruths();
    /// The same text with a zero byte behind it: in place where that byte separates and is not needed any more.
    std::string_view terminated(std::string_view view);

    char* const _begin;
    char* _at;
    char* const _end;
    ElementTree& _tree;
};

} // namespace Zelvan::play
