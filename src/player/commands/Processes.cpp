#include "player/commands/Processes.h"

#include "player/commands/OutputFile.h"
#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <deque>
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

    int answers() const { return _answers; }
    /// What it has been given and not answered, in the order of both.
    std::deque<std::size_t> const& given() const { return _given; }
    void give(std::size_t task)
    {
        _given.push_back(task);
        std::uint64_t const number = task;
        // Whether it is still there shows when it does not answer.
        (void)writeAll(_tasks, reinterpret_cast<char const*>(&number), sizeof number);
    }
    /// Waits for something to come from it. False when it has ended.
    bool receive()
    {
        char room[1 << 14];
        ssize_t got = -1;
        do
            got = ::read(_answers, room, sizeof room);
        while (got < 0 && errno == EINTR);
        _received.append(room, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return got > 0;
    }
    /// Takes the next whole answer out of what has come, and the task from what was given.
    bool answer(std::size_t& task, std::string& text)
    {
        std::uint64_t size = 0;
        if (_received.size() < sizeof size)
            return false;
        std::memcpy(&size, _received.data(), sizeof size);
        if (_received.size() - sizeof size < size)
            return false;
        text = _received.substr(sizeof size, size);
        _received.erase(0, sizeof size + size);
        task = _given.front();
        _given.pop_front();
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
        while (::waitpid(_pid, &status, 0) < 0 && errno == EINTR) {
        }
        _pid = 0;
        if (WIFSIGNALED(status))
            return "by signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) + ')';
        return "with status " + std::to_string(WEXITSTATUS(status));
    }

private:
    [[noreturn]] static void refuse(char const* what)
    {
        throw Failure(exitMachine, std::string("cannot ") + what + ": " + std::strerror(errno));
    }
    static int serve(Work const& work, int tasks, int answers) noexcept
    {
        try {
            for (std::uint64_t task = 0; readAll(tasks, reinterpret_cast<char*>(&task), sizeof task);) {
                std::string text = work(task);
                std::uint64_t const size = text.size();
                text.insert(0, reinterpret_cast<char const*>(&size), sizeof size); // one piece wakes the other side once
                if (!writeAll(answers, text.data(), text.size()))
                    return exitMachine;
            }
            return exitFine;
        } catch (...) {
            return exitMachine;
        }
    }

    pid_t _pid = 0;
    int _tasks = -1, _answers = -1;
    std::deque<std::size_t> _given;
    std::string _received;
};

} // namespace

void inProcesses(std::size_t count, unsigned jobs, Work const& work,
                 std::function<void(std::size_t, std::string const&, std::string const&)> const& take)
{
    constexpr std::size_t aheadPerJob = 64; // so that one slow piece does not stop the others at once
    constexpr std::size_t mostGiven = 32;   // to a process, while there are plenty, so that it need not wait
    constexpr int nap = 1000; // microseconds in which answers gather then: to wake up for each costs more than a small piece
    std::vector<std::unique_ptr<Worker>> workers(std::min<std::size_t>(jobs, count));
    std::size_t const ahead = aheadPerJob * workers.size();
    std::map<std::size_t, std::pair<std::string, std::string>> done;
    std::deque<std::size_t> again; // of one that died: what it had not begun
    std::size_t given = 0, taken = 0;
    auto const mayGive = [&] { return !again.empty() || (given < count && given < taken + ahead); };
    while (taken < count) {
        std::size_t const share = std::clamp<std::size_t>((count - given) / (2 * workers.size()), 1, mostGiven);
        for (std::size_t most = 1; most <= share; ++most)
            for (auto& worker : workers) {
                if (!mayGive())
                    break;
                if (worker == nullptr)
                    worker = std::make_unique<Worker>(work, workers);
                if (worker->given().size() >= most)
                    continue;
                worker->give(again.empty() ? given++ : again.front());
                if (!again.empty())
                    again.pop_front();
            }
        if (share > 4)
            ::usleep(nap);
        std::vector<pollfd> waits;
        for (auto const& worker : workers)
            waits.push_back({worker != nullptr && !worker->given().empty() ? worker->answers() : -1, POLLIN, 0});
        if (::poll(waits.data(), waits.size(), -1) < 0) {
            if (errno != EINTR)
                throw Failure(exitMachine, std::string("cannot wait for a process: ") + std::strerror(errno));
            continue;
        }
        for (std::size_t i = 0; i < workers.size(); ++i) {
            if (waits[i].revents == 0)
                continue;
            Worker& worker = *workers[i];
            bool const lives = worker.receive();
            std::string text;
            for (std::size_t task = 0; worker.answer(task, text);)
                done[task] = {std::move(text), ""};
            if (lives)
                continue;
            std::deque<std::size_t> const left = worker.given();
            done[left.front()] = {"", worker.end()};
            again.insert(again.end(), left.begin() + 1, left.end());
            workers[i].reset();
        }
        for (auto next = done.find(taken); next != done.end(); next = done.find(taken)) {
            take(taken++, next->second.first, next->second.second);
            done.erase(next);
        }
    }
}

} // namespace Zelvan::play
