#pragma once

#include "player/checking/Check.h"
#include "player/scene/Values.h"

#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

// What the rules of `check` share. A rule looks at one thing and adds findings; it reports by code, and the list of
// codes has the severity.
namespace Zelvan::play {

class FindingCollector {
public:
    FindingCollector(Scene const& scene, CheckOptions const& options) : _scene(scene), _options(options) {}

    /// A finding at the attribute that sets `field`, or at the node for null. `text()` follows the node's name
    /// without a space: ".key[2] is 0.3". It is only called when the finding is kept. Null stands for the code's
    /// usual severity. What is not `mendable` is left to its author, whatever its code says of fixes.
    template <class Text>
    void add(char const* code, SceneNode const& node, Field const* field, Text text, std::string_view advice,
             std::optional<Severity> severity = {}, bool mendable = true)
    {
        auto const level = wanted(code, severity ? *severity : codeNamed(code).severity);
        if (Slot* const slot = level ? open(code, node) : nullptr)
            keep(*slot, code, node, field, text(), advice, *level, mendable);
    }
    /// A finding at a route.
    void add(char const* code, SceneRoute const& route, std::string message, std::string_view advice, Severity usual);
    void add(Finding finding);
    /// Sorted; the collector is empty afterwards.
    std::vector<Finding> take();

private:
    /// Findings of one code at one node. Instances of a PROTO share their place in the file, and so their slot.
    struct Slot {
        unsigned kept = 0;
        std::size_t last = 0; ///< finding
    };
    /// Null when the finding is only counted.
    Slot* open(char const* code, SceneNode const& node);
    void keep(Slot& slot, char const* code, SceneNode const& node, Field const* field, std::string const& text,
              std::string_view advice, Severity severity, bool mendable);
    /// What the options make of the severity; nothing when the finding is not to be shown.
    std::optional<Severity> wanted(std::string const& code, Severity usual) const;

    Scene const& _scene;
    CheckOptions const& _options;
    std::vector<Finding> _findings;
    std::map<std::tuple<std::string_view, std::uint32_t, std::uint32_t>, Slot> _slots;
    std::unordered_map<std::size_t, std::size_t> _byText; ///< findings by a hash of code, place and text
};

/// Components of one value, or of all values of a key.
using Numbers = std::span<double const>;
/// Of three numbers; what follows them does not count.
double dot(Numbers a, Numbers b);
double length(Numbers v);

/// An interpolator's keys and values, as far as they count.
struct KeyedValues {
    explicit KeyedValues(SceneNode const& sceneNode);

    SceneNode const& node;
    Field const* keyField;
    Field const* valueField; ///< keyValue, or easeInEaseOut
    std::vector<float> const& keys;
    std::size_t size;   ///< values there are
    bool blocks;        ///< a key owns several values
    std::size_t count;  ///< keys that count: as many as there are values for
    std::size_t perKey; ///< values per key
    unsigned width;     ///< numbers per value
    std::vector<double> numbers;
    bool finite = true;  ///< all that counts is
    bool ordered = true; ///< so are the keys, none below the one before it

    std::string const& type() const { return node.node->type()._name; }
    bool eases() const { return type() == "EaseInEaseOut"; }
    Numbers value(std::size_t i) const { return {numbers.data() + i * width, width}; }
    /// All numbers of a key.
    Numbers at(std::size_t key) const { return {numbers.data() + key * perKey * width, perKey * width}; }
    /// Whether a fraction can fall between a key and the next one: not where the values jump.
    bool blends(std::size_t key) const { return keys[key] < keys[key + 1]; }
    /// How far it is from the value of one key to that of another, where both are rotations, in degrees.
    double turn(std::size_t from, std::size_t to) const;
    /// Whether two keys have the same value; of rotations, whether they turn to the same.
    bool same(std::size_t a, std::size_t b) const;
    /// ".keyValue[3]"
    std::string valueName(std::size_t i) const;
};

/// ".keyValue[3] to [4]"
std::string step(KeyedValues const& values, std::size_t i);

/// What an interpolator's set_fraction comes from.
struct Drive {
    bool any = false;                   ///< something is routed there
    bool foreign = false;               ///< something else than TimeSensors, also by way of an EaseInEaseOut
    bool eased = false;                 ///< by way of an EaseInEaseOut
    SceneNode const* looping = nullptr; ///< a TimeSensor that loops
    bool mayEnd = false;                ///< a ROUTE may end that loop

    /// By TimeSensors alone: the fraction runs from 0 to 1.
    bool clocked() const { return any && !foreign; }
};
/// How far keys may be beyond 0 and 1 and still be meant to be 0 and 1.
constexpr double slightly = 0.01;
Drive driveOf(Scene const& scene, SceneNode const& node);

/// Nodes that a ROUTE names which could not be connected: that was reported.
using FailedEnds = std::unordered_set<SceneNode const*>;

/// Keys, values, a driver or a use that are not there. Whether there are keys and values to look at.
bool checkMissing(KeyedValues const& values, Drive const& drive, FailedEnds const& failed,
                  std::unordered_set<std::string> const& refusedFields, FindingCollector& findings);
void checkKeys(KeyedValues const& values, Drive const& drive, FindingCollector& findings);
void checkValues(KeyedValues const& values, FindingCollector& findings);
void checkMatrices(KeyedValues const& values, FindingCollector& findings);
void checkRotations(KeyedValues const& values, FindingCollector& findings);
void checkColors(KeyedValues const& values, FindingCollector& findings);
void checkNormals(KeyedValues const& values, FindingCollector& findings);
void checkLoop(KeyedValues const& values, Drive const& drive, FindingCollector& findings);
void checkNotRun(Scene const& scene, FindingCollector& findings);
void checkRouteLoops(Scene const& scene, FindingCollector& findings);
/// Opens the scene: comes last.
void checkSensors(Scene& scene, FindingCollector& findings);

/// What leaves it to its user what is connected: the body of a PROTO, an inlined file, what EXPORT offers.
bool isOffered(SceneNode const& node);
/// "1 key", "3 keys"
std::string countOf(std::size_t count, char const* what);
/// "(1 0 0)"; a long list is shortened.
std::string listed(Numbers numbers);
/// The size of an angle in degrees, without its sign.
std::string degrees(double radians);

} // namespace Zelvan::play
