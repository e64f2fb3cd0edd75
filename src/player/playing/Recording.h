#pragma once

#include "player/playing/Turning.h"
#include "player/scene/Scene.h"
#include "player/scene/Values.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Zelvan::play {

/// Smallest and largest number seen.
struct Range {
    double low = 0, high = 0;
    bool any = false;
    void add(double value);
};

/// One recorded field: the output of an interpolator, or a field of a node without a class that events reach.
struct Track {
    SceneNode const* node;
    std::string field; ///< "value_changed", "translation"
    NodePartDataType type;
    bool leaves;          ///< an interpolator's output (else: arrives at a node without a class)
    Field* source;        ///< the field itself
    bool detailed = true; ///< ranges and outlines are kept

    std::size_t events = 0;
    std::vector<Range> ranges;    ///< per component, over all events (and all elements of a block)
    std::size_t largestBlock = 0; ///< elements of the largest value
    /// Colours: hue. Rotations and matrices: degrees, as they turn, and the axis; matrices also all scale factors.
    std::vector<Range> derived;
    Turning* turning = nullptr; ///< follows a rotation or a matrix
    /// A coarse curve: for each step of the axis the last value's components (the first element's of a block), of a
    /// rotation with the angle in degrees, as it turns.
    std::vector<float> outline;

    // Samples, when they are kept. In a list type's track, event i holds numbers[starts[i]] up to numbers[starts[i + 1]];
    // of all others every event has as many numbers as there are components, and `starts` is empty.
    std::vector<double> times;
    std::vector<std::size_t> starts;
    std::vector<double> numbers;
    std::span<double const> sample(std::size_t event) const
    {
        if (starts.empty())
            return {numbers.data() + event * ranges.size(), ranges.size()};
        return {numbers.data() + starts[event], starts[event + 1] - starts[event]};
    }
    /// "Mover.value_changed"
    std::string name() const { return node->name + '.' + field; }
};

/// Sees every event of a track, in the order they happen.
using TrackListener = std::function<void(Track const& track, double time, Field const& field)>;

/// Records what leaves interpolators and what reaches nodes without a class. Made after the scene has been read
/// and before the first event; goes before the scene does.
class Recorder : private SendObserver {
public:
    struct Options {
        bool arrivals = true;                ///< also what reaches nodes without a class
        std::vector<std::string> nodes = {}; ///< patterns of names (*, ?): these nodes only; none takes all
        enum Beside : unsigned char { nothing, fractions, all } beside = nothing; ///< what else is kept, to be asked for
        bool keepSamples = false;                                                 ///< keep all numbers, for curves and exports
        std::size_t mostKept = ~std::size_t(0); ///< numbers kept or written, times included; Failure(exitScene) beyond
        unsigned statistics = ~0u;              ///< ranges and outlines for this many tracks of each kind, the first ones
        unsigned outlineSteps = 0;              ///< steps of the coarse curves
        double axisBegin = 0, axisEnd = 1;
    };
    Recorder(Scene& scene, Options options);
    ~Recorder();
    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    std::span<Track const> tracks() const { return {_tracks.data(), _wanted}; }
    /// With those of nodes that are not wanted, but kept beside them.
    std::vector<Track> const& allTracks() const { return _tracks; }
    /// Brings the tracks' counts up to date.
    void finish();
    /// The track of an interpolator's output; null for other nodes.
    Track* trackOf(SceneNode const& node);
    std::size_t events() const { return _events; }

    TrackListener onEvent; ///< may be empty
    /// Only events of this node are recorded while set.
    SceneNode const* only = nullptr;
    /// A frame begins: what it may send is counted anew. A frame in which every route is passed more than ten
    /// times on average is a cascade that would not end in a lifetime: Failure(exitScene).
    void beginFrame() { _sentInFrame = 0; }
    /// Nothing is recorded while set.
    bool paused = false;

private:
    void sent(Field& field, TimeStamp const& timeStamp) override;
    void requireRoomFor(std::size_t numbers);
    void countMoved(Field const& field, std::size_t size);
    void add(SceneNode const& node, Field& field, bool leaves, bool statistics);
    void addBeside(Scene const& scene);

    Options _options;
    std::vector<Track> _tracks; ///< a field's tag is its track's number, from 1
    std::size_t _wanted = 0;    ///< the first ones
    /// What most events of a large scene need of their track, kept dense.
    struct Count {
        std::size_t events = 0;
        bool detailed = false;
    };
    std::vector<Count> _counts;
    std::deque<Turning> _turning; ///< of the tracks; stays where it is
    std::vector<double> _scratch;
    std::size_t _events = 0, _kept = 0, _moved = 0;
    std::size_t _sentInFrame = 0, _mostInFrame;
};

} // namespace Zelvan::play
