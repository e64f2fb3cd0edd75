#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

/// A file of a scene as its author wrote it, to be changed at ranges of its bytes. All else stays as it is: byte order
/// mark, line ends, quotes, comments, order. Offsets are those of the uncompressed text, as the reader counts them.
class AuthorFile {
public:
    /// Throws Failure when it cannot be read, and for encodings whose bytes are not those of the text: UTF-16 and the like.
    AuthorFile(std::string path, std::size_t mostBytes);

    std::string const& path() const { return _path; }
    std::string_view text() const { return _text; }
    bool classic() const { return _classic; } ///< ClassicVRML or VRML97, not XML

    /// The bytes from `begin` to `end` become `with`. The ranges of a file do not overlap; what changes nothing is dropped.
    void replace(std::size_t begin, std::size_t end, std::string with);
    struct Edit {
        std::size_t begin, end;
        std::string with;
    };
    std::vector<Edit> const& edits() const { return _edits; } ///< in the order of the text
    bool changed() const { return !_edits.empty(); }
    void forgetEdits() { _edits.clear(); }

    std::string editedText() const;
    /// What to store: compressed where the file was. The very bytes of the file when nothing has changed.
    std::string editedBytes() const;
    /// A unified diff of the texts; nothing when nothing has changed.
    void writeDiff(std::ostream& out) const;
    /// Throws Failure(exitMachine) when the file does not hold any more what was read.
    void requireUnchangedOnDisk() const;

private:
    [[noreturn]] void refuse(std::string const& why) const;
    /// Of the text from `begin` to `end`, where no edit lies across.
    std::string edited(std::size_t begin, std::size_t end) const;

    std::string _path, _bytes, _text;
    bool _compressed = false, _classic = false;
    std::vector<Edit> _edits;
};

} // namespace Zelvan::play
