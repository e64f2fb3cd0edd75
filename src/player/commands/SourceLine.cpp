#include "player/commands/SourceLine.h"

#include "player/scene/Utf8.h"

#include <memory>
#include <sys/stat.h>
#include <zlib.h>

namespace Zelvan::play {

std::string sourceLine(Place const& place)
{
    constexpr std::size_t longest = 1 << 20; // beyond, nobody looks
    struct stat status;
    if (place.line == 0 || ::stat(place.file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return "";
    std::unique_ptr<gzFile_s, int (*)(gzFile)> const file(::gzopen(place.file.c_str(), "rb"), ::gzclose);
    std::string line;
    unsigned number = 1;
    char buffer[1 << 13];
    while (file != nullptr && number <= place.line && line.size() < longest) {
        if (::gzgets(file.get(), buffer, sizeof buffer) == nullptr)
            break;
        std::string_view piece(buffer);
        bool const whole = piece.ends_with('\n');
        if (number == place.line)
            line += piece;
        number += whole;
    }
    while (line.ends_with('\n') || line.ends_with('\r'))
        line.pop_back();
    for (std::string_view rest = line; !rest.empty();) {
        CodePoint const c = decodeUtf8(rest);
        if (!c.valid)
            return "";
        rest.remove_prefix(c.length);
    }
    return line;
}

} // namespace Zelvan::play
