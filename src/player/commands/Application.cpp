#include "player/commands/Application.h"

#include "player/commands/Commands.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <new>
#include <unistd.h>

namespace Zelvan::play {

int runApplication(int argc, char const* const* argv)
{
    // A reader that goes away and a limit on files are errors of writing, not the end of the process in the middle.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // What is opened later must not become a standard stream that the caller has closed.
    for (int const fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(fd, F_GETFD) < 0 && errno == EBADF)
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY); // as useless as before
    Session session;
    try {
        CLI::App app("Plays, checks and exports the animation of X3D scenes.", "zelvan-play");
        app.require_subcommand(1);
        app.failure_message([](CLI::App const*, CLI::Error const& error) {
            return printable(error.what()) + "\nRun with --help for more information.\n";
        });
        app.fallthrough();
        app.set_version_flag("--version", "zelvan-play " ZELVAN_VERSION);
        app.add_option("--pool", session.pool, "the node pool library to load")->option_text("PATH");
        auto* const level = app.add_option("--log-level", session.logLevel, "0 traces only ... 5 everything (1)");
        level->check(CLI::Range(0, 5))->option_text("0-5");
        app.add_option("--param", session.params, "set a context parameter, such as binSearchKeyIndex")
            ->allow_extra_args(false)
            ->option_text("NAME=true|false");
        app.add_flag("--strict", session.strict, "treat warnings as errors");
        app.footer("Exit status: 0 fine, 1 the scene has errors, 2 wrong usage, 3 something cannot be read, written or "
                   "loaded.\nExample: zelvan-play run scene.x3d --html scene.html");
        app.parse_complete_callback([&] { session.logGiven = level->count() > 0; });
        addRunCommand(app, session);
        addSweepCommand(app, session);
        addCheckCommand(app, session);
        addExportCommand(app, session);
        addBakeCommand(app, session);
        addDiffCommand(app, session);
        addReduceCommand(app, session);
        addTypesCommand(app, session);
        try {
            app.parse(argc, argv);
        } catch (CLI::ParseError const& error) {
            if (app.exit(error) != 0)
                return exitUsage;
            if (!std::cout.flush())
                throw Failure(exitMachine, "standard output: cannot write");
            return exitFine;
        }
        return session.status;
    } catch (Failure const& failure) {
        std::cerr << "zelvan-play: " << printable(failure.what()) << '\n';
        for (std::string const& reason : failure.reasons())
            std::cerr << "  " << printable(reason) << '\n';
        return failure.status();
    } catch (std::bad_alloc const&) {
        std::cerr << "zelvan-play: out of memory\n";
        return exitMachine;
    } catch (std::exception const& error) {
        std::cerr << "zelvan-play: " << printable(error.what()) << '\n';
        return exitMachine;
    }
}

} // namespace Zelvan::play
