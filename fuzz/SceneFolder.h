#pragma once

#include "fuzz/Input.h"
#include "player/playing/PoolLoader.h"

#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <unistd.h>

namespace Zelvan::fuzz {

/// A folder with the scene of the moment and one that it may inline, which follows it after a form feed. Quiet: no
/// word of a run is shown.
class SceneFolder : std::streambuf {
public:
    SceneFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zelvan-fuzz-XXXXXX").string();
        require(::mkdtemp(name.data()) != nullptr, "a temporary folder");
        _files[0] = name + "/scene.x3d";
        _files[1] = name + "/other.x3d";
        ::dup2(::open("/dev/null", O_RDWR), STDOUT_FILENO);
        play::loadPool("");
    }
    ~SceneFolder()
    {
        std::cerr.rdbuf(_shown);
        std::filesystem::remove_all(_files[0].parent_path());
    }

    /// The scene's file.
    std::string write(std::uint8_t const* data, std::size_t size)
    {
        std::string const all = Input(data, size).bytes(size);
        std::size_t const end = std::min(all.find('\f'), size);
        for (int i = 0; i < 2; ++i) {
            int const file = ::open(_files[i].c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            std::string const text = i == 0 ? all.substr(0, end) : all.substr(std::min(end + 1, size));
            require(::write(file, text.data(), text.size()) >= 0, "the scene is written");
            require(::ftruncate(file, off_t(text.size())) == 0 && ::close(file) == 0, "and nothing else");
        }
        return _files[0];
    }

private:
    std::streamsize xsputn(char const*, std::streamsize count) override { return count; }
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }

    std::filesystem::path _files[2];
    std::streambuf* const _shown = std::cerr.rdbuf(this);
};

} // namespace Zelvan::fuzz
