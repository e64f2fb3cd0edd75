#include "player/reading/VrmlConverter.h"

#include "player/reading/LocalFiles.h"
#include "player/scene/Diagnostics.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zelvan::play {

TextBuffer convertedVrml(TextBuffer&& text)
{
    bool const classic = text.text().find("#X3D V") < 4;
    std::string file = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/zelvan-play-XXXXXX"
        + (classic ? ".x3dv" : ".wrl");
    Descriptor const written(::mkstemps(file.data(), classic ? 5 : 4));
    if (written.number() < 0)
        throw Failure(exitMachine, std::string("cannot write a temporary file: ") + std::strerror(errno));
    struct Remove {
        std::string const& f;
        ~Remove() { ::unlink(f.c_str()); }
    } const remove{file};
    for (std::size_t done = 0; done < text.size();) {
        ssize_t const n = ::write(written.number(), text.data() + done, text.size() - done);
        if (n < 0 && errno != EINTR)
            throw Failure(exitMachine, std::string("cannot write a temporary file: ") + std::strerror(errno));
        done += n > 0 ? static_cast<std::size_t>(n) : 0;
    }

    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        throw Failure(exitMachine, std::string("cannot make a pipe: ") + std::strerror(errno));
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
        throw Failure(exitMachine, std::string(kind) + " is read through the program tovrmlx3d, which is not installed: "
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
    TextBuffer converted(text.limit());
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Time::now()).count();
        pollfd ready{out.number(), POLLIN, 0};
        if (left <= 0 || ::poll(&ready, 1, static_cast<int>(left)) == 0)
            throw Failure(exitMachine, "tovrmlx3d did not end within a minute");
        std::span<char> const room = converted.room();
        ssize_t const got = ::read(out.number(), room.data(), room.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        converted.add(static_cast<std::size_t>(got));
    }
    reap.wait();
    if (!WIFEXITED(reap.status) || WEXITSTATUS(reap.status) != 0)
        throw Failure(exitScene, std::string("not valid ") + kind + ": tovrmlx3d could not convert it");
    converted.end();
    return converted;
}

} // namespace Zelvan::play
