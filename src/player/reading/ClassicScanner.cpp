#include "player/reading/ClassicScanner.h"

#include "player/scene/Values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace Zelvan::play {

namespace {

enum : unsigned char { blank = 1, mark = 2, ofNumber = 4 };

// Lists that are read as numbers later have only the first five blanks.
constexpr auto classes = [] {
    std::array<unsigned char, 256> table{};
    for (std::size_t i = 0; i < blanksOfLists.size(); ++i)
        table[static_cast<unsigned char>(blanksOfLists[i])] = i < 5 ? blank | ofNumber : blank;
    for (unsigned char const c : {'[', ']', '{', '}', '"', '#', '\0'})
        table[c] = mark;
    for (unsigned char const c : {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '+', '-', '.'})
        table[c] = ofNumber;
    return table;
}();

bool is(char c, unsigned kinds)
{
    return (classes[static_cast<unsigned char>(c)] & kinds) != 0;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

char* endOfWord(char* at)
{
    while (!is(*at, blank | mark))
        ++at;
    return at;
}

bool equals(std::string_view word, std::string_view lower)
{
    return std::ranges::equal(word, lower, [](char a, char b) { return (a | ('a' - 'A')) == b; });
}

// Also words that are meant as one and are none: whoever reads the value says so.
bool isNumber(std::string_view word)
{
    if (word.starts_with('-') || word.starts_with('+'))
        word.remove_prefix(1);
    return !word.empty()
        && (isDigit(word[0]) || word[0] == '.' || equals(word, "nan") || equals(word, "inf") || equals(word, "infinity")
            || equals(word.substr(0, 4), "nan("));
}

// 1.#QNAN and its like, as some compilers print them.
bool isNoNumber(std::string_view word)
{
    constexpr std::string_view kinds[] = {"IND", "INF", "QNAN", "SNAN"};
    return std::ranges::find(kinds, word.substr(0, word.find_last_not_of('0') + 1)) != std::end(kinds);
}

// 0xFF becomes 255 and a blank: whoever reads the value knows no other numbers.
void convertHexadecimal(char* begin, char* end)
{
    begin += *begin == '-' || *begin == '+';
    std::uint32_t value;
    if (end - begin < 3 || begin[0] != '0' || (begin[1] != 'x' && begin[1] != 'X'))
        return;
    if (auto const [stop, error] = std::from_chars(begin + 2, end, value, 16); stop != end || error != std::errc())
        return;
    // One digit less is needed at the least: 0x and n digits are n + 2 places.
    begin = std::to_chars(begin, end, value).ptr;
    std::fill(begin, end, ' ');
}

} // namespace

std::string_view ClassicScanner::word()
{
    peek();
    char const* const begin = _at;
    _at = endOfWord(_at);
    return {begin, _at};
}

std::string_view ClassicScanner::wordAhead()
{
    peek();
    return {_at, endOfWord(_at)};
}

std::string_view ClassicScanner::keyword(std::string_view word)
{
    constexpr std::string_view keywords[][2] = {{"def", "DEF"},
                                                {"use", "USE"},
                                                {"null", "NULL"},
                                                {"route", "ROUTE"},
                                                {"to", "TO"},
                                                {"proto", "PROTO"},
                                                {"externproto", "EXTERNPROTO"}};
    if (peek() == '{')
        return word;
    for (auto const& [lower, upper] : keywords)
        if (word != upper && equals(word, lower)) {
            excuse("expected " + std::string(upper) + ", found " + shown(word) + ": VRML tells capitals from small letters",
                   offsetOf(word));
            return upper;
        }
    return word;
}

ClassicScanner::Name ClassicScanner::name(char const* what)
{
    peek();
    std::size_t const at = offset();
    if (auto const quoted = plainString()) {
        if (quoted->empty())
            throw SyntaxError(at, std::string("expected ") + what + ", found an empty string");
        excuse("a name stands in quotes", at);
        return {*quoted, at + 1};
    }
    std::string_view const found = word();
    if (found.empty())
        refuse(what);
    return {found, offsetOf(found)};
}

void ClassicScanner::passLine()
{
    while (_at != _end && *_at != '\n' && *_at != '\r')
        ++_at;
}

void ClassicScanner::passComment(bool blankIt)
{
    char* const begin = _at;
    passLine();
    _tree.comment({begin + 1, _at}, static_cast<std::size_t>(begin + 1 - _begin));
    if (blankIt)
        std::fill(begin, _at, ' ');
}

void ClassicScanner::passBlanks(bool blankComments)
{
    for (;;) {
        while (is(*_at, blank))
            ++_at;
        if (*_at != '#')
            return;
        passComment(blankComments);
    }
}

void ClassicScanner::passString()
{
    std::size_t const begin = offset();
    for (++_at; *_at != '"'; ++_at) {
        if (*_at == '\\' && _at[1] != '\0')
            ++_at;
        else if (_at == _end)
            refuse("the string's closing quote", begin);
    }
    ++_at;
}

// Digits and what stands between them go by in one loop; the rest is rare.
void ClassicScanner::passNumbers()
{
    char* const begin = _at;
    for (;;) {
        while (is(*_at, ofNumber))
            ++_at;
        char const c = *_at;
        bool const behindPoint = _at != begin && _at[-1] == '.';
        if ((c == 'e' || c == 'E') && (behindPoint || (_at != begin && isDigit(_at[-1])))) {
            ++_at;
        } else if (c == '#') {
            char* const end = endOfWord(_at + 1);
            if (behindPoint && isNoNumber({_at + 1, end}))
                _at = end;
            else
                passComment(true);
        } else if (is(c, blank)) {
            *_at = ' ';
        } else if (is(c, mark)) {
            return;
        } else {
            char* word = _at;
            while (word != begin && !is(word[-1], blank | mark))
                --word;
            char* const end = endOfWord(_at);
            if (!isNumber({word, end})) {
                _at = word;
                return;
            }
            convertHexadecimal(word, end);
            _at = end;
        }
    }
}

void ClassicScanner::passTruths()
{
    for (std::string_view word = wordAhead(); equals(word, "true") || equals(word, "false"); word = wordAhead()) {
        for (; word.data() + word.size() != _at; ++_at)
            *_at = static_cast<char>(*_at | ('a' - 'A'));
        passBlanks(true);
    }
}

ClassicScanner::Kind ClassicScanner::kindAhead()
{
    if (char const c = peek(); c == '"' || isDigit(c))
        return c == '"' ? Kind::strings : Kind::numbers;
    std::string_view const word = wordAhead();
    return equals(word, "true") || equals(word, "false") ? Kind::truths : isNumber(word) ? Kind::numbers : Kind::none;
}

std::optional<std::string_view> ClassicScanner::value(bool inList, std::size_t listBegin)
{
    Kind const kind = kindAhead();
    char* const begin = _at;
    if (kind == Kind::none && inList && *_at == ']') {
        ++_at;
        return std::string_view(begin, begin);
    }
    switch (kind) {
    case Kind::none: return {};
    case Kind::numbers: passNumbers(); break;
    case Kind::truths: passTruths(); break;
    case Kind::strings:
        while (*_at == '"') {
            passString();
            passBlanks(true);
        }
    }
    char const* end = _at;
    while (is(end[-1], blank))
        --end;
    if (inList && !take(']')) {
        char const* const what[] = {"", "a number", "a string", "TRUE, FALSE"};
        refuse(what[static_cast<int>(kind)] + std::string(" or \"]\""), listBegin);
    }
    return std::string_view(begin, end);
}

std::optional<std::string_view> ClassicScanner::plainString()
{
    if (peek() != '"')
        return {};
    char const* const begin = _at + 1;
    char* write = _at + 1;
    passString();
    for (char const* read = begin; read != _at - 1; ++read)
        *write++ = *read == '\\' && read + 1 != _at - 1 ? *++read : *read;
    *write = '\0';
    return std::string_view(begin, write);
}

void ClassicScanner::attribute(std::string_view name, Name const& value)
{
    std::string_view const text = terminated(value.text);
    _tree.attribute(terminated(name).data(), text, value.offset);
}

std::string_view ClassicScanner::terminated(std::string_view view)
{
    if (view.data()[view.size()] == '\0')
        return view;
    char* const behind = _begin + offsetOf(view) + view.size();
    bool const isPassed = behind < _at && (is(*behind, blank | mark) && *behind != '"');
    if (!isPassed && (behind != _at || !is(*behind, blank)))
        return _tree.keep(view);
    *behind = '\0';
    _at += behind == _at;
    return view;
}

std::string ClassicScanner::shown(std::string_view word)
{
    constexpr std::size_t longest = 40;
    if (word.size() <= longest)
        return '"' + std::string(word) + '"';
    // Not in the middle of a character.
    std::size_t end = longest;
    while (end != 0 && (static_cast<unsigned char>(word[end]) & 0xC0) == 0x80)
        --end;
    return '"' + std::string(word.substr(0, end)) + "...\"";
}

std::string ClassicScanner::found()
{
    char const c = peek();
    if (c == '\0')
        return _at == _end ? "the end of the file" : "a zero byte";
    return c == '"' ? "a string" : is(c, mark) ? shown({_at, 1}) : shown(wordAhead());
}

void ClassicScanner::refuse(std::string const& expected, std::size_t beginning)
{
    peek();
    throw SyntaxError(offset(), "expected " + expected + ", found " + found(), beginning);
}

} // namespace Zelvan::play
