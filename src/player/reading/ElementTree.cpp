#include "player/reading/ElementTree.h"

#include <cstring>
#include <new>
#include <type_traits>

namespace Zelvan::play {

// Only their memory is given back.
static_assert(std::is_trivially_destructible_v<Element> && std::is_trivially_destructible_v<Attribute>);

Element& ElementTree::open(char const* name, std::size_t offset)
{
    if (_open.size() > _limits.depth) // the innermost element holds nothing
        throw SyntaxError(offset,
                          "nested deeper than " + std::to_string(_limits.depth) + " elements (--max-depth raises the limit)");
    if (++_elementCount > _limits.elements)
        throw SyntaxError(offset,
                          "more than " + std::to_string(_limits.elements) + " elements (--max-elements raises the limit)");
    auto* const element = new (_memory.allocate(sizeof(Element), alignof(Element))) Element;
    element->text = name;
    element->offset = static_cast<std::uint32_t>(offset);
    if (_open.empty()) {
        if (_root != nullptr)
            throw SyntaxError(offset, "expected one root element, found another");
        _root = element;
    } else {
        Open& parent = _open.back();
        (parent.lastChild == nullptr ? parent.element->firstChild : parent.lastChild->next) = element;
        parent.lastChild = element;
    }
    _open.push_back({element, nullptr, _attributes.size()});
    return *element;
}

void ElementTree::attribute(char const* name, std::string_view value, std::size_t offset)
{
    std::size_t const most = 4 * std::size_t(_limits.elements);
    if (++_attributeCount > most)
        throw SyntaxError(offset, "more than " + std::to_string(most) + " attributes (--max-elements raises the limit)");
    _attributes.emplace_back(name, value, static_cast<std::uint32_t>(offset));
}

void ElementTree::close()
{
    Open const closed = _open.back();
    _open.pop_back();
    std::size_t const count = _attributes.size() - closed.attributesBegin;
    if (count == 0)
        return;
    std::size_t const bytes = count * sizeof(Attribute);
    closed.element->attributes = static_cast<Attribute*>(_memory.allocate(bytes, alignof(Attribute)));
    closed.element->attributeCount = static_cast<std::uint32_t>(count);
    std::memcpy(closed.element->attributes, &_attributes[closed.attributesBegin], bytes);
    _attributes.erase(_attributes.begin() + static_cast<std::ptrdiff_t>(closed.attributesBegin), _attributes.end());
}

std::string_view ElementTree::keep(std::string_view text)
{
    auto* const copy = static_cast<char*>(_memory.allocate(text.size() + 1, 1));
    copy[text.copy(copy, text.size())] = '\0';
    return {copy, text.size()};
}

void ElementTree::excuse(std::string what, std::size_t offset)
{
    constexpr std::size_t most = 100;
    if (_oddities.size() < most)
        _oddities.push_back({std::move(what), static_cast<std::uint32_t>(offset)});
}

void ElementTree::comment(std::string_view text, std::size_t offset)
{
    constexpr std::string_view blanks = " \t\r\n";
    std::size_t const begin = text.find_first_not_of(blanks);
    if (begin == text.npos || !text.substr(begin).starts_with("zelvan:"))
        return;
    _comments.push_back(
        {keep(text.substr(begin, text.find_last_not_of(blanks) + 1 - begin)), static_cast<std::uint32_t>(offset + begin)});
}

} // namespace Zelvan::play
