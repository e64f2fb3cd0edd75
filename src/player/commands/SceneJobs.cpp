#include "player/commands/SceneJobs.h"

#include "player/commands/LogOutput.h"
#include "player/commands/Playing.h"
#include "player/commands/Processes.h"

#include <charconv>
#include <iostream>
#include <new>
#include <sstream>
#include <string_view>

namespace Zelvan::play {

namespace {

std::string written(SceneResult const& result)
{
    std::string text = std::to_string(result.status) + ' ' + std::to_string(result.counts.size()) + ' ';
    for (std::size_t const count : result.counts)
        text += std::to_string(count) + ' ';
    for (std::string const* const part : {&result.out, &result.err, &result.failure})
        text += std::to_string(part->size()) + ' ';
    return text + result.out + result.err + result.failure;
}

SceneResult read(std::string_view text)
{
    auto const number = [&] {
        std::size_t value = 0;
        text.remove_prefix(
            static_cast<std::size_t>(std::from_chars(text.data(), text.data() + text.size(), value).ptr - text.data()) + 1);
        return value;
    };
    SceneResult result;
    result.status = static_cast<ExitStatus>(number());
    result.counts.resize(number());
    for (std::size_t& count : result.counts)
        count = number();
    std::size_t const sizes[] = {number(), number(), number()};
    std::string* const parts[] = {&result.out, &result.err, &result.failure};
    for (int i = 0; i < 3; ++i) {
        *parts[i] = text.substr(0, sizes[i]);
        text.remove_prefix(sizes[i]);
    }
    return result;
}

SceneResult worked(std::function<SceneResult(std::size_t)> const& work, std::size_t number)
{
    SceneResult result;
    try {
        return work(number);
    } catch (Failure const& failure) {
        result.status = failure.status();
        result.failure = failure.what();
    } catch (std::bad_alloc const&) {
        result.status = exitMachine;
        result.failure = "out of memory";
    } catch (std::exception const& error) {
        result.status = exitMachine;
        result.failure = error.what();
    }
    return result;
}

} // namespace

void workOnScenes(std::vector<std::string> const& scenes, unsigned jobs, int logLevel,
                  std::function<SceneResult(std::size_t)> const& work,
                  std::function<void(std::size_t, SceneResult const&)> const& take)
{
    if (scenes.size() == 1)
        return take(0, work(0));
    // What a scene logs stands together, whoever works on the next one.
    auto const captured = [&](std::size_t number) {
        forgetShown(logLevel);
        std::ostringstream errors;
        errors.exceptions(std::ios::badbit);
        std::streambuf* const usual = std::cerr.rdbuf(errors.rdbuf());
        SceneResult result = worked(work, number);
        std::cerr.rdbuf(usual);
        result.err.insert(0, std::move(errors).str());
        return written(result);
    };
    Progress progress;
    inProcesses(scenes.size(), jobs, captured, [&](std::size_t number, std::string const& text, std::string const& death) {
        SceneResult result;
        if (death.empty()) {
            result = read(text);
        } else {
            result.status = exitMachine;
            result.failure = "the process that worked on it ended " + death;
        }
        progress.end();
        if (result.status == exitUsage && !result.failure.empty())
            throw Failure(exitUsage, result.failure);
        take(number, result);
        progress.show([&] { return std::to_string(number + 1) + " of " + std::to_string(scenes.size()) + " files"; });
    });
    progress.end();
}

} // namespace Zelvan::play
