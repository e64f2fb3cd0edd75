#pragma once

#include "player/editing/KeyTrack.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Zelvan::play {

/// How much a value may be off, as the command line says it: "0.01" in the value's units (rotations: radians), "0.1%" of
/// the track's range, "1deg" for rotations; "NODE=" before it means one node only. The last one that fits a track counts,
/// those for a node before the others.
class Tolerance {
public:
    /// Throws Failure(exitUsage) for what is none: "0.1%,1deg", "Ball=0.01". Where all of them mean one node, `usual` holds
    /// for the others.
    explicit Tolerance(std::vector<std::string> texts, std::vector<std::string> const& usual = {});

    /// Nothing when none fits: degrees do not measure positions.
    std::optional<double> of(KeyTrack const& track, std::string const& node) const;
    /// The strictest of several nodes that have the track in common; nothing when none fits one of them.
    std::optional<double> of(KeyTrack const& track, std::vector<SceneNode const*> const& nodes) const;
    /// Nodes that are named.
    std::vector<std::string> nodes() const;

private:
    enum class Unit : unsigned char { value, percent, degrees };
    struct Amount {
        std::string node;
        double number;
        Unit unit;
    };
    std::vector<Amount> _amounts;
};

} // namespace Zelvan::play
