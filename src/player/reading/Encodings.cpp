#include "player/reading/Encodings.h"

#include "player/scene/Diagnostics.h"
#include "player/scene/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iconv.h>
#include <new>
#include <zlib.h>

namespace Zelvan::play {

TextBuffer uncompressed(std::string_view packed, std::size_t limit)
{
    z_stream stream{};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
    struct End {
        z_stream& s;
        ~End() { inflateEnd(&s); }
    } const end{stream};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    TextBuffer out(limit);
    for (;;) {
        std::span<char> const room = out.room();
        stream.next_out = reinterpret_cast<Bytef*>(room.data());
        stream.avail_out = static_cast<uInt>(room.size());
        int const result = inflate(&stream, Z_NO_FLUSH);
        out.add(room.size() - stream.avail_out);
        if (result == Z_STREAM_END) {
            // A gzip file may hold several members, one after the other; what else stands there is passed over, as gzip does.
            bool const another = stream.avail_in > 1 && stream.next_in[0] == 0x1f && stream.next_in[1] == 0x8b;
            if (!another || inflateReset(&stream) != Z_OK)
                break;
            continue;
        }
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc();
        if (result != Z_OK)
            throw Failure(exitScene, stream.avail_in == 0 ? "gzip data ends too early" : "damaged gzip data");
    }
    out.end();
    return out;
}

TextBuffer convertedFrom(char const* encoding, TextBuffer&& text, std::size_t skip)
{
    iconv_t const converter = iconv_open("UTF-8", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1) && errno == ENOMEM)
        throw std::bad_alloc();
    if (converter == reinterpret_cast<iconv_t>(-1))
        throw Failure(exitScene, std::string("unknown encoding \"") + encoding + '"');
    struct Close {
        iconv_t c;
        ~Close() { iconv_close(c); }
    } const close{converter};
    char* in = text.data() + skip;
    std::size_t left = text.size() - skip;
    TextBuffer out(text.limit());
    while (left > 0) {
        std::span<char> const room = out.room();
        char* at = room.data();
        std::size_t available = room.size();
        std::size_t const result = iconv(converter, &in, &left, &at, &available);
        out.add(room.size() - available);
        if (result == static_cast<std::size_t>(-1) && errno != E2BIG)
            throw Failure(exitScene, std::string("not valid ") + encoding + " at byte " + std::to_string(in - text.data()));
    }
    out.end();
    return out;
}

std::string declaredEncoding(std::string_view xml)
{
    if (!xml.starts_with("<?xml"))
        return "";
    std::string_view const declaration = xml.substr(0, std::min(xml.find("?>"), std::size_t(200)));
    auto at = declaration.find("encoding");
    if (at == std::string_view::npos)
        return "";
    at = declaration.find_first_of("\"'", at);
    auto const end = at == std::string_view::npos ? at : declaration.find(declaration[at], at + 1);
    std::string encoding(end == std::string_view::npos ? "" : declaration.substr(at + 1, end - at - 1));
    std::ranges::transform(encoding, encoding.begin(),
                           [](unsigned char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c); });
    // After a byte order mark the text is UTF-8 by now, whatever the declaration says.
    bool const same = encoding == "UTF-8" || encoding == "UTF8" || encoding == "US-ASCII" || encoding == "ASCII"
        || encoding.starts_with("UTF-16");
    return same ? "" : encoding;
}

std::size_t firstNoUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        std::uint64_t word;
        if (text.size() - at >= sizeof word
            && (std::memcpy(&word, text.data() + at, sizeof word), (word & 0x8080808080808080u) == 0)
            && ((word - 0x0101010101010101u) & ~word & 0x8080808080808080u) == 0) {
            at += sizeof word;
            continue;
        }
        CodePoint const c = decodeUtf8(text.substr(at));
        if (!c.valid || c.value == 0)
            return at;
        at += c.length;
    }
    return std::string_view::npos;
}

} // namespace Zelvan::play
