#pragma once

#include "base/Field.h"
#include "base/NodeType.h"

#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Zelvan {
class SFFloat;
}

namespace Zelvan::play {

struct SceneNode;

/// How a step between two keys is played, and so what "differs by at most E" means.
enum class Motion : unsigned char {
    linear,   ///< every number by itself; the largest difference of a number
    normals,  ///< vectors blended and brought to length 1; the same, of the unit vectors
    rotation, ///< the shorter arc at constant speed; the angle between the two rotations, in radians
    color     ///< straight through HSV; the largest difference of red, green or blue
};

/// Keys and values of one linear interpolator, as many as count: `width` numbers belong to each key.
struct KeyTrack {
    NodeType* type = nullptr;
    Motion motion = Motion::linear;
    unsigned width = 1;
    unsigned components = 1; ///< numbers of one value: 3 for each vector of a block
    std::vector<float> keys, values;

    std::size_t size() const { return keys.size(); }
    std::span<float const> at(std::size_t key) const { return {values.data() + key * width, width}; }
    /// A step: the value jumps at the key after this one.
    bool jumps(std::size_t key) const { return keys[key] == keys[key + 1]; }
    /// The track of some of the keys, in order.
    KeyTrack only(std::vector<std::size_t> const& kept) const;
    /// How far a number goes from key to key, the largest less the smallest: of the `width` numbers the one that goes
    /// furthest. For rotations half a turn.
    double range() const;
};

/// What an interpolator plays; those of any other than a linear type say by which type. Not of TransformationInterpolators.
KeyTrack trackOf(SceneNode const& node);
/// The field that holds an interpolator's values: keyValue, or easeInEaseOut.
Field& valuesOf(SceneNode const& node);
/// Gives a list field these numbers.
void assignNumbers(Field& field, std::span<float const> numbers);
/// Why a track is left as it is: "keys are not in order"; "" when nothing speaks against it.
std::string faultOf(KeyTrack const& track);

/// Something that has a value for every fraction.
class Playable {
public:
    virtual ~Playable() = default;
    /// The field that holds the value from now on.
    virtual Field const& play(float fraction) = 0;
};

/// Keys and values in a node of the pool.
class PlayedTrack : public Playable {
public:
    explicit PlayedTrack(KeyTrack const& track);
    ~PlayedTrack() override;
    PlayedTrack(PlayedTrack const&) = delete;
    PlayedTrack& operator=(PlayedTrack const&) = delete;

    Field const& play(float fraction) override;

private:
    struct Stage;
    std::unique_ptr<Stage> _stage;
    Node* _node;
    SFFloat* _fraction;
    Field* _output;
};

/// By the measure of `motion`; infinite when only one of them is a number, or their sizes differ.
double differenceOf(Field const& a, Field const& b);

struct PlayedDifference {
    double largest = 0;
    float fraction = 0; ///< where
};
/// Calls visit(fraction) for every key, just before each, and at `steps` - 1 places between each two.
template <class Visit>
void eachFraction(std::vector<float> const& keys, int steps, Visit visit)
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        visit(keys[i]);
        if (i + 1 == keys.size())
            break;
        for (int step = 1; step < steps; ++step)
            visit(keys[i] + (keys[i + 1] - keys[i]) * static_cast<float>(step) / static_cast<float>(steps));
        visit(std::nextafter(keys[i + 1], keys[i]));
    }
}
/// Plays both and compares them: at all keys of both, just before them, and densely in between.
PlayedDifference largestDifference(KeyTrack const& a, KeyTrack const& b);
/// The same for anything, at eachFraction().
PlayedDifference largestDifference(Playable& a, Playable& b, std::vector<float> const& keys, int steps);
/// The numbers of both, in order, each once.
std::vector<float> merged(std::vector<float> const& a, std::vector<float> const& b);

} // namespace Zelvan::play
