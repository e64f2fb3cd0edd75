#include "player/commands/Processes.h"

#include "player/commands/OutputFile.h"
#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <map>
#include <memory>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Zelvan::play {

namespace {

bool readAll(int fd, char* to, std::size_t bytes)
{
    while (bytes > 0) {
        ssize_t const got = ::read(fd, to, bytes);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        to += got;
        bytes -= static_cast<std::size_t>(got);
    }
    return true;
}

bool writeAll(int fd, char const* from, std::size_t bytes)
{
    while (bytes > 0) {
        ssize_t const put = ::write(fd, from, bytes);
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return false;
        from += put;
        bytes -= static_cast<std::size_t>(put);
    }
    return true;
}

using Work = std::function<std::string(std::size_t)>;

/// A process that gets numbers and answers each with a text.
class Worker {
public:
    Worker(Work const& work, std::vector<std::unique_ptr<Worker>> const& others)
    {
        int tasks[2], answers[2];
        if (::pipe2(tasks, O_CLOEXEC) != 0)
            refuse("make a pipe");
        if (::pipe2(answers, O_CLOEXEC) != 0) {
            ::close(tasks[0]);
            ::close(tasks[1]);
            refuse("make a pipe");
        }
        std::cout.flush();
        _pid = ::fork();
        if (_pid == 0) {
            // Pipes of the others would stay open in here after their owner has gone.
            for (auto const& other : others)
                if (other != nullptr) {
                    ::close(other->_tasks);
                    ::close(other->_answers);
                }
            ::close(tasks[1]);
            ::close(answers[0]);
            OutputFile::leaveToParent();
            ::_exit(serve(work, tasks[0], answers[1]));
        }
        int const error = errno;
        ::close(tasks[0]);
        ::close(answers[1]);
        _tasks = tasks[1];
        _answers = answers[0];
        errno = error;
        if (_pid < 0)
            refuse("start a process");
    }
    ~Worker() { end(); }
    Worker(Worker const&) = delete;
    Worker& operator=(Worker const&) = delete;

    bool idle() const { return _task == none; }
    std::size_t task() const { return _task; }
    int answers() const { return _answers; }
    void give(std::size_t task)
    {
        _task = task;
        std::uint64_t const number = task;
        // Whether it is still there shows when it does not answer.
        (void)writeAll(_tasks, reinterpret_cast<char const*>(&number), sizeof number);
    }
    /// False when it ended before it had answered.
    bool answer(std::string& text)
    {
        std::uint64_t size = 0;
        if (!readAll(_answers, reinterpret_cast<char*>(&size), sizeof size))
            return false;
        text.resize(size);
        if (!readAll(_answers, text.data(), size))
            return false;
        _task = none;
        return true;
    }
    /// Waits for its end, which closing its pipe asks for, and tells of it.
    std::string end()
    {
        if (_pid <= 0)
            return "";
        ::close(_tasks);
        ::close(_answers);
        int status = 0;
        while (::waitpid(_pid, &status, 0) < 0 && errno == EINTR) {}
        _pid = 0;
        if (WIFSIGNALED(status))
            return "by signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) + ')';
        return "with status " + std::to_string(WEXITSTATUS(status));
    }

private:
    static constexpr std::size_t none = ~std::size_t(0);

    [[noreturn]] static void refuse(char const* what)
    {
        throw Failure(exitMachine, std::string("cannot ") + what + ": " + std::strerror(errno));
    }
    static int serve(Work const& work, int tasks, int answers) noexcept
    {
        try {
            for (std::uint64_t task = 0; readAll(tasks, reinterpret_cast<char*>(&task), sizeof task);) {
                std::string const text = work(task);
                std::uint64_t const size = text.size();
                if (!writeAll(answers, reinterpret_cast<char const*>(&size), sizeof size)
                    || !writeAll(answers, text.data(), text.size()))
                    return exitMachine;
            }
            return exitFine;
        } catch (...) {
            return exitMachine;
        }
    }

    pid_t _pid = 0;
    int _tasks = -1, _answers = -1;
    std::size_t _task = none;
};

} // namespace

void inProcesses(std::size_t count, unsigned jobs, Work const& work,
                 std::function<void(std::size_t, std::string const&, std::string const&)> const& take)
{
    constexpr std::size_t aheadPerJob = 8; // so that one slow piece does not stop the others at once
    std::vector<std::unique_ptr<Worker>> workers(std::min<std::size_t>(jobs, count));
    std::map<std::size_t, std::pair<std::string, std::string>> done;
    std::size_t given = 0, taken = 0;
    while (taken < count) {
        for (auto& worker : workers) {
            if (given >= count || given >= taken + aheadPerJob * workers.size())
                break;
            if (worker == nullptr)
                worker = std::make_unique<Worker>(work, workers);
            if (worker->idle())
                worker->give(given++);
        }
        std::vector<pollfd> waits;
        for (auto const& worker : workers)
            if (worker != nullptr && !worker->idle())
                waits.push_back({worker->answers(), POLLIN, 0});
        if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR)
            throw Failure(exitMachine, std::string("cannot wait for a process: ") + std::strerror(errno));
        for (auto& worker : workers) {
            auto const ready = std::find_if(waits.begin(), waits.end(), [&](pollfd const& wait) {
                return worker != nullptr && !worker->idle() && wait.fd == worker->answers() && wait.revents != 0;
            });
            if (ready == waits.end())
                continue;
            std::size_t const task = worker->task();
            std::string text;
            if (worker->answer(text)) {
                done[task] = {std::move(text), ""};
            } else {
                done[task] = {"", worker->end()};
                worker.reset();
            }
        }
        for (auto next = done.find(taken); next != done.end(); next = done.find(taken)) {
            take(taken++, next->second.first, next->second.second);
            done.erase(next);
        }
    }
}

} // namespace Zelvan::play
