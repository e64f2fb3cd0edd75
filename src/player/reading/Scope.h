#pragma once

#include "player/reading/SceneFiles.h"
#include "player/scene/DidYouMean.h"

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Zelvan::play {

struct Instance;

/// What a DEF name stands for: a node, or a PROTO instance.
struct Target {
    SceneNode* node = nullptr;
    Instance* instance = nullptr;
    explicit operator bool() const { return node != nullptr || instance != nullptr; }
};

/// A field of a PROTO instance.
struct InterfaceField {
    std::string_view type;
    Attribute const* value = nullptr;                        ///< null when neither the instance nor the declaration has one
    SceneFile* file = nullptr;                               ///< that the value stands in
    std::vector<std::pair<Target, std::string>> connections; ///< the fields it IS, in the body
    std::vector<Target> nodes;                               ///< given to it, as far as they are run
    std::vector<std::uint32_t> staged{};                     ///< given to it, as far as they are drawn
};

struct Instance {
    std::string name;
    std::string protoName;
    Location where;
    bool named = false;              ///< has a DEF name
    SceneNode* holder = nullptr;     ///< a node that is not run and has it in a field: it may drive what the fields stand for
    SceneNode* store = nullptr;      ///< has the fields that IS nothing, once a route has touched one
    Instance const* first = nullptr; ///< of whose body it is the first node, which is what is drawn
    std::unordered_map<std::string, InterfaceField> fields;
};

struct Proto {
    Element const* declaration;         ///< null for an EXTERNPROTO whose file was not found
    Scope* scope;                       ///< what stands around the declaration
    bool isExternal = false;            ///< an EXTERNPROTO whose file has not been looked for
    Element const* interface = nullptr; ///< of an EXTERNPROTO whose file was not found: what it says of its fields
};

/// The names of a file, or of the body of one PROTO instance.
struct Scope {
    SceneFile* file = nullptr;    ///< that its elements stand in
    Instance* instance = nullptr; ///< whose body it is
    Scope* outer = nullptr;       ///< where PROTO names are looked for next
    std::string prefix;           ///< before its names, as messages have them: "Door/"
    std::unordered_map<std::string, Target> names;
    std::unordered_map<std::string, Proto> protos;
    std::unordered_map<std::string, std::string> exports; ///< local names by the names they go out under
    std::unordered_map<std::string, Scope*> inlines;
    std::vector<Element const*> routes, imports;
    /// What has a name that something else has too, by where it stands.
    using Defined = std::pair<std::uint32_t, Target>;
    std::unordered_map<std::string, std::vector<Defined>> duplicates;
    /// What a ROUTE at that offset means by the name: the nearest before it, else the first; null if there is none.
    Target const* named(std::string const& name, std::uint32_t offset) const;
};

/// What all parts of reading write into.
struct Reading {
    Scene& scene;
    Budget& budget;
    Diagnostics& diagnostics;
    std::deque<Scope> scopes{};
    std::deque<Instance> instances{};
    std::size_t candidates = 0; ///< that names which do not exist were compared with

    void warn(Location where, char const* kind, std::string const& message) const
    {
        diagnostics.warning(scene.place(where), kind, message);
    }
    /// An attribute that holds a name; empty when there is none. Throws Failure when it is too long.
    std::string nameIn(Element const& element, std::string_view attribute, Scope const& scope) const;
    /// The name among the keys of a map that was probably meant, as the end of a message; or nothing.
    template <class Map>
    std::string meant(std::string_view name, Map const& names)
    {
        // Any number of names may be wrong, and of others exist.
        constexpr std::size_t most = 1'000'000;
        DidYouMean nearest(name);
        if ((candidates += names.size()) <= most)
            for (auto const& [candidate, what] : names)
                nearest.offer(candidate);
        return nearest.text();
    }
    /// One long name can end up in any number of others, and in any number of messages.
    void requireShort(std::string_view name, std::string_view what, Location where) const;
};

inline Location locate(Element const& element, Scope const& scope)
{
    return {scope.file->number, element.offset};
}
inline Location locate(Attribute const& attribute, SceneFile const& file)
{
    return {file.number, attribute.offset};
}
/// A name as messages have it, with those of the PROTO instances and inlined files around it.
std::string qualified(Scope const& scope, std::string const& name);

} // namespace Zelvan::play
