#pragma once

#include "player/reading/LocalFiles.h"
#include "player/reading/ReadLimits.h"
#include "player/reading/TextBuffer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Zelvan::play {

/// The text of one file: UTF-8, whatever form it was stored in. The content decides, not the suffix: gzip is
/// uncompressed, UTF-16 and declared encodings are converted, ClassicVRML and VRML 2.0 go through the program
/// `tovrmlx3d`. Throws Failure with the file's name, also for forms that are not read (binary X3D, X3D JSON, VRML 1.0)
/// and for text that is not valid UTF-8.
class SourceFile {
public:
    /// Reads on from where the descriptor is, to the end.
    SourceFile(OpenedFile const& file, ReadLimits const& limits);

    /// The text; a parser may change it in place. One zero byte follows.
    char* data() { return _text.data(); }
    std::size_t size() const { return _text.size(); }
    std::string_view text() const { return _text.text(); }
    /// Offsets of the first bytes of all lines. Ask before the text is changed.
    std::vector<std::uint32_t> lineStarts() const;

private:
    void read(Descriptor const& file);
    void decode();
    /// The text without byte order mark and blanks in front.
    std::string_view body() const;

    TextBuffer _text;
};

} // namespace Zelvan::play
