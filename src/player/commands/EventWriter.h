#pragma once

#include "player/commands/OutputFile.h"
#include "player/playing/Recording.h"

#include <string>
#include <vector>

namespace Zelvan::play {

/// Writes each event as it happens, as lines of text: "time,node,field,value" or JSON Lines.
/// Goes before the recorder it listens to.
class EventWriter {
public:
    enum Format { csv, jsonLines };
    /// `axis` names the first column: "time", or "fraction" for a sweep.
    EventWriter(std::string const& path, Format format, char const* axis);
    void write(Track const& track, double time, Field const& field);
    void commit() { _file.commit(); }

private:
    void writeJson(Track const& track, double time, Field const& field);

    /// Times are doubles, fractions floats.
    std::string axisText(double place) const;

    OutputFile _file;
    Format _format;
    std::string _axis;
    std::vector<double> _numbers;
};

/// A CSV cell, quoted where it must be.
std::string csvCell(std::string const& text);

} // namespace Zelvan::play
