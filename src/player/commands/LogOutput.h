#pragma once

namespace Zelvan::play {

/// Shows the library's log on standard error, a line per entry, with nothing in it that acts on a terminal. Unless
/// `all`, a text is shown twice at most, and of many texts only the first ones.
void showLog(int level, bool all);

} // namespace Zelvan::play
