#include "player/scene/Escape.h"

#include <cstdint>

namespace Zelvan::play {

std::string escapedMarkup(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        unsigned char const first = static_cast<unsigned char>(text[i]);
        std::size_t const length = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3
                                                                      : first < 0xf5 ? 4 : 0;
        std::uint32_t code = length < 2 ? first : first & (0x7fu >> length);
        bool whole = length > 0 && i + length <= text.size();
        for (std::size_t k = 1; whole && k < length; ++k) {
            whole = (text[i + k] & 0xc0) == 0x80;
            code = code << 6 | (text[i + k] & 0x3f);
        }
        constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        bool const character = whole && code >= least[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff)
                               && code != 0xfffe && code != 0xffff && code != 0x7f && (code < 0x80 || code > 0x9f)
                               && (code >= 0x20 || code == '\t' || code == '\n');
        switch (character ? code : 0) {
        case 0: result += "\xef\xbf\xbd"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '&': result += "&amp;"; break;
        case '"': result += "&quot;"; break;
        case '\'': result += "&#39;"; break;
        default: result += text.substr(i, length);
        }
        i += whole ? length : 1;
    }
    return result;
}

} // namespace Zelvan::play
