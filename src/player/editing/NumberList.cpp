#include "player/editing/NumberList.h"

#include "base/Fields.h"
#include "player/editing/AuthorFile.h"
#include "player/scene/Diagnostics.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <map>

namespace Zelvan::play {

namespace {

bool isBlank(char c)
{
    return blanksOfLists.find(c) != std::string_view::npos;
}

// Length of a character reference that stands for a blank ("&#10;", "&#x9;"); 0 for anything else.
std::size_t blankReference(std::string_view text)
{
    for (std::string_view const reference : {"&#9;", "&#10;", "&#13;", "&#32;", "&#44;", "&#x9;", "&#xA;", "&#xa;", "&#xD;",
                                             "&#xd;", "&#x20;", "&#x2C;", "&#x2c;"})
        if (text.starts_with(reference))
            return reference.size();
    return 0;
}

bool breaksLine(std::string_view gap)
{
    return gap.find_first_of("\n\r") != std::string_view::npos || gap.find("&#1") != std::string_view::npos
        || gap.find("&#xA") != std::string_view::npos || gap.find("&#xa") != std::string_view::npos;
}

template <class Value>
Value mostCommon(std::map<Value, std::size_t> const& counts, Value otherwise)
{
    auto const most = std::ranges::max_element(counts, {}, [](auto const& count) { return count.second; });
    return most == counts.end() ? otherwise : most->first;
}

} // namespace

NumberList::NumberList(AuthorFile const& file, std::uint32_t offset)
    : _text(file.text()), _offset(offset), _classic(file.classic())
{
    char const quote = offset > 0 && offset <= _text.size() ? _text[offset - 1] : '\0';
    auto const refuse = [&](std::string const& why) {
        throw Failure(exitScene, file.path() + " is not edited: at byte " + std::to_string(offset) + ' ' + why);
    };
    if (!_classic && quote != '"' && quote != '\'')
        refuse("no attribute value begins");
    SFFloat number; // reads as the nodes do
    for (std::size_t at = offset; at < _text.size();) {
        if (isBlank(_text[at])) {
            ++at;
        } else if (std::size_t const length = _classic ? 0 : blankReference(_text.substr(at))) {
            at += length;
        } else if (_classic && _text[at] == '#') {
            at = std::min(_text.find_first_of("\n\r", at), _text.size());
        } else {
            std::size_t end = at;
            while (end < _text.size() && !isBlank(_text[end]) && _text[end] != '&' && _text[end] != '<'
                   && (_classic ? std::string_view("[]{}#\"").find(_text[end]) == std::string_view::npos : _text[end] != quote))
                ++end;
            std::string const word(_text.substr(at, end - at));
            if (word.empty() || !number.setValueByStr(word.c_str(), Field::single)) {
                // The end of the value: its quote, its bracket, or the next word of a single value.
                if (_classic ? word.empty() || !_tokens.empty() : _text[at] == quote) {
                    _bare = _classic && _text[at] != ']';
                    return;
                }
                refuse("no number stands, but \"" + std::string(_text.substr(at, 20)) + '"');
            }
            _tokens.push_back({at, end});
            _numbers.push_back(number._value);
            at = end;
        }
    }
    refuse("a value does not end");
}

std::string_view NumberList::gap(std::size_t after) const
{
    return _text.substr(_tokens[after].end, _tokens[after + 1].begin - _tokens[after].end);
}

NumberList::Habit NumberList::habit(unsigned components) const
{
    std::map<std::string_view, std::size_t> inner, outer, line;
    std::map<std::size_t, std::size_t> perLine;
    std::size_t lineBegin = 0;
    for (std::size_t i = 0; i + 1 < _tokens.size(); ++i) {
        std::string_view const between = gap(i);
        if (between.find('#') != std::string_view::npos && _classic)
            continue;
        if (breaksLine(between)) {
            ++line[between];
            ++perLine[i + 1 - lineBegin];
            lineBegin = i + 1;
        } else {
            ++((i + 1) % components == 0 ? outer : inner)[between];
        }
    }
    Habit habit;
    std::string_view const blank = " ";
    habit.outer = mostCommon(outer, inner.empty() || components == 1 ? blank : mostCommon(inner, blank));
    habit.inner = mostCommon(inner, habit.outer.find(',') == std::string_view::npos ? habit.outer : blank);
    habit.line = mostCommon(line, blank);
    habit.perLine = mostCommon(perLine, std::size_t(0));
    return habit;
}

std::string NumberList::written(std::vector<Number> const& numbers, unsigned components) const
{
    Habit const habits = habit(components);
    std::string text;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        Number const& number = numbers[i];
        if (i > 0) {
            // Comments between the numbers stay, whatever goes around them.
            std::string comments;
            if (_classic && number.old && numbers[i - 1].old)
                for (std::size_t old = *numbers[i - 1].old; old < *number.old; ++old)
                    if (gap(old).find('#') != std::string_view::npos)
                        comments += gap(old);
            bool const breaks = habits.perLine > 0 && i % habits.perLine == 0;
            text += !comments.empty() ? comments : breaks ? habits.line : i % components == 0 ? habits.outer : habits.inner;
        }
        std::string const shortest = shortNumber(number.value);
        std::string_view const own = number.old
            ? _text.substr(_tokens[*number.old].begin, _tokens[*number.old].end - _tokens[*number.old].begin)
            : std::string_view();
        text += number.old && own.size() <= shortest.size() ? own : std::string_view(shortest);
    }
    return text;
}

void NumberList::replace(AuthorFile& file, std::vector<Number> const& numbers, unsigned components) const
{
    bool same = numbers.size() == _numbers.size();
    for (std::size_t i = 0; same && i < numbers.size(); ++i)
        same = numbers[i].old == i;
    if (same)
        return;
    std::size_t const begin = _tokens.empty() ? _offset : _tokens.front().begin;
    std::size_t const end = _tokens.empty() ? _offset : _tokens.back().end;
    std::string text = written(numbers, components);
    // One value may stand without brackets, several may not.
    if (_bare && numbers.size() > components)
        text = "[ " + text + " ]";
    file.replace(begin, end, std::move(text));
}

} // namespace Zelvan::play
