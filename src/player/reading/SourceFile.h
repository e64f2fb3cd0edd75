#pragma once

#include "player/reading/LocalFiles.h"
#include "player/reading/ReadLimits.h"
#include "player/reading/TextBuffer.h"
#include "player/scene/Scene.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Zelvan::play {

/// The text of one file: UTF-8, whatever form it was stored in. The content decides, not the suffix: gzip is
/// uncompressed, UTF-16 and encodings that XML declares are converted, VRML that is no UTF-8 is taken for Latin-1.
/// Throws Failure with the file's name, also for forms that are not read (binary X3D, X3D JSON, VRML 1.0) and for XML
/// that is not valid UTF-8.
class SourceFile {
public:
    /// Reads on from where the descriptor is, to the end; or what the file is to hold, which may be null.
    SourceFile(OpenedFile const& file, ReadLimits const& limits, std::string const* bytes = nullptr);

    /// The text; a parser may change it in place. One zero byte follows.
    char* data() { return _text.data(); }
    std::size_t size() const { return _text.size(); }
    std::string_view text() const { return _text.text(); }
    /// Gives the text away; none is left.
    std::shared_ptr<char const> release() { return _text.release(); }
    enum class Syntax { xml, classic };
    Syntax syntax() const { return _syntax; }
    /// Of the first character that was not UTF-8 in a file that has been taken for Latin-1.
    std::optional<std::uint32_t> firstLatin1() const { return _firstLatin1; }
    std::size_t lines() const;
    /// Of lines that end in LF, CR or both; a byte order mark is no character. Ask before the text is changed.
    Scene::Layout layout() const;

private:
    void read(Descriptor const& file);
    void take(std::string_view bytes);
    void decode();
    void decodeClassic();
    /// The text without byte order mark and blanks in front.
    std::string_view body() const;
    std::vector<std::uint32_t> lineStarts() const;

    TextBuffer _text;
    Syntax _syntax = Syntax::xml;
    std::optional<std::uint32_t> _firstLatin1;
};

} // namespace Zelvan::play
