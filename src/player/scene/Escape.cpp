#include "player/scene/Escape.h"

#include "player/scene/Utf8.h"

#include <nlohmann/json.hpp>

namespace Zelvan::play {

namespace {

// XML 1.0 has some more characters than these, but none that a picture shows. What turns the direction of writing
// would turn what stands beside it.
bool shows(CodePoint const& c)
{
    bool const turns = (c.value >= 0x202A && c.value <= 0x202E) || (c.value >= 0x2066 && c.value <= 0x2069);
    return c.valid && !turns && c.value != 0xFFFE && c.value != 0xFFFF && (c.value >= 0x20 || c.value == '\t' || c.value == '\n')
           && (c.value < 0x7F || c.value > 0x9F);
}

} // namespace

std::string escapedMarkup(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        CodePoint const c = decodeUtf8(text);
        switch (shows(c) ? c.value : 0) {
        case 0: result += "\xef\xbf\xbd"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '&': result += "&amp;"; break;
        case '"': result += "&quot;"; break;
        case '\'': result += "&#39;"; break;
        default: result += text.substr(0, c.length);
        }
        text.remove_prefix(c.length);
    }
    return result;
}

std::string jsonString(std::string_view text)
{
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace Zelvan::play
