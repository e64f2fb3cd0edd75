#pragma once

#include "player/reading/SceneFiles.h"
#include "player/reading/Staging.h"

#include <map>

namespace Zelvan::play {

struct InterfaceField;
struct Target;

/// Where a node goes in what is drawn.
struct StagePlace {
    std::uint32_t parent = Staging::nowhere;
    std::string_view field{};        ///< "" leaves it to the node's element
    InterfaceField* given = nullptr; ///< the field of a PROTO instance that gets it: the place is where that IS
    Instance* instance = nullptr;    ///< that it stands for
};

/// Puts what is read where it is drawn. Without a staging it does nothing.
class Stager {
public:
    Stager(Staging* staging, SceneFiles& files) : _staging(staging), _files(files) {}

    /// A node with its own attributes and those that its IS connects; returns the place of its children.
    StagePlace add(Element const& element, SceneNode const* node, StagePlace const& place, Scope const& scope);
    /// What stands for an Inline: a Group.
    StagePlace addInline(Element const& element, StagePlace const& place);
    void use(Element const& element, Target const& target, StagePlace const& place);
    void stands(SceneNode const* node, StagePlace const& children);
    void leave(std::string sentence);

private:
    std::string_view fieldOf(Element const& element, StagePlace const& place) const;
    void settle(std::uint32_t index, StagePlace const& place);
    void set(std::uint32_t index, std::string_view name, Attribute const& value, bool isString, SceneFile const& file);
    void setPicture(std::uint32_t index, std::string_view name, std::string_view urls, SceneFile const& file);
    void connect(std::uint32_t index, Element const& element, Scope const& scope);

    Staging* _staging;
    SceneFiles& _files;
    std::map<std::pair<SceneFile const*, std::string>, std::uint32_t> _pictures; ///< by where the url stands, and the url
    std::size_t _room = Staging::mostPictureBytes;
};

} // namespace Zelvan::play
