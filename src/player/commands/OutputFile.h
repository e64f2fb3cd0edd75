#pragma once

#include <memory>
#include <ostream>
#include <string>

namespace Zelvan::play {

/// Where results go: a file, or standard output for "-". A file is written beside its final name and takes that
/// name only when everything has been written, so that nobody ever sees half of it; no ending signal leaves it there.
/// A file that exists keeps its permissions, and a symbolic link goes on leading to it. Throws Failure(exitMachine)
/// when it cannot be written.
class OutputFile {
public:
    explicit OutputFile(std::string path);
    /// Removes what was written when `commit` was not reached.
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    std::ostream& stream() { return *_stream; }
    /// Throws when something could not be written; cheap enough to call now and then on the way.
    void check();
    /// Everything is written: gives the file its name.
    void commit();

    /// In a process that has been forked: what its parent has begun is not its to remove.
    static void leaveToParent();
    /// Where writing to a path ends: what its symbolic links lead to, also when nothing is there yet.
    static std::string target(std::string const& path);

private:
    class Buffer;
    void openBeside();
    /// The descriptor; throws with errno when it is none.
    int opened(int fd) const;

    std::string _path;
    std::string _target;    ///< the name that the file gets
    std::string _temporary; ///< the name it has until then
    std::unique_ptr<Buffer> _buffer;
    std::unique_ptr<std::ostream> _stream;
};

} // namespace Zelvan::play
