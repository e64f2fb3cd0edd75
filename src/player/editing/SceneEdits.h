#pragma once

#include "player/editing/AuthorFile.h"
#include "player/editing/KeyTrack.h"
#include "player/editing/NumberList.h"
#include "player/scene/Scene.h"

#include <compare>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace Zelvan::play {

inline auto operator<=>(Location const& a, Location const& b)
{
    return std::pair(a.file, a.offset) <=> std::pair(b.file, b.offset);
}
inline bool operator==(Location const& a, Location const& b)
{
    return (a <=> b) == 0;
}

/// Where an interpolator's keys and values stand; the same bytes may serve several nodes, in a PROTO or a file inlined twice.
struct ListPlaces {
    Location keys, values;
    auto operator<=>(ListPlaces const&) const = default;
};

/// What the edits of a scene are for. Places are those before the edits; all instances of a PROTO share them.
struct Intention {
    std::map<Location, std::vector<float>> lists; ///< the numbers that keys or values become
    std::map<Location, std::string> types;        ///< of nodes that become others
    std::map<Location, Location> sources;         ///< ROUTEs that come from where another one does
    std::set<Location> gone;                      ///< nodes and ROUTEs
};

/// The edits of a scene, file by file: the first file, and with `inlined` those it includes.
class SceneEdits {
public:
    /// Files of `leftAlone` (canonical paths) are not edited.
    SceneEdits(Scene const& scene, bool inlined, std::size_t mostBytes, std::set<std::string> leftAlone = {});

    /// The file with this number, read when it is first asked for. Throws Failure, also for a file that is not to be
    /// edited.
    AuthorFile& file(std::uint32_t number);
    /// The text of a field that a file sets, the last one where it is given twice; null when none does.
    std::optional<Location> placeOf(SceneNode const& node, Field const& field) const;
    /// Throws Failure when it is not what was read.
    NumberList list(Location where, Field const& field);
    /// `list` is the one there; `components` numbers to a value.
    void replace(Location where, NumberList const& list, std::vector<NumberList::Number> const& numbers, unsigned components);

    /// Why an interpolator's keys and values are not edited, whatever is to be done with them; "" when they may be.
    std::string hindrance(SceneNode const& node) const;
    /// Null when a file sets only one of them, or none.
    std::optional<ListPlaces> placesOf(SceneNode const& node) const;

    /// Interpolators whose keys and values stand at the same places as this one's: one edit is for all of them.
    std::vector<SceneNode const*> instancesOf(SceneNode const& node) const;

    /// Files with edits, the scene's own first.
    std::vector<AuthorFile const*> changed() const;
    AuthorFile const& main() { return file(0); }

    Intention intention;

private:
    /// Another node that has only one of the two lists in common with this one, or one in another field; "" when there is
    /// none.
    std::string sharing(SceneNode const& node) const;

    Scene const& _scene;
    bool _inlined;
    std::size_t _mostBytes;
    std::set<std::string> _leftAlone;
    std::map<std::uint32_t, AuthorFile> _files;
    std::multimap<Location, std::pair<Location, SceneNode const*>>
        _partners;                                ///< of each list: the other one, and whose they are
    std::map<Location, SceneNode const*> _others; ///< who has the other values
};

} // namespace Zelvan::play
