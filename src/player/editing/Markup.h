#pragma once

#include "player/editing/AuthorFile.h"

#include <cstdint>
#include <set>
#include <string_view>

namespace Zelvan::play {

/// A range of bytes of a text.
struct TextRange {
    std::size_t begin = 0, end = 0;
};

// Where the parts of an element stand in an author's text, XML or classic. `offset` is that of the element's first byte,
// as the reader counts it. They throw Failure where the text is not what was read.

/// The name of a node's type; in XML of its end tag, too (`endName` is empty without one).
struct NodeText {
    TextRange name, endName;
    TextRange whole; ///< from its first byte to the last one
};
NodeText nodeText(AuthorFile const& file, std::uint32_t offset);

/// A field of the node with its name, from the blanks before it: what has to go when the field goes. `value` is where its
/// value begins, that of a list with its first element.
TextRange fieldText(AuthorFile const& file, std::uint32_t node, std::uint32_t value);

/// Which of the nodes at these offsets may go without a change to others: they hold none, are not the only value of a field,
/// not what a PROTO stands for, and not among those of which a number chooses (the nodes of a Switch).
std::set<std::uint32_t> looseNodes(AuthorFile const& file, std::set<std::uint32_t> const& offsets);

/// The words behind USE, wherever it stands; `anyName` for those that are written with character references.
std::set<std::string_view> usedNames(AuthorFile const& file);
inline constexpr std::string_view anyName = "&";

/// Where a ROUTE comes from: two attributes, or in one word with a dot.
struct RouteText {
    TextRange fromNode, fromField, whole;
};
RouteText routeText(AuthorFile const& file, std::uint32_t offset);

/// The range, with the line it stands on where nothing else does.
TextRange withItsLine(AuthorFile const& file, TextRange range);

} // namespace Zelvan::play
