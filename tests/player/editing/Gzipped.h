#pragma once

#include "tests/player/Files.h"

#include <zlib.h>

namespace Zelvan::play::test {

inline std::string gzipped(std::string const& text)
{
    Folder const folder;
    gzFile const file = ::gzopen(folder.path("z").c_str(), "wb");
    ::gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    ::gzclose(file);
    return folder.read("z");
}

} // namespace Zelvan::play::test
