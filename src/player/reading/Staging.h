#pragma once

#include "player/scene/Scene.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Zelvan::play {

struct Instance;

/// The scene as another program can draw it: its nodes with their fields as text, PROTO instances and Inlines expanded,
/// pictures taken along. What is run here (interpolators, TimeSensors) and what would move or sound of itself is not in it.
class Staging {
public:
    static constexpr std::uint32_t nowhere = UINT32_MAX; ///< is not part of what is drawn
    static constexpr std::uint32_t root = UINT32_MAX - 1;
    static constexpr std::size_t mostBytes = std::size_t(64) << 20;        ///< of names and values
    static constexpr std::size_t mostPictureBytes = std::size_t(16) << 20; ///< of all pictures together, as files

    struct Attribute {
        std::string name, value;
        std::uint32_t picture = nowhere; ///< in `pictures`, in place of the value
    };
    struct Drawn {
        std::string type; ///< "" for one more use of another
        std::uint32_t parent = nowhere;
        std::string field;           ///< of the parent; "" is the usual one
        std::uint32_t use = nowhere; ///< which one is used
        std::vector<Attribute> attributes = {};
    };
    std::vector<Drawn> nodes;          ///< children in the order of their parent
    std::vector<std::string> pictures; ///< data: URLs
    std::vector<std::string> left;     ///< sentences about what was not taken along, the first of them
    std::size_t leftBesides = 0;       ///< so many more

    std::uint32_t add(std::string_view type, std::uint32_t parent, std::string_view field);
    std::uint32_t addUse(std::uint32_t used, std::uint32_t parent, std::string_view field);
    void set(std::uint32_t node, std::string_view name, std::string_view value);
    void setPicture(std::uint32_t node, std::string_view name, std::uint32_t picture);
    /// Puts a node that is nowhere into a field; one that has a place is used there again.
    void place(std::uint32_t node, std::uint32_t parent, std::string_view field);
    void leave(std::string sentence);

    // What a node of the scene, or a PROTO instance, has become; `nowhere` when nothing.
    void stands(void const* what, std::uint32_t node) { _nodes[what] = node; }
    std::uint32_t of(void const* what) const;

    /// Whether a node of that type is left out, because it would move or sound or fetch of itself, or is for programs.
    static bool isLeftOut(std::string_view type);
    /// Whether such a field holds the url of a picture.
    static bool isPicture(std::string_view type, std::string_view field);

private:
    void spend(std::size_t bytes);
    std::unordered_map<void const*, std::uint32_t> _nodes;
    std::unordered_set<std::size_t> _said; ///< hashes of sentences
    std::size_t _bytes = 0;
};

} // namespace Zelvan::play
