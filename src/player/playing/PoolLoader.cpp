#include "player/playing/PoolLoader.h"

#include "player/scene/Diagnostics.h"

#include "base/NodeType.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <link.h>
#include <string_view>

namespace Zelvan::play {

namespace {

namespace fs = std::filesystem;

constexpr char const* poolFile = "libzelvanInterpolationNodePool.so." ZELVAN_MAJOR;
constexpr char const* poolFolder = "zelvan-" ZELVAN_MAJOR;
// Zelvan::initInterpolationNodePool(), by the name compilers give it.
constexpr char const* entryName = "_ZN6Zelvan25initInterpolationNodePoolEv";

constexpr char const* noEntry = "is no node pool: it has no entry Zelvan::initInterpolationNodePool()";

// The dynamic linker's last message, without the name of the file it is about.
std::string linkerMessage(std::string const& file)
{
    char const* const text = ::dlerror();
    std::string message = text ? text : "cannot be loaded";
    if (message.starts_with(file + ": "))
        message.erase(0, file.size() + 2);
    return message;
}

// Looks into the file before the dynamic linker does; "" when nothing speaks against it.
std::string inspect(fs::path const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::strerror(errno);
    std::string const content{std::istreambuf_iterator<char>(in), {}};
    // Not even loaded without the entry's name in it: its initialisers would run, and those of a second copy of
    // the framework would destroy what the first has registered.
    if (content.find(entryName) == std::string::npos)
        return noEntry;
    // The section table is the last thing in a library. The dynamic linker dies of one that was cut off.
    ElfW(Ehdr) header;
    if (content.size() < sizeof header)
        return "is cut off";
    std::memcpy(&header, content.data(), sizeof header);
    if (content.starts_with(ELFMAG) && header.e_shoff >= content.size())
        return "is cut off";
    return "";
}

// Why the entry does not take part; "" when it does.
std::string callEntry(void* library)
{
    auto const entry = reinterpret_cast<bool (*)()>(::dlsym(library, entryName));
    if (entry == nullptr)
        return noEntry;
    try {
        return entry() ? "" : "its entry reports that its node types are not registered";
    } catch (...) {
        return "its entry ended with an exception";
    }
}

// Why the file was not taken; "" when it was.
std::string load(fs::path const& path)
{
    std::error_code error;
    fs::file_status const status = fs::status(path, error);
    if (!fs::exists(status))
        return error && status.type() != fs::file_type::not_found ? error.message() : "no such file";
    if (!fs::is_regular_file(status))
        return "is not a file";
    // A name without a folder would be looked for in the system's library folders.
    std::string const file = fs::absolute(path).string();
    // What this process has loaded before has been looked into.
    void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (library == nullptr) {
        if (std::string refusal = inspect(path); !refusal.empty())
            return refusal;
        library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    if (library == nullptr)
        return linkerMessage(file);
    std::string refusal = NodeType::takeFailure() ? "there is not enough memory for its node types" : callEntry(library);
    if (!refusal.empty())
        ::dlclose(library); // takes back the types it registered
    return refusal;
}

// Folders in ZELVAN_PLUGIN_PATH, then those that belong to this installation or build.
std::vector<fs::path> poolFolders()
{
    std::vector<fs::path> folders;
    if (char const* const variable = std::getenv("ZELVAN_PLUGIN_PATH")) {
        std::string_view rest = variable;
        while (!rest.empty()) {
            std::string_view const folder = rest.substr(0, rest.find(':'));
            rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
            if (!folder.empty())
                folders.emplace_back(folder);
        }
    }
    // An object of libzelvanBase: the address of a function may be one in the program.
    Dl_info base;
    if (::dladdr(&theSceneNodeTypeFactory(), &base) != 0 && base.dli_fname != nullptr)
        folders.push_back(fs::path(base.dli_fname).parent_path() / poolFolder);
    std::error_code error;
    if (fs::path const program = fs::read_symlink("/proc/self/exe", error); !error)
        folders.push_back(program.parent_path().parent_path() / "lib");
    return folders;
}

} // namespace

std::vector<PoolCandidate> loadPool(std::string const& explicitFile)
{
    std::vector<fs::path> files;
    if (!explicitFile.empty())
        files.emplace_back(explicitFile);
    else
        for (fs::path const& folder : poolFolders())
            files.push_back((folder / poolFile).lexically_normal());

    std::vector<PoolCandidate> candidates;
    for (fs::path const& file : files) {
        candidates.push_back({file.string(), load(file)});
        if (candidates.back().refusal.empty())
            return candidates;
    }
    std::string message = "the node pool cannot be loaded:";
    for (PoolCandidate const& candidate : candidates)
        message += (candidates.size() == 1 ? " " : "\n  ") + candidate.file + ": " + candidate.refusal;
    throw Failure(exitMachine, message);
}

} // namespace Zelvan::play
