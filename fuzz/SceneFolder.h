#pragma once

#include "fuzz/Input.h"
#include "player/Commands.h"

#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <streambuf>
#include <string_view>
#include <unistd.h>

namespace Zelvan::fuzz {

/// Takes any text and forgets it.
class Nowhere : public std::streambuf {
    std::streamsize xsputn(char const*, std::streamsize count) override { return count; }
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
};

/// A folder with the scene of the moment and one that it may inline, which follows it after a form feed.
class SceneFolder {
public:
    /// Quiet and sealed: no word of a run is shown, and no program is started to convert VRML.
    SceneFolder()
    {
        ::setenv("PATH", "/nowhere", 1);
        ::dup2(::open("/dev/null", O_RDWR), STDOUT_FILENO);
        static Nowhere nowhere;
        std::cerr.rdbuf(&nowhere);
        play::loadPool("");
        std::string name = (std::filesystem::temp_directory_path() / "zelvan-fuzz-XXXXXX").string();
        require(::mkdtemp(name.data()) != nullptr, "a temporary folder");
        _folder = name;
        for (int i = 0; i < 2; ++i)
            _files[i] = ::open(path(i).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }
    ~SceneFolder() { std::filesystem::remove_all(_folder); }

    /// The scene's file; "" for an input that asks for another program.
    std::string write(std::uint8_t const* data, std::size_t size)
    {
        std::string_view const all(reinterpret_cast<char const*>(data), size);
        if (all.find("#VRML V") != all.npos || all.find("#X3D V") != all.npos)
            return "";
        auto const end = std::min(all.find('\f'), size);
        for (int i = 0; i < 2; ++i) {
            std::string_view const text = i == 0 ? all.substr(0, end) : all.substr(std::min(end + 1, size));
            require(::pwrite(_files[i], text.data(), text.size(), 0) == static_cast<ssize_t>(text.size())
                        && ::ftruncate(_files[i], static_cast<off_t>(text.size())) == 0,
                    "the scene is written");
        }
        return path(0);
    }

private:
    std::string path(int i) const { return _folder / (i == 0 ? "scene.x3d" : "other.x3d"); }

    std::filesystem::path _folder;
    int _files[2];
};

/// Whether the data may turn into VRML on the way: then a converter is missing, and that is the machine's fault.
inline bool isEncoded(std::uint8_t const* data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    return text.starts_with('\x1f') || text.starts_with('\xfe') || text.starts_with('\xff') || text.find("encoding") < size;
}

} // namespace Zelvan::fuzz
