#include "player/playing/PoolLoader.h"

#include "player/scene/Diagnostics.h"

#include "base/NodeType.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <link.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

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

struct Library {
    explicit Library(fs::path const& path) : fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~Library()
    {
        if (fd >= 0)
            ::close(fd);
    }
    Library(Library const&) = delete;
    Library& operator=(Library const&) = delete;

    /// False, with errno, when there are not that many bytes; 0 where the file ends.
    bool read(void* to, std::size_t bytes, std::uint64_t at) const
    {
        errno = 0;
        for (auto* next = static_cast<char*>(to); bytes > 0;) {
            ssize_t const got = at > INT64_MAX ? 0 : ::pread(fd, next, bytes, static_cast<off_t>(at));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return false;
            next += got;
            at += static_cast<std::uint64_t>(got);
            bytes -= static_cast<std::size_t>(got);
        }
        return true;
    }

    int const fd;
};

// Looks into the file before the dynamic linker does; "" when nothing speaks against it. A library is not even loaded
// without the entry among its names: its initialisers would run, and those of a second copy of the framework would
// destroy what the first has registered. Only the tables that lead to the names are read.
std::string inspect(fs::path const& path)
{
    constexpr std::size_t mostSections = 1000, mostNames = std::size_t(16) << 20;
    Library const library(path);
    struct stat status;
    if (library.fd < 0 || ::fstat(library.fd, &status) != 0)
        return std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "is not a file";
    auto const cutOff = [] { return errno != 0 ? std::strerror(errno) : "is cut off"; };
    char magic[EI_NIDENT];
    if (!library.read(magic, sizeof magic, 0))
        return errno != 0 ? std::strerror(errno) : noEntry;
    if (std::string_view(magic, SELFMAG) != ELFMAG)
        return noEntry;
    constexpr char native = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    constexpr char order = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;
    if (magic[EI_CLASS] != native || magic[EI_DATA] != order)
        return "is a library for another kind of machine";
    ElfW(Ehdr) header;
    if (!library.read(&header, sizeof header, 0))
        return cutOff();
    if (header.e_shentsize != sizeof(ElfW(Shdr)) || header.e_shnum == 0 || header.e_shnum > mostSections)
        return noEntry;
    // The section table is the last thing in a library. The dynamic linker dies of one that was cut off.
    std::vector<ElfW(Shdr)> sections(header.e_shnum);
    if (!library.read(sections.data(), sections.size() * sizeof sections[0], header.e_shoff))
        return cutOff();
    for (ElfW(Shdr) const& section : sections) {
        if (section.sh_type != SHT_DYNSYM || section.sh_link >= sections.size())
            continue;
        ElfW(Shdr) const& table = sections[section.sh_link];
        if (table.sh_size > mostNames)
            return "has more names than a node pool";
        std::string names(table.sh_size, '\0');
        if (!library.read(names.data(), names.size(), table.sh_offset))
            return cutOff();
        if (names.find(std::string(1, '\0') + entryName + '\0') != std::string::npos)
            return "";
    }
    return noEntry;
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

// Folders in ZELVAN_PLUGIN_PATH.
std::vector<fs::path> askedFolders()
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
    return folders;
}

// Those that belong to this installation or build.
std::vector<fs::path> ownFolders()
{
    std::vector<fs::path> folders;
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
        for (fs::path const& folder : askedFolders())
            files.push_back((folder / poolFile).lexically_normal());
    std::size_t const asked = files.size();
    if (explicitFile.empty())
        for (fs::path const& folder : ownFolders())
            files.push_back((folder / poolFile).lexically_normal());
    constexpr std::size_t mostFiles = 100;
    if (asked > mostFiles)
        throw Failure(exitMachine,
                      "the node pool cannot be loaded: ZELVAN_PLUGIN_PATH has more than " + std::to_string(mostFiles)
                          + " folders");

    std::vector<PoolCandidate> candidates;
    for (fs::path const& file : files) {
        candidates.push_back({file.string(), load(file), candidates.size() < asked});
        if (candidates.back().refusal.empty())
            return candidates;
    }
    std::vector<std::string> reasons;
    for (PoolCandidate const& candidate : candidates)
        reasons.push_back(candidate.file + ": " + candidate.refusal);
    std::string const message = "the node pool cannot be loaded:";
    if (reasons.size() == 1)
        throw Failure(exitMachine, message + ' ' + reasons.front());
    throw Failure(exitMachine, message, std::move(reasons));
}

} // namespace Zelvan::play
