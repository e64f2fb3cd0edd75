#pragma once

#include "player/commands/EventWriter.h"
#include "player/commands/Options.h"

#include <memory>
#include <string>
#include <vector>

namespace Zelvan::play {

struct Curve;
struct PictureOptions;
struct OpenedScene;

/// Writes events while they are recorded, then pictures and the summary. Goes before its recorder does.
class Outputs {
public:
    Outputs(OutputOptions const& options, OpenedScene const& opened, Recorder& recorder, char const* axis);
    /// The summary is left out where something else goes to standard output. Without a clock it was a sweep.
    /// `picture` gets title and axis. Returns whether there was a summary.
    bool finish(Clock const* clock, std::vector<Curve> const& curves, PictureOptions picture);

private:
    OutputOptions const& _options;
    OpenedScene const& _opened;
    Recorder& _recorder;
    std::string _axis;
    std::vector<std::unique_ptr<EventWriter>> _writers;
};

/// Whether two paths lead to one file; "-" as an output is what standard output leads to.
bool isSameFile(std::string const& input, std::string const& output);

/// Usage failure when two outputs are one file, or one is a file that the scene was read from or the pool, under
/// whatever name. To be asked before anything is written.
void requireOwnFiles(std::vector<std::string> const& outputs, OpenedScene const& opened);

} // namespace Zelvan::play
