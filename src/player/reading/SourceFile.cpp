#include "player/reading/SourceFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <iconv.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

namespace Zelvan::play {

namespace {

struct Descriptor {
    explicit Descriptor(int number) : fd(number) {}
    ~Descriptor()
    {
        if (fd > STDERR_FILENO)
            ::close(fd);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int fd;
};

std::string sizeText(std::size_t bytes)
{
    return std::to_string(bytes) + " bytes";
}

} // namespace

class SourceFile::Growing {
public:
    Growing(SourceFile const& file, std::size_t limit) : _file(file), _limit(limit) {}

    /// Room for a few bytes more at least, never for much more than the limit: enough to notice the excess.
    char* room(std::size_t& available)
    {
        constexpr std::size_t few = 8;
        if (_capacity - _used < few) {
            std::size_t const wanted = std::min(std::max<std::size_t>(_capacity * 2, 1 << 16), _limit + 2 * few);
            if (_used > _limit)
                _file.refuse(exitScene, "larger than " + sizeText(_limit) + " (--max-bytes raises the limit)");
            char* const grown = static_cast<char*>(std::realloc(_data.get(), wanted + 1));
            if (grown == nullptr)
                throw std::bad_alloc();
            (void)_data.release();
            _data.reset(grown);
            _capacity = wanted;
        }
        available = _capacity - _used;
        return _data.get() + _used;
    }
    void add(std::size_t bytes) { _used += bytes; }

private:
    friend class SourceFile;
    SourceFile const& _file;
    std::size_t _limit, _used = 0, _capacity = 0;
    Buffer _data;
};

void SourceFile::take(Growing& text)
{
    if (text._used > text._limit)
        refuse(exitScene, "larger than " + sizeText(text._limit) + " (--max-bytes raises the limit)");
    std::size_t available;
    if (text._data == nullptr)
        text.room(available);
    _data = std::move(text._data);
    _size = text._used;
    _data.get()[_size] = '\0';
}

void SourceFile::refuse(ExitStatus status, std::string const& why) const
{
    throw Failure(status, name() + ": " + why);
}

SourceFile::SourceFile(std::string path, ReadLimits const& limits) : _path(std::move(path))
{
    ReadLimits checked = limits;
    checked.bytes = std::min(limits.bytes, std::size_t(UINT32_MAX) - 1);
    readAll(checked);
    if (text().starts_with("\x1f\x8b"))
        uncompress(checked);
    auto const starts = [this](std::string_view magic) { return text().starts_with(magic); };
    if (starts("\xff\xfe") || starts("\xfe\xff"))
        convertEncoding(starts("\xff\xfe") ? "UTF-16LE" : "UTF-16BE", 2, checked);
    if (starts(std::string_view("\xe0\x00\x00\x01", 4)) || starts("<?xml encoding='finf'"))
        refuse(exitScene, "binary X3D is not read; convert it to X3D XML first");
    std::string_view body = text();
    if (body.starts_with("\xef\xbb\xbf"))
        body.remove_prefix(3);
    auto const blank = [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; };
    body.remove_prefix(static_cast<std::size_t>(std::find_if_not(body.begin(), body.end(), blank) - body.begin()));
    if (body.empty())
        refuse(exitScene, "expected an X3D scene, found nothing");
    if (body.starts_with("#VRML V1.0"))
        refuse(exitScene, "VRML 1.0 is not read; convert it to VRML 2.0 or X3D XML first");
    if (body.starts_with("#VRML V2.0") || body.starts_with("#X3D V"))
        convertVrml(checked);
    else if (body.front() == '{' || body.front() == '[')
        refuse(exitScene, "X3D JSON is not read; convert it to X3D XML first");
    else if (body.front() != '<')
        refuse(exitScene, "expected X3D XML, found text that does not begin with \"<\"");
    else if (body.starts_with("<?xml")) {
        std::string_view const declaration = body.substr(0, std::min(body.find("?>"), std::size_t(200)));
        if (auto at = declaration.find("encoding"); at != std::string_view::npos) {
            at = declaration.find_first_of("\"'", at);
            auto const end = at == std::string_view::npos ? at : declaration.find(declaration[at], at + 1);
            std::string encoding(end == std::string_view::npos ? "" : declaration.substr(at + 1, end - at - 1));
            std::transform(encoding.begin(), encoding.end(), encoding.begin(),
                           [](unsigned char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c); });
            // After a byte order mark the text is UTF-8 by now, whatever the declaration says.
            if (!encoding.empty() && encoding != "UTF-8" && encoding != "UTF8" && encoding != "US-ASCII"
                && encoding != "ASCII" && !encoding.starts_with("UTF-16"))
                convertEncoding(encoding.c_str(), 0, checked);
        }
    }
    requireUtf8();
}

void SourceFile::readAll(ReadLimits const& limits)
{
    auto const cannot = [this](char const* what, int error) {
        refuse(exitMachine, std::string("cannot ") + what + ": " + std::strerror(error));
    };
    Descriptor const file(_path == "-" ? STDIN_FILENO : ::open(_path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd < 0)
        cannot("open", errno);
    struct stat status;
    if (::fstat(file.fd, &status) == 0 && S_ISDIR(status.st_mode))
        cannot("read", EISDIR);
    Growing read(*this, limits.bytes);
    for (;;) {
        std::size_t available;
        char* const room = read.room(available);
        ssize_t const got = ::read(file.fd, room, available);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            cannot("read", errno);
        if (got == 0)
            break;
        read.add(static_cast<std::size_t>(got));
    }
    take(read);
}

void SourceFile::uncompress(ReadLimits const& limits)
{
    z_stream stream{};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
    struct End {
        z_stream& s;
        ~End() { inflateEnd(&s); }
    } const end{stream};
    stream.next_in = reinterpret_cast<Bytef*>(_data.get());
    stream.avail_in = static_cast<uInt>(_size);
    Growing out(*this, limits.bytes);
    for (;;) {
        std::size_t available;
        char* const room = out.room(available);
        stream.next_out = reinterpret_cast<Bytef*>(room);
        stream.avail_out = static_cast<uInt>(available);
        int const result = inflate(&stream, Z_NO_FLUSH);
        out.add(available - stream.avail_out);
        if (result == Z_STREAM_END) {
            // A gzip file may hold several members, one after the other.
            if (stream.avail_in == 0 || inflateReset(&stream) != Z_OK)
                break;
            continue;
        }
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc();
        if (result != Z_OK)
            refuse(exitScene, stream.avail_in == 0 ? "gzip data ends too early" : "damaged gzip data");
    }
    take(out);
}

void SourceFile::convertEncoding(char const* encoding, std::size_t skip, ReadLimits const& limits)
{
    iconv_t const converter = iconv_open("UTF-8", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1) && errno == ENOMEM)
        throw std::bad_alloc();
    if (converter == reinterpret_cast<iconv_t>(-1))
        refuse(exitScene, std::string("unknown encoding \"") + encoding + '"');
    struct Close {
        iconv_t c;
        ~Close() { iconv_close(c); }
    } const close{converter};
    char* in = _data.get() + skip;
    std::size_t left = _size - skip;
    Growing out(*this, limits.bytes);
    while (left > 0) {
        std::size_t available;
        char* room = out.room(available);
        std::size_t const before = available;
        std::size_t const result = iconv(converter, &in, &left, &room, &available);
        out.add(before - available);
        if (result == static_cast<std::size_t>(-1) && errno != E2BIG)
            refuse(exitScene, std::string("not valid ") + encoding + " at byte " + std::to_string(in - _data.get()));
    }
    take(out);
}

void SourceFile::convertVrml(ReadLimits const& limits)
{
    bool const classic = text().find("#X3D V") < 4;
    std::string file = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/zelvan-play-XXXXXX"
        + (classic ? ".x3dv" : ".wrl");
    Descriptor const written(::mkstemps(file.data(), classic ? 5 : 4));
    if (written.fd < 0)
        refuse(exitMachine, std::string("cannot write a temporary file: ") + std::strerror(errno));
    struct Remove {
        std::string const& f;
        ~Remove() { ::unlink(f.c_str()); }
    } const remove{file};
    for (std::size_t done = 0; done < _size;) {
        ssize_t const n = ::write(written.fd, _data.get() + done, _size - done);
        if (n < 0 && errno != EINTR)
            refuse(exitMachine, std::string("cannot write a temporary file: ") + std::strerror(errno));
        done += n > 0 ? static_cast<std::size_t>(n) : 0;
    }

    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        refuse(exitMachine, std::string("cannot make a pipe: ") + std::strerror(errno));
    Descriptor const out(pipe[0]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    char program[] = "tovrmlx3d", encoding[] = "--encoding=xml";
    char* const arguments[] = {program, encoding, file.data(), nullptr};
    pid_t child;
    int const failed = posix_spawnp(&child, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);
    char const* const kind = classic ? "ClassicVRML" : "VRML 2.0";
    if (failed != 0)
        refuse(exitMachine, std::string(kind) + " is read through the program tovrmlx3d, which is not installed: "
                                                "on Debian, apt-get install view3dscene");
    struct Reap {
        pid_t pid;
        int status = -1;
        bool done = false;
        void wait()
        {
            while (!done && ::waitpid(pid, &status, 0) < 0 && errno == EINTR) {}
            done = true;
        }
        ~Reap()
        {
            if (!done)
                ::kill(pid, SIGKILL);
            wait();
        }
    } reap{child};

    using Time = std::chrono::steady_clock;
    auto const deadline = Time::now() + std::chrono::seconds(60);
    Growing converted(*this, limits.bytes);
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Time::now()).count();
        pollfd ready{out.fd, POLLIN, 0};
        if (left <= 0 || ::poll(&ready, 1, static_cast<int>(left)) == 0)
            refuse(exitMachine, "tovrmlx3d did not end within a minute");
        std::size_t available;
        char* const room = converted.room(available);
        ssize_t const got = ::read(out.fd, room, available);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        converted.add(static_cast<std::size_t>(got));
    }
    reap.wait();
    if (!WIFEXITED(reap.status) || WEXITSTATUS(reap.status) != 0)
        refuse(exitScene, std::string("not valid ") + kind + ": tovrmlx3d could not convert it");
    take(converted);
}

void SourceFile::requireUtf8() const
{
    auto const* const begin = reinterpret_cast<unsigned char const*>(_data.get());
    auto const* const end = begin + _size;
    auto const bad = [&](unsigned char const* at, char const* what) {
        auto const line = std::count(begin, at, '\n') + 1;
        throw Failure(exitScene, name() + ':' + std::to_string(line) + ": error: expected UTF-8 text, found " + what);
    };
    for (auto const* p = begin; p < end;) {
        std::uint64_t word;
        if (end - p >= 8 && (std::memcpy(&word, p, 8), (word & 0x8080808080808080u) == 0)
            && ((word - 0x0101010101010101u) & ~word & 0x8080808080808080u) == 0) {
            p += 8;
            continue;
        }
        if (*p == 0)
            bad(p, "a zero byte");
        unsigned const length = *p < 0x80 ? 1 : *p < 0xC2 ? 0 : *p < 0xE0 ? 2 : *p < 0xF0 ? 3 : *p < 0xF5 ? 4 : 0;
        bool valid = length != 0 && end - p >= static_cast<std::ptrdiff_t>(length);
        for (unsigned i = 1; valid && i < length; ++i)
            valid = (p[i] & 0xC0) == 0x80;
        // Overlong forms, surrogates, and what lies beyond Unicode.
        if (!valid || (*p == 0xE0 && p[1] < 0xA0) || (*p == 0xED && p[1] > 0x9F) || (*p == 0xF0 && p[1] < 0x90)
            || (*p == 0xF4 && p[1] > 0x8F))
            bad(p, "a byte that does not fit in");
        p += length;
    }
}

std::vector<std::uint32_t> SourceFile::lineStarts() const
{
    std::vector<std::uint32_t> starts = {0};
    char const* const begin = _data.get();
    for (char const* p = begin; (p = static_cast<char const*>(std::memchr(p, '\n', _size - static_cast<std::size_t>(p - begin))));)
        starts.push_back(static_cast<std::uint32_t>(++p - begin));
    return starts;
}

} // namespace Zelvan::play
