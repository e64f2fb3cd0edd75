#include "player/reading/ClassicStatements.h"

#include <algorithm>

namespace Zelvan::play {

using Word = std::string_view;

bool ClassicStatements::read(Word word, std::size_t offset)
{
    if (word != "ROUTE" && word != "IMPORT" && word != "EXPORT")
        return false;
    _scanner.open(word, offset);
    if (word == "ROUTE")
        readRoute();
    else if (word == "IMPORT")
        readPair('.', "inlineDEF", "importedDEF", "an Inline and its node, as in \"Inline.node\"");
    else
        _scanner.attribute("localDEF", _scanner.name("a node's name"));
    if (word != "ROUTE" && _scanner.wordAhead() == "AS") {
        _scanner.word();
        _scanner.attribute("AS", _scanner.name("a name behind AS"));
    }
    _tree.close();
    return true;
}

void ClassicStatements::readRoute()
{
    constexpr char const* end = "a node and its field, as in \"Node.field\"";
    readPair('.', "fromNode", "fromField", end);
    if (Word const to = _scanner.wordAhead(); to != "TO" && to != "to" && to != "To")
        _scanner.refuse("\"TO\" in a ROUTE");
    _scanner.keyword(_scanner.word());
    readPair('.', "toNode", "toField", end);
}

bool ClassicStatements::readHead(Word word, bool open)
{
    constexpr Word elements[][2] = {{"COMPONENT", "component"}, {"META", "meta"}, {"UNIT", "unit"}};
    auto const* const found = std::ranges::find_if(elements, [word](auto const& e) { return e[0] == word; });
    if (found == std::end(elements))
        return false;
    _scanner.word();
    std::size_t const at = _scanner.offsetOf(word);
    if (open)
        _tree.open("head", at);
    _scanner.open((*found)[1], at);
    if (word == "COMPONENT") {
        readPair(':', "name", "level", "a component and its level, as in \"Core:1\"");
    } else if (word == "META") {
        for (Word const part : {"name", "content"}) {
            auto const text = _scanner.plainString();
            if (!text)
                _scanner.refuse("a string");
            _scanner.attribute(part, {*text, _scanner.offsetOf(*text)});
        }
    } else {
        for (Word const part : {"category", "name", "conversionFactor"})
            _scanner.attribute(part, _scanner.name("a category, a unit's name and its factor"));
    }
    _tree.close();
    return true;
}

void ClassicStatements::readPair(char separator, Word first, Word second, char const* what)
{
    auto const whole = _scanner.name(what);
    bool const apart = _scanner.wordAhead().starts_with(separator);
    std::size_t const at = apart ? Word::npos : whole.text.rfind(separator);
    Word rest = at != Word::npos ? whole.text.substr(at + 1) : _scanner.wordAhead();
    if (at == Word::npos) {
        if (!apart)
            _scanner.refuse(what);
        _scanner.word();
        rest.remove_prefix(1);
    }
    if (rest.empty())
        rest = _scanner.name(what).text;
    if (at != Word::npos)
        _scanner.cut(whole.text.substr(0, at));
    _scanner.attribute(first, {whole.text.substr(0, at), whole.offset});
    _scanner.attribute(second, {rest, _scanner.offsetOf(rest)});
}

} // namespace Zelvan::play
