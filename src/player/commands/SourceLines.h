#pragma once

#include "player/scene/Diagnostics.h"

#include <memory>
#include <string>
#include <zlib.h>

namespace Zelvan::play {

/// The lines of files that places are in, to be shown beside messages. Quick where places come in the order of a file.
class SourceLines {
public:
    /// Without its end. Empty where there is none to show: no such line any more, standard input, a text that is not
    /// UTF-8. Compressed files are uncompressed.
    std::string const& line(Place const& place);

private:
    bool open(std::string const& name);
    bool next();

    std::unique_ptr<gzFile_s, int (*)(gzFile)> _file{nullptr, ::gzclose};
    std::string _name, _line;
    unsigned _number = 0; ///< of _line
};

} // namespace Zelvan::play
