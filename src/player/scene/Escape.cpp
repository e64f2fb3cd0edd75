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
    return c.valid && !turns && c.value != 0xFFFE && c.value != 0xFFFF
        && (c.value >= 0x20 || c.value == '\t' || c.value == '\n') && (c.value < 0x7F || c.value > 0x9F);
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

std::string jsonStringInPage(std::string_view text)
{
    std::string const json = jsonString(text);
    std::string result;
    for (char const c : json)
        result += c == '<' ? "\\u003c" : c == '>' ? "\\u003e" : c == '&' ? "\\u0026" : std::string(1, c);
    return result;
}

std::string base64(std::string_view bytes)
{
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    auto const byte = [&](std::size_t i) { return i < bytes.size() ? unsigned(static_cast<unsigned char>(bytes[i])) : 0u; };
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned const three = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k > bytes.size() ? '=' : digits[three >> (18 - 6 * k) & 63];
    }
    return text;
}

} // namespace Zelvan::play
