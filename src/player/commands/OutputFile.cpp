#include "player/commands/OutputFile.h"

#include "player/scene/Diagnostics.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <streambuf>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Zelvan::play {

// Writes through a descriptor and remembers the first error, which an std::ofstream would lose.
class OutputFile::Buffer : public std::streambuf {
public:
    Buffer() : _room(1 << 16) { setp(_room.data(), _room.data() + _room.size()); }
    void writeTo(int fd) { _fd = fd; }
    ~Buffer() override
    {
        if (_fd > STDERR_FILENO)
            ::close(_fd);
    }
    int error() const { return _error; }
    int close()
    {
        sync();
        if (_fd > STDERR_FILENO && ::close(std::exchange(_fd, -1)) != 0 && _error == 0)
            _error = errno;
        return _error;
    }

protected:
    int sync() override
    {
        for (char const* at = pbase(); at < pptr() && _error == 0;) {
            ssize_t const n = ::write(_fd, at, static_cast<std::size_t>(pptr() - at));
            if (n >= 0)
                at += n;
            else if (errno != EINTR)
                _error = errno;
        }
        setp(_room.data(), _room.data() + _room.size());
        return _error == 0 ? 0 : -1;
    }
    int_type overflow(int_type c) override
    {
        if (sync() != 0)
            return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof()))
            sputc(traits_type::to_char_type(c));
        return traits_type::not_eof(c);
    }

private:
    int _fd = -1;
    int _error = 0;
    std::vector<char> _room;
};

namespace {

// Files that a signal has to take away: as many as there are outputs.
std::array<std::atomic<char const*>, 8> unfinished;

void removeUnfinished(int signal)
{
    for (auto& path : unfinished)
        if (char const* const temporary = path.exchange(nullptr))
            ::unlink(temporary);
    ::raise(signal); // by its usual action now
}

void catchSignals()
{
    static std::once_flag once;
    std::call_once(once, [] {
        for (int const signal : {SIGHUP, SIGINT, SIGTERM}) {
            struct sigaction ending = {}, usual;
            ending.sa_handler = removeUnfinished;
            ending.sa_flags = static_cast<int>(SA_RESETHAND);
            if (::sigaction(signal, nullptr, &usual) == 0 && usual.sa_handler == SIG_DFL)
                ::sigaction(signal, &ending, nullptr);
        }
    });
}

void remember(char const* temporary)
{
    catchSignals();
    for (auto& path : unfinished)
        if (char const* none = nullptr; path.compare_exchange_strong(none, temporary))
            return;
}

void forget(char const* temporary)
{
    for (auto& path : unfinished)
        if (char const* here = temporary; path.compare_exchange_strong(here, nullptr))
            return;
}

} // namespace

OutputFile::OutputFile(std::string path)
    : _path(std::move(path)), _buffer(std::make_unique<Buffer>()), _stream(std::make_unique<std::ostream>(_buffer.get()))
{
    // Memory comes first: nobody would remove a file of an object that was not made.
    int fd = STDOUT_FILENO;
    struct stat status;
    // Beside its name only where a file is meant: a device or a pipe is written to as it is.
    bool const special = _path != "-" && ::stat(_path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
    if (special) {
        fd = ::open(_path.c_str(), O_WRONLY | O_CLOEXEC);
    } else if (_path != "-") {
        _temporary = _path + ".XXXXXX";
        fd = ::mkostemp(_temporary.data(), O_CLOEXEC);
        if (fd >= 0) {
            remember(_temporary.c_str());
            mode_t const mask = ::umask(0);
            ::umask(mask);
            ::fchmod(fd, 0666 & ~mask);
        }
    }
    if (fd < 0)
        throw Failure(exitMachine, _path + ": cannot write: " + std::strerror(errno));
    _buffer->writeTo(fd);
}

OutputFile::~OutputFile()
{
    _buffer->close();
    if (!_temporary.empty())
        ::unlink(_temporary.c_str());
    forget(_temporary.c_str());
}

void OutputFile::check()
{
    // A stream keeps to itself that there was no memory for something.
    int const error = _buffer->error() == 0 && _stream->bad() ? ENOMEM : _buffer->error();
    if (error != 0)
        throw Failure(exitMachine, (_path == "-" ? "standard output" : _path) + ": cannot write: " + std::strerror(error));
}

void OutputFile::commit()
{
    _stream->flush();
    _buffer->close();
    check();
    if (!_temporary.empty()) {
        if (std::rename(_temporary.c_str(), _path.c_str()) != 0)
            throw Failure(exitMachine, _path + ": cannot write: " + std::strerror(errno));
        forget(_temporary.c_str());
        _temporary.clear();
    }
}

} // namespace Zelvan::play
