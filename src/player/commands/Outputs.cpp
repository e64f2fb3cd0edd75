#include "player/commands/Outputs.h"

#include "player/commands/Playing.h"
#include "player/commands/Report.h"
#include "player/commands/Tables.h"
#include "player/drawing/Pictures.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Zelvan::play {

namespace {

// What makes a file that file, whatever it is called.
using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identityOf(std::string const& path, int standardStream)
{
    struct stat status;
    bool const known = path == "-" ? ::fstat(standardStream, &status) == 0 : ::stat(path.c_str(), &status) == 0;
    return known && S_ISREG(status.st_mode) ? std::optional(Identity(status.st_dev, status.st_ino)) : std::nullopt;
}

/// A name that ends like another format is a slip.
void requireFormats(std::vector<std::pair<std::string, std::string>> const& outputs)
{
    std::vector<std::string> endings{".jpg", ".jpeg", ".gif", ".webp", ".pdf"}; // which are not made
    for (auto const& [path, ending] : outputs)
        endings.push_back(ending);
    for (auto const& [path, own] : outputs)
        for (std::string const& ending : endings)
            if (ending != own && path.ends_with(ending))
                throw Failure(exitUsage, '"' + path + "\" ends in " + ending + ", but what is asked for is " + own.substr(1));
}

} // namespace

bool isSameFile(std::string const& input, std::string const& output)
{
    auto const identity = identityOf(input, STDIN_FILENO);
    return identity && identity == identityOf(output, STDOUT_FILENO);
}

void requireOwnFiles(std::vector<std::string> const& outputs, OpenedScene const& opened)
{
    std::map<Identity, std::string> inputs;
    auto const input = [&](std::string const& path, std::string const& what) {
        if (auto const identity = identityOf(path, STDIN_FILENO))
            inputs.try_emplace(*identity, what);
    };
    input(opened.pool, "the pool library");
    input(opened.file, "the scene itself");
    for (std::string const& file : opened.scene->fileNames)
        input(file, "a file that the scene is made of");

    std::set<Identity> present;
    std::set<std::string> names;
    for (std::string const& output : outputs) {
        if (output.empty())
            continue;
        auto const identity = identityOf(output, STDOUT_FILENO);
        if (identity && inputs.contains(*identity))
            throw Failure(exitUsage, '"' + output + "\" is " + inputs.at(*identity) + " and is not written over");
        struct stat status;
        if (output != "-" && !identity && ::stat(output.c_str(), &status) == 0)
            continue; // a device takes any number
        std::error_code error;
        auto const target = std::filesystem::weakly_canonical(std::filesystem::absolute(OutputFile::target(output)), error);
        std::string const name = output == "-" ? output : target.string();
        if (!names.insert(name).second || (identity && !present.insert(*identity).second))
            throw Failure(exitUsage, '"' + output + "\" is named for two outputs");
    }
}

Outputs::Outputs(OutputOptions const& options, OpenedScene const& opened, Recorder& recorder, char const* axis)
    : _options(options), _opened(opened), _recorder(recorder), _axis(axis)
{
    requireFormats({{options.csv, ".csv"},
                    {options.jsonLines, ".jsonl"},
                    {options.svg, ".svg"},
                    {options.png, ".png"},
                    {options.html, ".html"}});
    requireOwnFiles({options.csv, options.jsonLines, options.svg, options.png, options.html}, opened);
    if (!options.csv.empty())
        _writers.push_back(std::make_unique<EventWriter>(options.csv, EventWriter::csv, axis));
    if (!options.jsonLines.empty())
        _writers.push_back(std::make_unique<EventWriter>(options.jsonLines, EventWriter::jsonLines, axis));
    if (!_writers.empty())
        recorder.onEvent = [this](Track const& track, double time, Field const& field) {
            for (auto const& writer : _writers)
                writer->write(track, time, field);
        };
}

bool Outputs::finish(Clock const* clock, std::vector<Curve> const& curves, PictureOptions picture)
{
    for (auto const& writer : _writers)
        writer->commit();
    // The curves of a sweep have axes of their own.
    picture.title = _opened.file.substr(_opened.file.rfind('/') + 1);
    picture.axis = clock ? _axis + " (s)" : _axis;
    picture.sharedAxis = clock != nullptr;
    auto const write = [&](std::string const& path, auto writer) {
        if (path.empty())
            return;
        OutputFile file(path);
        writer(file.stream(), curves, picture);
        file.commit();
    };
    write(_options.svg, writeSvg);
    write(_options.png, writePng);
    write(_options.html, writeHtml);
    if (clock != nullptr && (_options.pictures() || !_writers.empty()))
        writeWhyStill(std::cerr, *_opened.scene, _recorder, *clock);
    for (std::string const* const path : {&_options.csv, &_options.jsonLines, &_options.svg, &_options.png, &_options.html})
        if (*path == "-")
            return false;
    OutputFile out("-");
    writeReport(out.stream(), *_opened.scene, _recorder, clock, styledOutput(STDOUT_FILENO), outputWidth(STDOUT_FILENO),
                picture.shown);
    out.commit();
    return true;
}

} // namespace Zelvan::play
