#pragma once

#include <string>
#include <string_view>

namespace Zelvan::play {

/// Text for XML and HTML, in elements and in quoted attributes: markup escaped, what XML has no character for
/// (control characters, broken UTF-8) and what turns the direction of writing replaced.
std::string escapedMarkup(std::string_view text);
/// A JSON string with its quotes; broken UTF-8 replaced.
std::string jsonString(std::string_view text);
/// The same for a script in a page: nothing in it ends the script, or begins markup.
std::string jsonStringInPage(std::string_view text);
std::string base64(std::string_view bytes);

} // namespace Zelvan::play
