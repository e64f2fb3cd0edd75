#pragma once

#include "player/scene/Diagnostics.h"

#include <compare>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace Zelvan::play {

/// A file descriptor; closed with its owner, but for the standard ones.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : _number(number) {}
    Descriptor(Descriptor&& other) noexcept : _number(other._number) { other._number = -1; }
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int number() const { return _number; }
    explicit operator bool() const { return _number >= 0; }
    /// The bytes up to the end, but no more than that. Throws Failure.
    std::string read(std::size_t most) const;

private:
    int _number;
};

/// Which file it is, whatever name has led to it.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    auto operator<=>(FileIdentity const&) const = default;
};

struct OpenedFile {
    Descriptor descriptor;
    FileIdentity identity;
    std::string name;             ///< as the author would name it: relative to where the program was started
    std::filesystem::path folder; ///< that its own urls begin in
};

/// What a url names cannot be looked at, but may well be there: it would have to be fetched, or lies outside.
class Elsewhere : public Failure {
public:
    explicit Elsewhere(std::string const& message) : Failure(exitScene, message) {}
};

/// Which file a url means, and whether it may be read: the scene that the command line names, and files in its folder
/// (or one that is named) and below. What is looked at is what has been opened, so that nothing can be put in its place in between.
class LocalFiles {
public:
    /// "-" is standard input. Nothing will be read outside of the folder `root`; when it is empty, that of the scene.
    /// Throws Failure.
    OpenedFile openScene(std::string const& path, std::string const& root);
    /// A url of a file in `folder`, without its fragment. Links are followed as long as they stay inside. Throws Failure
    /// with the reason, in which the url is named: not local, outside (both Elsewhere), not a file, cannot be opened.
    OpenedFile open(std::string url, std::filesystem::path const& folder) const;

private:
    bool holds(Descriptor const& folder) const;
    Descriptor openFile(std::string const& url, std::filesystem::path path, std::string const& name) const;

    FileIdentity _root;
    std::string _outside; ///< what is said of what lies there
};

} // namespace Zelvan::play
