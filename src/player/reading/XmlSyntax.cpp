#include "player/reading/XmlSyntax.h"

#include <algorithm>
#include <pugixml.hpp>

namespace Zelvan::play {

namespace {

// The parser's tree of a document takes many times its text.
void requireElements(std::string_view text, ReadLimits const& limits)
{
    std::size_t const most = 2 * std::size_t(limits.elements); // each begins and ends
    if (std::size_t(std::ranges::count(text, '<')) > most)
        throw SyntaxError(SyntaxError::none,
                          "more than " + std::to_string(limits.elements) + " elements (--max-elements raises the limit)");
}

// Hands the comments on the way to the tree.
pugi::xml_node nextElement(pugi::xml_node node, ElementTree& tree, char const* text)
{
    for (; node && node.type() != pugi::node_element; node = node.next_sibling())
        if (node.type() == pugi::node_comment)
            tree.comment(node.value(), std::size_t(node.value() - text));
    return node;
}

} // namespace

void parseXml(char* text, std::size_t size, ReadLimits const& limits, ElementTree& tree)
{
    requireElements({text, size}, limits);
    // What takes bytes out of the values would move the places of those behind.
    constexpr unsigned options =
        (pugi::parse_default | pugi::parse_comments) & ~(pugi::parse_wconv_attribute | pugi::parse_eol);
    pugi::xml_document document;
    pugi::xml_parse_result const result = document.load_buffer_inplace(text, size, options, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory)
        throw std::bad_alloc();
    if (!result) {
        std::size_t const offset = std::size_t(result.offset);
        bool const inComment = result.status == pugi::status_bad_comment;
        throw SyntaxError(offset, std::string("not well-formed XML: ") + result.description(),
                          inComment ? std::string_view(text, offset).rfind("<!--") : SyntaxError::none);
    }

    pugi::xml_node const root = nextElement(document.first_child(), tree, text);
    for (pugi::xml_node at = root; at;) {
        std::size_t const offset = std::size_t(at.offset_debug()) - 1; // of the "<"
        tree.open(at.name(), offset);
        for (pugi::xml_attribute const& attribute : at.attributes()) {
            // Values are kept where the text had them; an empty one may not be kept at all.
            std::ptrdiff_t const place = attribute.value() - text;
            bool const kept = place > 0 && place < std::ptrdiff_t(size);
            std::string_view const value = attribute.value();
            if (kept) // line breaks are blanks there
                std::replace_if(
                    text + place, text + place + value.size(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
            tree.attribute(attribute.name(), value, kept ? std::size_t(place) : offset);
        }
        if (pugi::xml_node const child = nextElement(at.first_child(), tree, text)) {
            at = child;
            continue;
        }
        pugi::xml_node next;
        for (tree.close(); at != root && !(next = nextElement(at.next_sibling(), tree, text)); tree.close())
            at = at.parent();
        at = at == root ? pugi::xml_node() : next;
    }
    if (pugi::xml_node const other = nextElement(root.next_sibling(), tree, text)) // refused there
        tree.open(other.name(), std::size_t(other.offset_debug()) - 1);
}

} // namespace Zelvan::play
