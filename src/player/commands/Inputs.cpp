#include "player/commands/Inputs.h"

#include "player/scene/Diagnostics.h"
#include "player/scene/Utf8.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <zlib.h>

namespace Zelvan::play {

namespace {

namespace fs = std::filesystem;

// The beginning of a file, compressed or not, tells.
bool beginsAsScene(fs::path const& path)
{
    std::unique_ptr<gzFile_s, int (*)(gzFile)> const file(::gzopen(path.c_str(), "rb"), ::gzclose);
    if (file == nullptr)
        return false;
    std::string text(1 << 16, '\0');
    int const got = ::gzread(file.get(), text.data(), static_cast<unsigned>(text.size()));
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    std::erase(text, '\0'); // of UTF-16 what is ASCII is left
    text.erase(0, std::min(text.find_first_of("<#"), text.size()));
    auto const has = [&](char const* mark) { return text.find(mark) != std::string::npos; };
    if (text.starts_with('#'))
        return text.starts_with("#VRML V") || text.starts_with("#X3D V");
    return has("<X3D") || has("<!DOCTYPE X3D") || text.starts_with("<Scene");
}

bool isScene(fs::path const& path)
{
    constexpr std::array<std::string_view, 8> suffixes = {".x3d", ".x3dv", ".wrl", ".x3dz", ".x3dvz", ".wrz", ".vrml", ".x3db"};
    fs::path const name = path.extension() == ".gz" ? path.stem() : path.filename();
    return std::ranges::find(suffixes, name.extension().string()) != suffixes.end() || beginsAsScene(path);
}

void addFolder(fs::path const& folder, std::vector<std::string>& scenes)
{
    std::error_code error;
    std::vector<fs::directory_entry> entries; // which know what they are without another look
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (!entry->path().filename().native().starts_with('.'))
            entries.push_back(*entry);
    if (error == std::errc::not_enough_memory)
        throw std::bad_alloc();
    if (error) // reading it as a scene will say why not
        return scenes.push_back(folder.string());
    std::ranges::sort(entries);
    for (fs::directory_entry const& entry : entries)
        if (entry.is_directory(error) && !entry.is_symlink(error))
            addFolder(entry.path(), scenes);
        else if (entry.is_regular_file(error) && isScene(entry.path()))
            scenes.push_back(entry.path().string().substr(entry.path().native().starts_with("./") ? 2 : 0));
}

} // namespace

std::vector<std::string> scenesOf(std::vector<std::string> const& named, std::string const& command)
{
    if (std::ranges::count(named, "-") > 1)
        throw Failure(exitUsage, command + ": standard input can be read once only");
    std::vector<std::string> scenes;
    for (std::string const& name : named) {
        std::error_code error;
        if (name != "-" && fs::is_directory(name, error))
            addFolder(fs::path(name).lexically_normal(), scenes);
        else
            scenes.push_back(name);
    }
    if (scenes.empty()) // a pipeline that looks into the wrong folder must not pass
        throw Failure(exitUsage,
                      command
                          + (named.empty() ? ": which SCENE? (zelvan-play " + command + " --help)"
                                           : ": there is no scene in \"" + named.front() + '"'));
    return scenes;
}

std::string shownName(std::vector<std::string> const& scenes)
{
    return scenes.size() != 1   ? std::to_string(scenes.size()) + " files"
        : scenes.front() == "-" ? "<stdin>"
                                : printable(scenes.front());
}

} // namespace Zelvan::play
