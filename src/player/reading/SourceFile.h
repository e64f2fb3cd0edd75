#pragma once

#include "player/scene/Diagnostics.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

/// What a scene may cost to read. Files come from strangers.
struct ReadLimits {
    std::size_t bytes = std::size_t(128) << 20; ///< of one file, uncompressed; below 4 GiB
    unsigned depth = 500;                       ///< elements, PROTO instances and inlined files inside each other
    unsigned elements = 1'000'000;              ///< of one file, each with a beginning and an end; an eighth of its lines
    unsigned nodes = 300'000;                   ///< kept nodes: those that can be routed to
    unsigned expanded = 100'000;                ///< nodes that PROTOs and repeated Inlines stand for, or what costs as much
    unsigned files = 100;                       ///< with all that is inlined
    std::size_t values = 8'000'000;             ///< numbers of a recording that is kept for curves and tables
};

/// The text of one file: UTF-8 X3D XML, whatever form it was stored in.
/// The content decides, not the suffix: gzip is uncompressed, UTF-16 and declared encodings are converted,
/// ClassicVRML and VRML 2.0 go through the program `tovrmlx3d`. Throws Failure with the file's name, also for
/// forms that are not read (binary X3D, X3D JSON, VRML 1.0) and for text that is not valid UTF-8.
class SourceFile {
public:
    /// "-" is standard input.
    SourceFile(std::string path, ReadLimits const& limits);

    std::string const& path() const { return _path; }
    /// Shown in messages: "<stdin>" for standard input.
    std::string name() const { return _path == "-" ? "<stdin>" : _path; }
    /// The text; a parser may change it in place. One zero byte follows.
    char* data() { return _data.get(); }
    std::size_t size() const { return _size; }
    /// Offsets of the first bytes of all lines. Ask before the text is changed.
    std::vector<std::uint32_t> lineStarts() const;

private:
    struct Free {
        void operator()(char* p) const { std::free(p); }
    };
    using Buffer = std::unique_ptr<char, Free>;

    // A block that grows without a second copy of it, as realloc does for large ones.
    class Growing;
    void take(Growing& text);
    std::string_view text() const { return {_data.get(), _size}; }
    void readAll(ReadLimits const& limits);
    void uncompress(ReadLimits const& limits);
    void convertEncoding(char const* encoding, std::size_t skip, ReadLimits const& limits);
    void convertVrml(ReadLimits const& limits);
    void requireUtf8() const;
    [[noreturn]] void refuse(ExitStatus status, std::string const& why) const;

    std::string _path;
    Buffer _data;
    std::size_t _size = 0;
};

} // namespace Zelvan::play
