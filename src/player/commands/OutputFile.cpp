#include "player/commands/OutputFile.h"

#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <streambuf>
#include <sys/stat.h>
#include <tuple>
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
    ::signal(signal, SIG_DFL);
    ::raise(signal); // ends the process when the handler returns
}

void catchSignals()
{
    static std::once_flag once;
    std::call_once(once, [] {
        constexpr int harmless[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};
        for (int signal = 1; signal <= SIGRTMAX; ++signal) {
            struct sigaction ending = {}, usual;
            ending.sa_handler = removeUnfinished;
            // The usual action comes back only in the handler, where every signal waits: with SA_RESETHAND a signal that is
            // sent twice at once can end the process before the handler's first line.
            ::sigfillset(&ending.sa_mask);
            if (std::ranges::find(harmless, signal) == std::end(harmless) && ::sigaction(signal, nullptr, &usual) == 0
                && usual.sa_handler == SIG_DFL)
                ::sigaction(signal, &ending, nullptr);
        }
    });
}

void remember(char const* temporary)
{
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

void OutputFile::leaveToParent()
{
    for (auto& path : unfinished)
        path = nullptr;
}

std::string OutputFile::target(std::string const& path)
{
    namespace fs = std::filesystem;
    constexpr int most = 40; // as many as the system follows
    fs::path file = path;
    std::error_code error;
    for (int links = 0; links < most && fs::is_symlink(fs::symlink_status(file, error)); ++links)
        file = file.parent_path() / fs::read_symlink(file, error);
    return file.string();
}

OutputFile::OutputFile(std::string path)
    : _path(std::move(path)), _buffer(std::make_unique<Buffer>()), _stream(std::make_unique<std::ostream>(_buffer.get()))
{
    // Memory comes first: nobody would remove a file of an object that was not made.
    struct stat status;
    // Beside its name only where a file is meant: a device or a pipe is written to as it is.
    if (_path == "-")
        _buffer->writeTo(STDOUT_FILENO);
    else if (::stat(_path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        _buffer->writeTo(opened(::open(_path.c_str(), O_WRONLY | O_CLOEXEC)));
    else
        openBeside();
}

int OutputFile::opened(int fd) const
{
    if (fd < 0)
        throw Failure(exitMachine, _path + ": cannot write: " + std::strerror(errno));
    return fd;
}

void OutputFile::openBeside()
{
    _target = target(_path);
    _temporary = (std::filesystem::path(_target).parent_path() / ".zelvan-play-XXXXXX").string();
    struct stat before;
    bool const exists = ::stat(_target.c_str(), &before) == 0;
    if (exists ? ::access(_target.c_str(), W_OK) != 0 : errno != ENOENT)
        opened(-1);
    // No signal comes between the file and its being remembered.
    catchSignals();
    sigset_t all, usual;
    ::sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, &usual);
    int const fd = ::mkostemp(_temporary.data(), O_CLOEXEC);
    int const error = errno;
    if (fd >= 0)
        remember(_temporary.c_str());
    ::sigprocmask(SIG_SETMASK, &usual, nullptr);
    errno = error;
    _buffer->writeTo(opened(fd));
    mode_t const mask = ::umask(0);
    ::umask(mask);
    if (exists)
        std::ignore = ::fchown(fd, before.st_uid, before.st_gid);
    ::fchmod(fd, exists ? before.st_mode & 07777 : 0666 & ~mask);
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
        if (std::rename(_temporary.c_str(), _target.c_str()) != 0)
            throw Failure(exitMachine, _path + ": cannot write: " + std::strerror(errno));
        forget(_temporary.c_str());
        _temporary.clear();
    }
}

} // namespace Zelvan::play
