#pragma once

namespace Zelvan::play {

class Scene;

/// Shows the library's log on standard error, a line per entry, with nothing in it that acts on a terminal. Unless
/// `all`, a text is shown twice at most, and of many texts only the first ones.
void showLog(int level, bool all);
/// For another scene: what was shown before does not count.
void forgetShown(int level);
/// From now on the log's few texts call nodes as this scene's author does, not by the classes behind them. Null when the
/// scene goes.
void nameNodesOf(Scene const* scene);

} // namespace Zelvan::play
