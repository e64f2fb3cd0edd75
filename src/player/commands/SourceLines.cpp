#include "player/commands/SourceLines.h"

#include "player/reading/Encodings.h"

#include <string_view>
#include <sys/stat.h>

namespace Zelvan::play {

bool SourceLines::open(std::string const& name)
{
    struct stat status;
    _name = name;
    _number = 0;
    _file.reset(::stat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? ::gzopen(name.c_str(), "rb") : nullptr);
    return _file != nullptr;
}

// Lines end in LF, CR or both.
bool SourceLines::next()
{
    constexpr std::size_t longest = 1 << 20; // beyond, nobody looks
    _line.clear();
    int c = gzgetc(_file.get());
    if (c < 0)
        return false;
    for (; c >= 0 && c != '\n' && c != '\r'; c = gzgetc(_file.get()))
        if (_line.size() < longest)
            _line += static_cast<char>(c);
    if (c == '\r')
        if (int const after = gzgetc(_file.get()); after >= 0 && after != '\n')
            ::gzungetc(after, _file.get());
    ++_number;
    return true;
}

std::string const& SourceLines::line(Place const& place)
{
    static std::string const none;
    if (place.line == 0 || ((place.file != _name || place.line < _number) && !open(place.file)))
        return none;
    while (_file != nullptr && _number < place.line)
        if (!next())
            _file.reset();
    if (_number != place.line)
        return none;
    return firstNoUtf8(_line) == std::string::npos ? _line : none;
}

} // namespace Zelvan::play
