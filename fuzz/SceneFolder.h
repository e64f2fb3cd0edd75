#pragma once

#include "fuzz/Input.h"
#include "player/Commands.h"

#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <unistd.h>

namespace Zelvan::fuzz {

/// A folder with the scene of the moment and one that it may inline, which follows it after a form feed. Quiet and
/// sealed: no word of a run is shown, and no program is found that would convert VRML.
class SceneFolder : std::streambuf {
public:
    SceneFolder()
    {
        ::setenv("PATH", "/nowhere", 1);
        ::dup2(::open("/dev/null", O_RDWR), STDOUT_FILENO);
        std::cerr.rdbuf(this);
        play::loadPool("");
        std::string name = (std::filesystem::temp_directory_path() / "zelvan-fuzz-XXXXXX").string();
        require(::mkdtemp(name.data()) != nullptr, "a temporary folder");
        _folder = name;
        for (int i = 0; i < 2; ++i)
            _files[i] = ::open((_folder / names[i]).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }
    ~SceneFolder() { std::filesystem::remove_all(_folder); }

    /// The scene's file. `encoded`: it may turn into VRML on the way, and the machine lacks what converts that.
    std::string write(std::uint8_t const* data, std::size_t size, bool& encoded)
    {
        std::string_view const all(reinterpret_cast<char const*>(data), size);
        encoded = !all.starts_with('<') || all.find("encoding") != all.npos || all.find("#VRML") != all.npos
            || all.find("#X3D") != all.npos;
        std::size_t const end = std::min(all.find('\f'), size);
        std::string_view const texts[] = {all.substr(0, end), all.substr(std::min(end + 1, size))};
        for (int i = 0; i < 2; ++i)
            require(::pwrite(_files[i], texts[i].data(), texts[i].size(), 0) >= 0
                        && ::ftruncate(_files[i], static_cast<off_t>(texts[i].size())) == 0, "the scene is written");
        return _folder / names[0];
    }

private:
    static constexpr char const* names[] = {"scene.x3d", "other.x3d"};
    std::streamsize xsputn(char const*, std::streamsize count) override { return count; }
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }

    std::filesystem::path _folder;
    int _files[2];
};

} // namespace Zelvan::fuzz
