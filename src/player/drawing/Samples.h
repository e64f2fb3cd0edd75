#pragma once

#include "player/playing/Recording.h"

#include <limits>
#include <vector>

namespace Zelvan::play {

/// What the numbers of a data type mean to the eye.
enum class Kind : unsigned char { numbers, colour, rotation, matrix };
Kind kindOf(NodePartDataType type);
bool isPosition(NodePartDataType type);

/// Stands for a number that cannot be drawn.
inline constexpr double gap = std::numeric_limits<double>::quiet_NaN();

/// The samples of a track that have a place on the axis, in its order.
class Samples {
public:
    explicit Samples(Track const& track);

    NodePartDataType type() const { return _track.type; }
    Kind kind() const { return kindOf(_track.type); }
    /// Numbers per element; 0 for text.
    unsigned width() const { return _width; }
    /// Whether a sample has any number of elements.
    bool block() const { return _block; }
    std::size_t largestBlock() const { return _track.largestBlock; }

    std::size_t size() const { return _times.size(); }
    std::vector<double> const& times() const { return _times; }
    std::size_t elements(std::size_t sample) const { return _track.sample(_events[sample]).size() / _width; }
    double const* element(std::size_t sample, std::size_t i) const
    {
        return _track.sample(_events[sample]).data() + i * _width;
    }

private:
    Track const& _track;
    unsigned _width;
    bool _block;
    std::vector<std::size_t> _events; ///< of the track, by time
    std::vector<double> _times;
};

/// Whether a sensor loops between two times; `seams` rise.
bool seamWithin(std::vector<double> const& seams, double from, double to);

} // namespace Zelvan::play
