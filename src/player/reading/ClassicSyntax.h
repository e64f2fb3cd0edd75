#pragma once

#include "player/reading/ElementTree.h"

#include <cstddef>

namespace Zelvan::play {

/// The line that says a text is one of these: "#VRML V2.0 utf8", "#VRML Draft #2 V2.0 utf8", "#X3D V3.3 utf8", also behind
/// a few other comments; empty when there is none.
std::string_view classicHeader(std::string_view text);

/// Reads ClassicVRML (`#X3D V3.x utf8`) and VRML97 (`#VRML V2.0 utf8`) into a tree: root X3D, in it head, if the file
/// has one, and Scene. `text` is UTF-8; it is changed in place, and the tree keeps views of it; `text[size]` is a zero byte.
///
/// Which fields a node has is not known here: any name is taken, and the first word of a value says whether it is
/// numbers, strings, truth values or nodes. Throws SyntaxError at the first thing that does not fit, and at a limit.
void readClassic(char* text, std::size_t size, ElementTree& tree);

} // namespace Zelvan::play
