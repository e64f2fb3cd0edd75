#include "player/reading/LocalFiles.h"

#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Zelvan::play {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void cannotOpen(std::string const& name, int error)
{
    if (error == ENOMEM)
        throw std::bad_alloc();
    throw Failure(exitMachine, name + ": cannot open: " + std::strerror(error));
}

FileIdentity identityOf(struct stat const& status)
{
    return {status.st_dev, status.st_ino};
}

FileIdentity identityOf(Descriptor const& file)
{
    struct stat status {};
    ::fstat(file.number(), &status);
    return identityOf(status);
}

Descriptor openFolder(int base, fs::path const& path)
{
    return Descriptor(::openat(base, path.empty() ? "." : path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

fs::path targetOf(Descriptor const& folder, fs::path const& link)
{
    char target[PATH_MAX];
    ssize_t const length = ::readlinkat(folder.number(), link.c_str(), target, sizeof target);
    return length <= 0 ? fs::path() : fs::path(std::string_view(target, static_cast<std::size_t>(length)));
}

// "a/../b" is "b" for people, unless "a" is a link, and leads elsewhere.
std::string shownName(fs::path const& path, FileIdentity const& opened)
{
    fs::path const shorter = path.lexically_normal();
    struct stat status;
    bool const same = ::stat(shorter.c_str(), &status) == 0 && identityOf(status) == opened;
    return (same ? shorter : path).string();
}

// Of two letters at least: one is a drive.
bool hasScheme(std::string_view url)
{
    auto const isLetter = [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; };
    auto const end = std::ranges::find_if_not(
        url, [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; });
    return end != url.end() && *end == ':' && end - url.begin() > 1 && isLetter(url.front());
}

// "a%20b" is "a b".
std::string withoutPercents(std::string_view url)
{
    std::string text;
    for (std::size_t at = 0; at < url.size(); ++at) {
        unsigned char code = 0;
        char const* const digits = url.data() + at + 1;
        if (url[at] == '%' && at + 2 < url.size() && std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2
            && code != 0)
            at += 2;
        else
            code = static_cast<unsigned char>(url[at]);
        text += static_cast<char>(code);
    }
    return text;
}

} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(_number, other._number);
    return *this;
}

Descriptor::~Descriptor()
{
    if (_number > STDERR_FILENO)
        ::close(_number);
}

std::string Descriptor::read(std::size_t most) const
{
    std::string bytes;
    char part[1 << 16];
    while (bytes.size() < most) {
        ssize_t const got = ::read(_number, part, std::min(sizeof part, most - bytes.size()));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw Failure(exitMachine, std::string("cannot read: ") + std::strerror(errno));
        if (got == 0)
            break;
        bytes.append(part, static_cast<std::size_t>(got));
    }
    return bytes;
}

OpenedFile LocalFiles::openScene(std::string const& path, std::string const& root)
{
    bool const standard = path == "-";
    Descriptor file(standard ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file)
        cannotOpen(path, errno);
    fs::path const folder = standard ? fs::path() : fs::path(path).parent_path();
    Descriptor const own = openFolder(AT_FDCWD, folder), widest = openFolder(AT_FDCWD, root);
    if (!root.empty() && !widest)
        cannotOpen(root, errno);
    _root = identityOf(root.empty() ? own : widest);
    _outside = root.empty() ? "the scene's folder (--root allows more)" : '"' + root + '"';
    if (!root.empty() && !holds(own))
        throw Failure(exitUsage, path + ": lies outside " + _outside);
    FileIdentity const identity = identityOf(file);
    return {std::move(file), identity, standard ? "<stdin>" : path, folder};
}

OpenedFile LocalFiles::open(std::string url, fs::path const& folder) const
{
    constexpr std::size_t longest = 1000, shown = 40;
    constexpr std::ptrdiff_t deepest = 64;
    if (url.starts_with("file:"))
        url.erase(0, url.starts_with("file://") ? 7 : 5);
    else if (hasScheme(url))
        throw Elsewhere('"' + (url.size() > longest ? url.substr(0, shown) + "..." : url)
                        + "\" is not a local file, and nothing is fetched");
    if (url.size() > longest || std::ranges::count(url, '/') > deepest)
        throw Failure(exitScene, '"' + url.substr(0, shown) + "...\" is longer than a file's name");
    fs::path path = folder / url;
    struct stat status;
    if (std::string const decoded = withoutPercents(url); decoded != url && ::lstat(path.c_str(), &status) != 0)
        path = folder / decoded;
    Descriptor file = openFile(url, path, path.lexically_normal().string());
    FileIdentity const identity = identityOf(file);
    std::string name = shownName(path, identity);
    fs::path parent = fs::path(name).parent_path();
    return {std::move(file), identity, std::move(name), std::move(parent)};
}

// Up the tree by what is there, not by what it is called.
bool LocalFiles::holds(Descriptor const& folder) const
{
    FileIdentity identity = identityOf(folder);
    Descriptor at = openFolder(folder.number(), ".");
    while (identity != _root) {
        Descriptor above = openFolder(at.number(), "..");
        FileIdentity const next = above ? identityOf(above) : identity;
        if (next == identity)
            return false;
        identity = next;
        at = std::move(above);
    }
    return true;
}

Descriptor LocalFiles::openFile(std::string const& url, fs::path path, std::string const& name) const
{
    constexpr int mostLinks = 40;
    Descriptor base;
    for (int links = 0; links <= mostLinks; ++links) {
        fs::path const last = path.filename();
        bool const isFolder = last.empty() || last == "." || last == "..";
        int const from = base ? base.number() : AT_FDCWD;
        fs::path above = isFolder ? path : path.parent_path();
        Descriptor folder = openFolder(from, above);
        int const error = folder ? 0 : errno;
        // Nothing is said about what lies outside, not even whether it is there.
        while (!folder && !above.empty() && above != above.parent_path())
            folder = openFolder(from, above = above.parent_path());
        if (!folder || !holds(folder))
            throw Elsewhere('"' + url + "\" lies outside " + _outside);
        if (error != 0)
            cannotOpen(name, error);
        struct stat status {};
        if (!isFolder && ::fstatat(folder.number(), last.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            cannotOpen(name, errno);
        if (!isFolder && S_ISLNK(status.st_mode)) {
            path = targetOf(folder, last);
            base = std::move(folder);
            continue;
        }
        // Reading from a pipe would wait for a writer.
        Descriptor file;
        if (!isFolder && S_ISREG(status.st_mode)) {
            file =
                Descriptor(::openat(folder.number(), last.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
            if (!file)
                cannotOpen(name, errno);
        }
        if (!file || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
            throw Failure(exitScene, '"' + url + "\" is not a file");
        return file;
    }
    cannotOpen(name, ELOOP);
}

} // namespace Zelvan::play
