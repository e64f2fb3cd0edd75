#include "player/editing/AuthorFile.h"

#include "player/reading/Encodings.h"
#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <zlib.h>

namespace Zelvan::play {

namespace {

std::string readAll(std::string const& path)
{
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes.exceptions(std::ios::badbit | std::ios::failbit);
    if (in && in.peek() != std::ifstream::traits_type::eof())
        bytes << in.rdbuf();
    if (!in && !in.eof())
        throw Failure(exitMachine, path + ": cannot read: " + std::strerror(errno != 0 ? errno : EIO));
    return std::move(bytes).str();
}

std::string compressed(std::string const& text)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    std::unique_ptr<z_stream, int (*)(z_stream*)> const end(&stream, deflateEnd);
    std::string bytes(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    return bytes;
}

std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

void writeLine(std::ostream& out, char mark, std::string_view line)
{
    out << mark << line;
    if (!line.ends_with('\n'))
        out << "\n\\ No newline at end of file\n";
}

} // namespace

AuthorFile::AuthorFile(std::string path, std::size_t mostBytes) : _path(std::move(path)), _bytes(readAll(_path))
{
    _compressed = _bytes.starts_with("\x1f\x8b");
    _text = _compressed ? std::string(uncompressed(_bytes, mostBytes).text()) : _bytes;
    if (_text.starts_with("\xff\xfe") || _text.starts_with("\xfe\xff"))
        refuse("is written in UTF-16: edits are made in UTF-8 text");
    std::string_view body = _text;
    if (body.starts_with("\xef\xbb\xbf"))
        body.remove_prefix(3);
    else if (std::string const encoding = declaredEncoding(body);
             !encoding.empty() && std::ranges::any_of(body, [](char c) { return (c & 0x80) != 0; }))
        refuse("is written in " + encoding + ": edits are made in UTF-8 text");
    if (firstNoUtf8(body) != std::string_view::npos) // read as Latin-1: other bytes stand at the places that reading knows
        refuse("is not UTF-8: edits are made in UTF-8 text");
    body.remove_prefix(std::min(body.find_first_not_of(" \t\r\n"), body.size()));
    _classic = body.starts_with('#');
}

void AuthorFile::refuse(std::string const& why) const
{
    throw Failure(exitScene, _path + ' ' + why);
}

void AuthorFile::replace(std::size_t begin, std::size_t end, std::string with)
{
    if (std::string_view(_text).substr(begin, end - begin) == with)
        return;
    auto const at = std::ranges::upper_bound(_edits, begin, {}, &Edit::begin);
    if ((at != _edits.end() && at->begin < end) || (at != _edits.begin() && (at - 1)->end > begin))
        throw std::logic_error("two edits of the same bytes");
    _edits.insert(at, {begin, end, std::move(with)});
}

std::string AuthorFile::edited(std::size_t begin, std::size_t end) const
{
    std::string text;
    for (Edit const& edit : _edits) {
        if (edit.begin < begin || edit.end > end)
            continue;
        text.append(_text, begin, edit.begin - begin).append(edit.with);
        begin = edit.end;
    }
    return text.append(_text, begin, end - begin);
}

std::string AuthorFile::editedText() const
{
    return edited(0, _text.size());
}

std::string AuthorFile::editedBytes() const
{
    return !changed() ? _bytes : _compressed ? compressed(editedText()) : editedText();
}

void AuthorFile::requireUnchangedOnDisk() const
{
    if (readAll(_path) != _bytes)
        throw Failure(exitMachine, _path + " has changed since it was read: nothing is written");
}

void AuthorFile::writeDiff(std::ostream& out) const
{
    constexpr std::size_t context = 3;
    std::vector<std::string_view> const lines = linesOf(_text);
    auto const lineAt = [&](std::size_t offset) {
        auto const after = std::ranges::upper_bound(lines, _text.data() + offset, {}, &std::string_view::data);
        return static_cast<std::size_t>(after - lines.begin()) - (after != lines.begin());
    };
    auto const startOf = [&](std::size_t line) {
        return line < lines.size() ? static_cast<std::size_t>(lines[line].data() - _text.data()) : _text.size();
    };
    /// Lines from `first` up to `last` become `text`.
    struct Change {
        std::size_t first, last;
        std::string text;
    };
    std::vector<Change> changes;
    for (Edit const& edit : _edits) {
        std::size_t const first = lineAt(edit.begin), end = lineAt(edit.end);
        // What ends with a line leaves the next one as it is.
        bool const whole = edit.end == startOf(end) && edit.begin == startOf(first) && edit.with.empty();
        std::size_t const last = whole ? end : std::min(end + 1, lines.size());
        if (!changes.empty() && first < changes.back().last)
            changes.back().last = std::max(changes.back().last, last);
        else
            changes.push_back({first, last, ""});
    }
    // patch takes a name up to the first blank, unless a tab ends it.
    std::string const header = _path + (_path.find(' ') == _path.npos ? "" : "\t");
    if (!changes.empty())
        out << "--- " << header << "\n+++ " << header << '\n';
    std::ptrdiff_t moved = 0; // lines more than before, up to here
    for (auto change = changes.begin(); change != changes.end();) {
        auto next = change;
        do // as one hunk, when what lies between would be context of both
            next->text = edited(startOf(next->first), startOf(next->last)), ++next;
        while (next != changes.end() && next->first <= (next - 1)->last + 2 * context);
        std::size_t const first = change->first - std::min(change->first, context);
        std::size_t const last = std::min((next - 1)->last + context, lines.size());
        std::ostringstream hunk;
        hunk.exceptions(std::ios::badbit);
        std::size_t line = first, newCount = last - first;
        for (; change != next; ++change) {
            std::vector<std::string_view> const after = linesOf(change->text);
            for (; line < change->first; ++line)
                writeLine(hunk, ' ', lines[line]);
            for (; line < change->last; ++line)
                writeLine(hunk, '-', lines[line]);
            for (std::string_view const text : after)
                writeLine(hunk, '+', text);
            newCount += after.size() - (change->last - change->first);
        }
        for (; line < last; ++line)
            writeLine(hunk, ' ', lines[line]);
        auto const newFirst = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(first) + moved);
        out << "@@ -" << first + (last > first) << ',' << last - first << " +" << newFirst + (newCount > 0) << ',' << newCount
            << " @@\n"
            << hunk.str();
        moved += static_cast<std::ptrdiff_t>(newCount) - static_cast<std::ptrdiff_t>(last - first);
    }
}

} // namespace Zelvan::play
