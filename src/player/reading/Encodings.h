#pragma once

#include "player/reading/TextBuffer.h"

#include <string>

// From the bytes of a file to UTF-8 text. What cannot be converted throws Failure, without the file's name.

namespace Zelvan::play {

/// What a gzip file holds, of all its members, up to a limit.
TextBuffer uncompressed(std::string_view packed, std::size_t limit);

/// In UTF-8, from an encoding by the name that iconv knows it by; the first bytes may be left out.
TextBuffer convertedFrom(char const* encoding, TextBuffer&& text, std::size_t skip = 0);

/// What an XML declaration says, in capitals; "" when it says nothing, or nothing else than what the text is: UTF-8
/// or a part of it, or what a byte order mark has told before.
std::string declaredEncoding(std::string_view xml);

/// Of the first byte that is zero or no UTF-8; npos when there is none.
std::size_t firstNoUtf8(std::string_view text);

} // namespace Zelvan::play
