#include "player/reading/SourceFile.h"

#include "player/reading/ClassicSyntax.h"
#include "player/reading/Encodings.h"
#include "player/scene/Diagnostics.h"
#include "player/scene/Utf8.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace Zelvan::play {

namespace {

bool beginsHtml(std::string_view text)
{
    constexpr std::size_t enough = 300; // for a DOCTYPE
    std::string begin(text.substr(0, enough));
    std::ranges::transform(begin, begin.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::size_t const tag = begin.starts_with("<!doctype html") ? begin.find('<', 1) : 0;
    return tag != std::string::npos && begin.compare(tag, 5, "<html") == 0;
}

} // namespace

SourceFile::SourceFile(OpenedFile const& file, ReadLimits const& limits, std::string const* bytes)
    : _text(std::min(limits.bytes, std::size_t(UINT32_MAX) - 1))
{
    try {
        if (bytes != nullptr)
            take(*bytes);
        else
            read(file.descriptor);
        _text.end();
        decode();
    } catch (Failure const& failure) {
        throw Failure(failure.status(), file.name + ": " + failure.what());
    }
    if (std::size_t const bad = firstNoUtf8(text()); bad != std::string_view::npos) {
        auto const starts = lineStarts();
        auto const line = std::ranges::upper_bound(starts, bad) - starts.begin();
        std::string_view const before = text().substr(0, bad).substr(starts[static_cast<std::size_t>(line) - 1]);
        throw Failure(exitScene,
                      file.name + ':' + std::to_string(line) + ':' + std::to_string(characters(before) + 1)
                          + ": error: expected UTF-8 text, found "
                          + (text()[bad] == '\0' ? "a zero byte" : "a byte that does not fit in"));
    }
}

void SourceFile::read(Descriptor const& file)
{
    for (;;) {
        std::span<char> const room = _text.room();
        ssize_t const got = ::read(file.number(), room.data(), room.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw Failure(exitMachine, std::string("cannot read: ") + std::strerror(errno));
        if (got == 0)
            break;
        _text.add(static_cast<std::size_t>(got));
    }
}

void SourceFile::take(std::string_view bytes)
{
    while (!bytes.empty()) {
        std::span<char> const room = _text.room();
        std::size_t const count = bytes.copy(room.data(), room.size());
        _text.add(count);
        bytes.remove_prefix(count);
    }
}

std::string_view SourceFile::body() const
{
    std::string_view body = text();
    if (body.starts_with("\xef\xbb\xbf"))
        body.remove_prefix(3);
    auto const blank = [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; };
    return body.substr(std::size_t(std::ranges::find_if_not(body, blank) - body.begin()));
}

void SourceFile::decode()
{
    if (text().starts_with("\x1f\x8b"))
        _text = uncompressed(_text.text(), _text.limit());
    if (text().starts_with("\xff\xfe") || text().starts_with("\xfe\xff"))
        _text = convertedFrom(text().starts_with("\xff\xfe") ? "UTF-16LE" : "UTF-16BE", std::move(_text), 2);
    if (text().starts_with(std::string_view("\xe0\x00\x00\x01", 4)) || text().starts_with("<?xml encoding='finf'"))
        throw Failure(exitScene, "binary X3D is not read; convert it to X3D XML first");
    _text.trim();                          // some programs fill up their last block
    std::string_view const begin = body(); // once: it may begin behind many blanks
    if (begin.empty())
        throw Failure(exitScene, "expected an X3D scene, found nothing");
    if (begin.starts_with("#VRML V1."))
        throw Failure(exitScene, "VRML 1.0 is not read; convert it to VRML 2.0 or X3D XML first");
    if (begin.starts_with("#Inventor"))
        throw Failure(exitScene, "Inventor files are not read; convert it to VRML 2.0 or X3D XML first");
    if (beginsHtml(begin))
        throw Failure(exitScene, "HTML is not read: write its <X3D> element into a file of its own");
    if (!classicHeader(begin).empty())
        decodeClassic();
    else if (begin.front() == '{' || begin.front() == '[')
        throw Failure(exitScene, "X3D JSON is not read; convert it to X3D XML first");
    else if (begin.front() != '<')
        throw Failure(exitScene,
                      "expected X3D XML or VRML, found text that begins with neither \"<\" nor \"#VRML V2.0\" nor \"#X3D V\"");
    else if (std::string const encoding = declaredEncoding(begin); !encoding.empty())
        _text = convertedFrom(encoding.c_str(), std::move(_text));
}

void SourceFile::decodeClassic()
{
    _syntax = Syntax::classic;
    std::size_t const first = firstNoUtf8(text());
    if (first == std::string_view::npos || text()[first] == '\0')
        return;
    // Every byte before it that is not ASCII becomes two.
    auto const wider = std::ranges::count_if(text().substr(0, first), [](char c) { return (c & 0x80) != 0; });
    _text = convertedFrom("ISO-8859-1", std::move(_text));
    _firstLatin1 = static_cast<std::uint32_t>(first) + static_cast<std::uint32_t>(wider);
}

Scene::Layout SourceFile::layout() const
{
    Scene::Layout layout{lineStarts()};
    std::string_view const all = text();
    if (std::ranges::all_of(all, [](char c) { return static_cast<signed char>(c) >= 0; }))
        return layout;
    bool const hasMark = all.starts_with("\xef\xbb\xbf");
    std::uint32_t count = 0;
    for (std::size_t word = 0; word * 64 <= all.size(); ++word) {
        std::uint64_t bits = word == 0 && hasMark;
        for (std::size_t at = word * 64; at < std::min(word * 64 + 64, all.size()); ++at)
            bits |= std::uint64_t((all[at] & 0xC0) == 0x80) << at % 64;
        layout.inner.push_back(bits);
        layout.innerBefore.push_back(count);
        count += static_cast<unsigned>(std::popcount(bits));
    }
    return layout;
}

namespace {

// Whether a line begins behind a byte of a text that a zero byte follows.
bool endsLine(char const* at)
{
    return *at == '\n' || (*at == '\r' && at[1] != '\n');
}

} // namespace

std::size_t SourceFile::lines() const
{
    std::string_view const all = text();
    if (all.find('\r') == std::string_view::npos)
        return 1 + std::size_t(std::ranges::count(all, '\n'));
    return 1 + std::size_t(std::ranges::count_if(all, [](char const& c) { return endsLine(&c); }));
}

std::vector<std::uint32_t> SourceFile::lineStarts() const
{
    std::vector<std::uint32_t> starts;
    std::string_view const all = text();
    std::size_t const count = lines();
    starts.reserve(count);
    starts.push_back(0);
    auto const add = [&starts](std::size_t at) { starts.push_back(static_cast<std::uint32_t>(at)); };
    if (count < all.size() / 16 && all.find('\r') == std::string_view::npos) // looking for the next one pays
        for (std::size_t at = 0; (at = all.find('\n', at)) != std::string_view::npos;)
            add(++at);
    else
        for (std::size_t at = 0; at < all.size(); ++at)
            if (endsLine(all.data() + at))
                add(at + 1);
    return starts;
}

} // namespace Zelvan::play
