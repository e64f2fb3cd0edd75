#pragma once

#include "player/reading/ElementTree.h"

namespace Zelvan::play {

/// Fills a tree from X3D XML. The text is changed in place and holds the names and values afterwards; its end is a zero
/// byte. Entities of a DOCTYPE stay as they are written, and nothing is fetched. Throws SyntaxError.
void parseXml(char* text, std::size_t size, ReadLimits const& limits, ElementTree& tree);

} // namespace Zelvan::play
