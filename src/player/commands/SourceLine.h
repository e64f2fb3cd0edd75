#pragma once

#include "player/scene/Diagnostics.h"

#include <string>

namespace Zelvan::play {

/// The line of a file that a place is in, without its end, to be shown beside a message. Empty where there is none to
/// show: no such line any more, standard input, a text that is not UTF-8. Compressed files are uncompressed.
std::string sourceLine(Place const& place);

} // namespace Zelvan::play
