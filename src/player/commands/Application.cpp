#include "player/commands/Application.h"

#include "player/commands/Commands.h"
#include "player/scene/DidYouMean.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <new>
#include <unistd.h>

namespace Zelvan::play {

namespace {

// "zelvan-play scene.x3d" runs it.
std::vector<std::string> withCommand(CLI::App const& app, std::vector<std::string> arguments)
{
    auto first = arguments.begin();
    for (; first != arguments.end() && first->size() > 1 && first->front() == '-'; ++first) {
        CLI::Option const* const option = app.get_option_no_throw(*first);
        if (option != nullptr && option->get_items_expected_max() > 0 && first + 1 != arguments.end())
            ++first;
    }
    auto const commands = app.get_subcommands({});
    auto const isMeant = [&](CLI::App const* command) { return command->get_name() == *first; };
    if (first == arguments.end() || std::ranges::any_of(commands, isMeant))
        return arguments;
    std::error_code error;
    if (*first == "-" || first->find_first_of("./") != std::string::npos || std::filesystem::exists(*first, error)) {
        arguments.insert(arguments.begin(), "run");
        return arguments;
    }
    DidYouMean meant(*first);
    std::string names;
    for (CLI::App const* const command : commands) {
        meant.offer(command->get_name());
        names += (names.empty() ? "; there are: " : ", ") + command->get_name();
    }
    throw Failure(exitUsage, "there is no command \"" + *first + '"' + (meant.nearest().empty() ? names : meant.text()));
}

// What was meant by the first option that does not exist.
std::string meantOption(CLI::App const& app)
{
    for (std::string const& argument : app.remaining(true)) {
        std::string const name = argument.substr(0, argument.find('='));
        if (!name.starts_with("--"))
            continue;
        DidYouMean meant(name);
        std::vector<CLI::App const*> apps = {&app};
        for (CLI::App const* const command : app.get_subcommands())
            apps.push_back(command);
        for (CLI::App const* const at : apps)
            for (CLI::Option const* const option : at->get_options())
                for (std::string const& known : option->get_lnames())
                    meant.offer("--" + known);
        return meant.text();
    }
    return "";
}

} // namespace

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
        app.failure_message([&app](CLI::App const*, CLI::Error const& error) {
            return printable(error.what() + meantOption(app)) + "\nRun with --help for more information.\n";
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
        auto* const config =
            app.add_option("--config", session.config, "the file of settings (zelvan-play.toml beside the scene)");
        config->option_text("FILE");
        app.add_flag("--no-config", session.noConfig, "no settings but the usual ones")->excludes(config);
        app.footer("Exit status: 0 fine, 1 the scene has errors, 2 wrong usage, 3 something cannot be read, written or "
                   "loaded.\nExample: zelvan-play scene.x3d --html scene.html (without a command, run)");
        app.parse_complete_callback([&] { session.logGiven = level->count() > 0; });
        addRunCommand(app, session);
        addSweepCommand(app, session);
        addCheckCommand(app, session);
        addExportCommand(app, session);
        addExplainCommand(app, session);
        addSettingsCommand(app, session);
        addBakeCommand(app, session);
        addDiffCommand(app, session);
        addReduceCommand(app, session);
        addTypesCommand(app, session);
        try {
            std::vector<std::string> arguments = withCommand(app, {argv + std::min(argc, 1), argv + argc});
            std::ranges::reverse(arguments); // as CLI11 wants them
            app.parse(std::move(arguments));
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
