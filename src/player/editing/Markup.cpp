#include "player/editing/Markup.h"

#include "player/scene/Diagnostics.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

namespace Zelvan::play {

namespace {

/// Goes through the words of a text.
class Cursor {
public:
    Cursor(AuthorFile const& file, std::size_t begin) : _file(file), _text(file.text()), at(std::min(begin, _text.size())) {}

    [[noreturn]] void refuse(char const* expected) const
    {
        throw Failure(exitScene, _file.path() + " is not edited: expected " + expected + " at byte " + std::to_string(at));
    }
    bool ahead(std::string_view word) const { return _text.substr(at).starts_with(word); }
    void pass(std::string_view set) { at = std::min(_text.find_first_not_of(set, at), _text.size()); }
    void passBehind(std::string_view mark)
    {
        auto const found = _text.find(mark, at);
        if (found == std::string_view::npos)
            refuse("an end");
        at = found + mark.size();
    }
    TextRange word(std::string_view stop)
    {
        std::size_t const begin = at;
        at = std::min(_text.find_first_of(stop, at), _text.size());
        return {begin, at};
    }
    std::string_view of(TextRange range) const { return _text.substr(range.begin, range.end - range.begin); }
    char next() const { return at < _text.size() ? _text[at] : '\0'; }

    // Classic: over blanks and comments.
    void passClassicBlanks()
    {
        for (pass(blanksOfLists); beginsComment(); pass(blanksOfLists))
            at = std::min(_text.find_first_of("\r\n", at), _text.size());
    }
    // Not in 1.#QNAN.
    bool beginsComment() const
    {
        return next() == '#'
            && !(at > 1 && _text[at - 1] == '.' && std::isdigit(static_cast<unsigned char>(_text[at - 2]))
                 && at + 1 < _text.size() && std::isupper(static_cast<unsigned char>(_text[at + 1])));
    }
    TextRange classicWord()
    {
        static std::string const stop = std::string(blanksOfLists) + "[]{}#\"";
        passClassicBlanks();
        TextRange range = word(stop);
        while (next() == '#' && !beginsComment()) {
            ++at;
            range.end = word(stop).end;
        }
        return range;
    }
    // Classic: from one quote behind the other.
    void passString()
    {
        for (++at; at < _text.size() && _text[at] != '"'; ++at)
            at += _text[at] == '\\';
        at = std::min(at + 1, _text.size());
    }
    // Classic: over a body in braces, strings and comments in it.
    void passBraces()
    {
        for (unsigned depth = 0; at < _text.size();) {
            if (beginsComment()) {
                at = std::min(_text.find_first_of("\r\n", at), _text.size());
            } else if (_text[at] == '"') {
                passString();
            } else {
                char const c = _text[at++];
                depth += c == '{';
                if (c == '}' && --depth == 0)
                    return;
            }
        }
        refuse("a \"}\"");
    }
    // XML: a tag up to its ">"; calls attribute(name, value) for each. True when it ends with "/>".
    template <class Attribute>
    bool passTag(Attribute attribute)
    {
        for (;;) {
            pass(" \t\r\n");
            if (ahead("/>"))
                return at += 2, true;
            if (next() == '>')
                return ++at, false;
            TextRange const name = word(" \t\r\n=/>");
            pass(" \t\r\n");
            if (name.begin == name.end || next() != '=')
                refuse("an attribute");
            ++at;
            pass(" \t\r\n");
            char const quote = next();
            if (quote != '"' && quote != '\'')
                refuse("a quote");
            ++at;
            TextRange const value = word({&quote, 1});
            if (next() != quote)
                refuse("a quote");
            ++at;
            attribute(of(name), value);
        }
    }
    // XML: over what is no tag of an element.
    bool passOther()
    {
        if (ahead("<!--"))
            passBehind("-->");
        else if (ahead("<![CDATA["))
            passBehind("]]>");
        else if (ahead("<?"))
            passBehind("?>");
        else
            return false;
        return true;
    }

private:
    AuthorFile const& _file;
    std::string_view _text;

public:
    std::size_t at;
};

constexpr auto noAttribute = [](std::string_view, TextRange) {};

} // namespace

NodeText nodeText(AuthorFile const& file, std::uint32_t offset)
{
    Cursor cursor(file, offset);
    NodeText text;
    text.whole.begin = offset;
    if (file.classic()) {
        text.name = cursor.classicWord();
        if (cursor.of(text.name) == "DEF") {
            cursor.classicWord();
            text.name = cursor.classicWord();
        }
        cursor.passClassicBlanks();
        if (cursor.next() != '{')
            cursor.refuse("a \"{\"");
        cursor.passBraces();
        text.whole.end = cursor.at;
        return text;
    }
    if (cursor.next() != '<')
        cursor.refuse("a tag");
    ++cursor.at;
    text.name = cursor.word(" \t\r\n/>");
    for (unsigned depth = cursor.passTag(noAttribute) ? 0 : 1; depth > 0;) {
        cursor.at = std::min(file.text().find('<', cursor.at), file.text().size());
        if (cursor.next() == '\0')
            cursor.refuse("an end tag");
        if (cursor.passOther())
            continue;
        if (cursor.ahead("</")) {
            cursor.at += 2;
            text.endName = cursor.word(" \t\r\n>");
            cursor.passBehind(">");
            --depth;
        } else {
            ++cursor.at;
            cursor.word(" \t\r\n/>");
            depth += !cursor.passTag(noAttribute);
        }
    }
    text.whole.end = cursor.at;
    return text;
}

namespace {

// Comments may stand anywhere: only the way from the node's beginning tells what is a word.
TextRange classicFieldText(AuthorFile const& file, std::uint32_t node, std::uint32_t value)
{
    Cursor cursor(file, node);
    std::size_t begin = node; // of what goes: the name, with the blanks before it unless they end a comment
    bool list = false;
    auto const step = [&] { // over one word, or a bracket
        if (cursor.next() == '"')
            return cursor.passString();
        TextRange const word = cursor.classicWord();
        cursor.at += word.begin == word.end;
    };
    for (std::size_t end = node;; end = cursor.at) {
        cursor.passClassicBlanks();
        if (cursor.at >= value)
            break;
        list = cursor.next() == '[';
        if (!list)
            begin = file.text().substr(end, cursor.at - end).find('#') == std::string_view::npos ? end : cursor.at;
        step();
    }
    if (!list) {
        step();
        std::size_t const end = cursor.at;
        cursor.passClassicBlanks();
        if (cursor.next() != '\0' && std::string_view("+-.0123456789").find(cursor.next()) != std::string_view::npos)
            cursor.refuse("one value, or brackets");
        cursor.at = end;
    }
    for (; list && cursor.next() != ']' && cursor.next() != '\0'; cursor.passClassicBlanks())
        step();
    return {begin, cursor.at + list};
}

} // namespace

TextRange fieldText(AuthorFile const& file, std::uint32_t node, std::uint32_t value)
{
    std::string_view const text = file.text();
    auto const back = [&](std::size_t at, bool over) { // the byte behind the last one that is not blank, or is
        while (at > 0 && (std::string_view(" \t\r\n,").find(text[at - 1]) != std::string_view::npos) == over)
            --at;
        return at;
    };
    if (file.classic())
        return classicFieldText(file, node, value);
    Cursor cursor(file, value);
    char const quote = value > 0 ? text[value - 1] : '\0';
    std::size_t const sign = back(value - std::size_t(value > 0), true);
    if ((quote != '"' && quote != '\'') || sign == 0 || text[sign - 1] != '=')
        cursor.refuse("an attribute");
    cursor.word({&quote, 1});
    return {back(back(back(sign - 1, true), false), true), std::min(cursor.at + 1, text.size())};
}

namespace {

// What nodes stand in, from the outermost.
struct Around {
    std::string_view field; ///< of the list in brackets; in XML the element; "" for a body in braces
    bool proto = false;     ///< the body of a PROTO
    bool begun = false;     ///< a node stands before
};

std::set<std::uint32_t> looseInClassic(AuthorFile const& file, std::set<std::uint32_t> const& offsets)
{
    constexpr std::string_view statements[] = {"USE", "PROFILE", "COMPONENT", "TO", "AS", "EXPORT", "IMPORT"};
    constexpr std::string_view values[] = {"TRUE", "FALSE", "NULL"};
    std::set<std::uint32_t> loose;
    Cursor cursor(file, 0);
    std::string_view before, last;
    std::vector<Around> around;
    for (std::uint32_t const offset : offsets) {
        for (cursor.passClassicBlanks(); cursor.at < offset; cursor.passClassicBlanks()) {
            TextRange word = cursor.classicWord();
            char const mark = word.begin == word.end ? cursor.next() : '\0';
            if (mark == '"')
                cursor.passString(), word.end = cursor.at;
            else if (mark != '\0')
                word.end = ++cursor.at;
            if (mark == '[' || mark == '{') {
                around.push_back({mark == '[' ? last : "", mark == '{' && last == "]", false});
            } else if ((mark == ']' || mark == '}') && !around.empty()) {
                bool const node = mark == '}' && !around.back().proto;
                around.pop_back();
                if (node && !around.empty())
                    around.back().begun = true;
            }
            before = std::exchange(last, cursor.of(word));
        }
        bool const sole = !last.empty() && std::isalpha(static_cast<unsigned char>(last[0]))
            && !std::ranges::count(values, last) && !std::ranges::count(statements, before);
        bool const plain = around.empty() || around.back().field == "children" || (around.back().proto && around.back().begun);
        TextRange const whole = nodeText(file, offset).whole;
        std::string_view const text = cursor.of(whole);
        if (!sole && plain && text.find('{') == text.rfind('{'))
            loose.insert(offset);
    }
    return loose;
}

std::set<std::uint32_t> looseInXml(AuthorFile const& file, std::set<std::uint32_t> const& offsets)
{
    constexpr std::string_view groups[] = {"Scene", "Group", "Transform", "StaticGroup", "Anchor", "Billboard", "Collision"};
    constexpr std::string_view statements[] = {"ROUTE", "ProtoDeclare", "ExternProtoDeclare", "IMPORT", "EXPORT"};
    std::set<std::uint32_t> loose;
    Cursor cursor(file, 0);
    std::vector<Around> around;
    std::size_t const size = file.text().size();
    while (cursor.at = std::min(file.text().find('<', cursor.at), size), cursor.at < size) {
        if (cursor.passOther())
            continue;
        std::size_t const at = cursor.at++;
        if (cursor.next() == '/') {
            cursor.passBehind(">");
            if (!around.empty())
                around.pop_back();
            continue;
        }
        std::string_view const name = cursor.of(cursor.word(" \t\r\n/>"));
        bool const plain = !around.empty()
            && (std::ranges::count(groups, around.back().field) || (around.back().field == "ProtoBody" && around.back().begun));
        if (!around.empty())
            around.back().begun |= !std::ranges::count(statements, name);
        bool const empty = cursor.passTag(noAttribute);
        if (plain && offsets.contains(static_cast<std::uint32_t>(at))) {
            TextRange const whole = nodeText(file, static_cast<std::uint32_t>(at)).whole;
            std::string_view const text = cursor.of(whole);
            if (empty || text.find('<', 1) == text.rfind('<')) // but for its end tag
                loose.insert(static_cast<std::uint32_t>(at));
        }
        if (!empty)
            around.push_back({name, false, false});
    }
    return loose;
}

} // namespace

std::set<std::uint32_t> looseNodes(AuthorFile const& file, std::set<std::uint32_t> const& offsets)
{
    return file.classic() ? looseInClassic(file, offsets) : looseInXml(file, offsets);
}

std::set<std::string_view> usedNames(AuthorFile const& file)
{
    std::string_view const text = file.text();
    std::set<std::string_view> names;
    Cursor cursor(file, 0);
    if (!file.classic()) {
        for (std::size_t at = 0; (at = text.find("USE", at)) != text.npos;) {
            cursor.at = at += 3;
            cursor.pass(" \t\r\n=");
            char const quote = cursor.next();
            if (quote != '"' && quote != '\'')
                continue;
            ++cursor.at;
            std::string_view const name = cursor.of(cursor.word({&quote, 1}));
            names.insert(name.find('&') == name.npos ? name : anyName);
        }
        return names;
    }
    while (cursor.at < text.size()) {
        TextRange const word = cursor.classicWord();
        if (cursor.of(word) == "USE" || cursor.of(word) == "use") {
            cursor.passClassicBlanks();
            bool const quoted = cursor.next() == '"';
            cursor.at += quoted;
            names.insert(cursor.of(quoted ? cursor.word("\"") : cursor.classicWord()));
        } else if (word.begin == word.end) {
            cursor.next() == '"' ? cursor.passString() : void(++cursor.at);
        }
    }
    return names;
}

RouteText routeText(AuthorFile const& file, std::uint32_t offset)
{
    Cursor cursor(file, offset);
    RouteText text;
    text.whole.begin = offset;
    if (file.classic()) {
        if (TextRange const word = cursor.classicWord(); cursor.of(word) != "ROUTE")
            cursor.refuse("ROUTE");
        TextRange const from = cursor.classicWord();
        auto const pair = [&cursor](TextRange word) { // in one word
            auto const dot = cursor.of(word).rfind('.');
            if (dot == std::string_view::npos || dot == 0 || word.begin + dot + 1 == word.end)
                cursor.refuse("NODE.field");
            return dot;
        };
        auto const dot = pair(from);
        text.fromNode = {from.begin, from.begin + dot};
        text.fromField = {from.begin + dot + 1, from.end};
        cursor.classicWord(); // TO
        pair(cursor.classicWord());
    } else {
        if (!cursor.ahead("<ROUTE"))
            cursor.refuse("<ROUTE");
        cursor.at += 6;
        cursor.passTag([&](std::string_view name, TextRange value) {
            TextRange* const part = name == "fromNode" ? &text.fromNode : name == "fromField" ? &text.fromField : nullptr;
            if (part != nullptr && part->end != 0)
                cursor.refuse("fromNode and fromField once");
            if (part != nullptr)
                *part = value;
        });
        if (text.fromNode.end == 0 || text.fromField.end == 0)
            cursor.refuse("fromNode and fromField");
        cursor.at = nodeText(file, offset).whole.end;
    }
    text.whole.end = cursor.at;
    return text;
}

TextRange withItsLine(AuthorFile const& file, TextRange range)
{
    std::string_view const text = file.text();
    std::size_t const before = text.find_last_not_of(" \t", range.begin - (range.begin > 0));
    std::size_t const begin = range.begin == 0 || before == std::string_view::npos ? 0 : before + 1;
    std::size_t const after = std::min(text.find_first_not_of(" \t\r", range.end), text.size());
    bool const alone = (begin == 0 || text[begin - 1] == '\n') && (after == text.size() || text[after] == '\n');
    return alone ? TextRange{begin, std::min(after + 1, text.size())} : range;
}

} // namespace Zelvan::play
