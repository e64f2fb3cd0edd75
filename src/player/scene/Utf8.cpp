#include "player/scene/Utf8.h"

#include <cstdio>
#include <utf8proc.h>

namespace Zelvan::play {

namespace {

// Acts on a terminal, ends a line, or turns the direction of writing.
bool acts(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E)
        || (c >= 0x2066 && c <= 0x2069);
}

std::string escape(CodePoint const& c)
{
    switch (c.value) {
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: break;
    }
    char text[8];
    std::snprintf(text, sizeof text, c.valid && c.value > 0x7F ? "\\u%04x" : "\\x%02x", static_cast<unsigned>(c.value));
    return text;
}

} // namespace

CodePoint decodeUtf8(std::string_view text)
{
    auto const byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const first = byte(0);
    if (first < 0x80)
        return {first, 1, true};
    CodePoint const bad{first, 1, false};
    unsigned const length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (length == 0 || text.size() < length)
        return bad;
    char32_t value = first & (0x7Fu >> length);
    for (unsigned i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return bad;
        value = value << 6 | (byte(i) & 0x3F);
    }
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < least[length] || (value >= 0xD800 && value <= 0xDFFF) || value > 0x10FFFF)
        return bad;
    return {value, length, true};
}

std::size_t characters(std::string_view text)
{
    std::size_t count = 0;
    for (; !text.empty(); ++count)
        text.remove_prefix(decodeUtf8(text).length);
    return count;
}

namespace {

std::size_t widthOf(CodePoint const& c)
{
    return c.valid ? static_cast<std::size_t>(utf8proc_charwidth(static_cast<utf8proc_int32_t>(c.value))) : 1;
}

} // namespace

std::size_t displayWidth(std::string_view text)
{
    std::size_t width = 0;
    while (!text.empty()) {
        CodePoint const c = decodeUtf8(text);
        width += widthOf(c);
        text.remove_prefix(c.length);
    }
    return width;
}

std::string fitted(std::string_view text, std::size_t columns)
{
    if (displayWidth(text) <= columns)
        return std::string(text);
    std::size_t bytes = 0, width = 1; // of the mark
    while (bytes < text.size()) {
        CodePoint const c = decodeUtf8(text.substr(bytes));
        if (width += widthOf(c); width > columns)
            break;
        bytes += c.length;
    }
    return std::string(text.substr(0, bytes)) + "…";
}

std::string printable(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        CodePoint const c = decodeUtf8(text);
        if (!c.valid || acts(c.value))
            shown += escape(c);
        else
            shown += text.substr(0, c.length);
        text.remove_prefix(c.length);
    }
    return shown;
}

} // namespace Zelvan::play
