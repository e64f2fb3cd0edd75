#include "player/reading/Staging.h"

#include <algorithm>
#include <array>

namespace Zelvan::play {

std::uint32_t Staging::add(std::string_view type, std::uint32_t parent, std::string_view field)
{
    spend(type.size() + field.size() + 100);
    nodes.push_back({std::string(type), parent, std::string(field)});
    return static_cast<std::uint32_t>(nodes.size() - 1);
}

std::uint32_t Staging::addUse(std::uint32_t used, std::uint32_t parent, std::string_view field)
{
    std::uint32_t const node = add("", parent, field);
    nodes[node].use = used;
    return node;
}

void Staging::set(std::uint32_t node, std::string_view name, std::string_view value)
{
    spend(name.size() + value.size());
    auto& attributes = nodes[node].attributes;
    auto const same = std::ranges::find(attributes, name, &Attribute::name);
    if (same != attributes.end())
        *same = {std::string(name), std::string(value)};
    else
        attributes.push_back({std::string(name), std::string(value)});
}

void Staging::setPicture(std::uint32_t node, std::string_view name, std::uint32_t picture)
{
    set(node, name, "");
    std::ranges::find(nodes[node].attributes, name, &Attribute::name)->picture = picture;
}

void Staging::place(std::uint32_t node, std::uint32_t parent, std::string_view field)
{
    if (nodes[node].parent != nowhere) {
        addUse(nodes[node].use == nowhere ? node : nodes[node].use, parent, field);
    } else {
        nodes[node].parent = parent;
        nodes[node].field = field;
    }
}

void Staging::leave(std::string sentence)
{
    constexpr std::size_t most = 20;
    if (!_said.insert(std::hash<std::string>()(sentence)).second)
        return;
    if (left.size() < most)
        left.push_back(std::move(sentence));
    else
        ++leftBesides;
}

std::uint32_t Staging::of(void const* what) const
{
    auto const found = _nodes.find(what);
    return found == _nodes.end() ? nowhere : found->second;
}

void Staging::spend(std::size_t bytes)
{
    if ((_bytes += bytes) > mostBytes)
        throw Failure(exitScene,
                      "error: --scene: the scene with all that is inlined and all PROTO instances is larger than "
                          + std::to_string(mostBytes >> 20) + " MB");
}

bool Staging::isLeftOut(std::string_view type)
{
    static constexpr std::array types = std::to_array<std::string_view>(
        {"Script", "Sound", "AudioClip", "MovieTexture", "Param",
         // Lights and geometry that come from elsewhere.
         "PhysicalEnvironmentLight", "BinaryGeometry", "BufferGeometry", "BufferView", "BufferAccessor", "PopGeometry",
         "ComposedShader", "ProgramShader", "PackagedShader", "ShaderPart", "ShaderProgram"});
    return std::ranges::find(types, type) != types.end() || type.ends_with("Sensor") || type.ends_with("Chaser")
        || type.ends_with("Damper") || type.ends_with("Damper2D") || type.ends_with("Chaser2D") || type.ends_with("Sequencer")
        || type.ends_with("Trigger") || type.ends_with("Interpolator") || type.starts_with("Boolean")
        || type.starts_with("Metadata");
}

bool Staging::isPicture(std::string_view type, std::string_view field)
{
    return (field == "url" && (type == "ImageTexture" || type == "ImageTexture3D" || type == "ImageTextureAtlas"))
        || (field.ends_with("Url") && type.ends_with("Background"));
}

} // namespace Zelvan::play
