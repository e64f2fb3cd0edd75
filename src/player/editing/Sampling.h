#pragma once

#include "player/editing/KeyTrack.h"

namespace Zelvan::play {

/// Interpolators one behind the other: fractions go into the first, the value comes out of the last.
class PlayedChain : public Playable {
public:
    explicit PlayedChain(std::vector<KeyTrack> tracks);
    Field const& play(float fraction) override;
    KeyTrack const& last() const { return _tracks.back(); }

    /// Fractions between which the value is smooth: the keys of the first, and where a later one passes its keys.
    std::vector<float> const& breaks() const { return _breaks; }
    /// The chain as a track of the linear type `type`: at all breaks, on both sides where it jumps, and evenly in between
    /// so densely that the track misses it by no more than `tolerance`.
    KeyTrack sampled(NodeType& type, double tolerance);
    /// The same at these fractions and where it jumps; `jump` is what counts as one.
    KeyTrack sampled(NodeType& type, std::vector<float> const& fractions, double jump);

private:
    Field const& playStages(float fraction, std::size_t count);
    unsigned cubicSteps(float from, float to, double tolerance);
    void add(KeyTrack& track, float key, float at);

    std::vector<KeyTrack> _tracks;
    std::vector<std::unique_ptr<PlayedTrack>> _stages;
    std::vector<float> _breaks;
};

} // namespace Zelvan::play
