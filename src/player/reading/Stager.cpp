#include "player/reading/Stager.h"

#include "player/reading/Scope.h"

#include <algorithm>
#include <array>

namespace Zelvan::play {

namespace {

// The fields of nodes that hold one string: where a syntax writes it in quotes, XML has none.
bool holdsOneString(std::string_view type, std::string_view field)
{
    static constexpr auto names =
        std::to_array<std::string_view>({"description", "title", "language", "style", "fogType", "mode", "name"});
    return std::ranges::find(names, field) != names.end() && !(field == "mode" && type == "MultiTexture");
}

} // namespace

std::string_view Stager::fieldOf(Element const& element, StagePlace const& place) const
{
    return place.field.empty() ? attributeValue(element, "containerField") : place.field;
}

StagePlace Stager::add(Element const& element, SceneNode const* node, StagePlace const& place, Scope const& scope)
{
    std::string_view const type = element.name();
    if (_staging == nullptr || (node != nullptr && node->known))
        return {};
    if (Staging::isLeftOut(type)) {
        if (type == "Sound" || type == "MovieTexture" || type.ends_with("Shader"))
            leave(std::string(type) + " is left out");
        return {};
    }
    if (type == "Inline") {
        leave("an Inline was not there to be drawn: " + std::string(attributeValue(element, "url")));
        return {};
    }
    std::uint32_t const index = _staging->add(type, place.parent, fieldOf(element, place));
    for (Attribute const& attribute : attributes(element))
        if (!attribute.isNamed("DEF") && !attribute.isNamed("containerField"))
            set(index, attribute.name(), attribute, scope.file->quotes(attribute) && holdsOneString(type, attribute.name()),
                *scope.file);
    connect(index, element, scope);
    settle(index, place);
    StagePlace const children{index};
    stands(node, children);
    return children;
}

StagePlace Stager::addInline(Element const& element, StagePlace const& place)
{
    if (_staging == nullptr)
        return {};
    std::uint32_t const index = _staging->add("Group", place.parent, fieldOf(element, place));
    settle(index, place);
    return {index};
}

void Stager::use(Element const& element, Target const& target, StagePlace const& place)
{
    if (_staging == nullptr)
        return;
    std::uint32_t const used = target.instance != nullptr ? _staging->of(target.instance) : _staging->of(target.node);
    if (used == Staging::nowhere)
        return;
    if (place.given == nullptr && place.instance == nullptr)
        return _staging->place(used, place.parent, fieldOf(element, place));
    settle(_staging->addUse(used, place.parent, fieldOf(element, place)), place);
}

void Stager::stands(SceneNode const* node, StagePlace const& children)
{
    if (_staging != nullptr && node != nullptr && children.parent != Staging::nowhere)
        _staging->stands(node, children.parent);
}

void Stager::leave(std::string sentence)
{
    if (_staging != nullptr)
        _staging->leave(std::move(sentence));
}

void Stager::settle(std::uint32_t index, StagePlace const& place)
{
    if (place.given != nullptr)
        place.given->staged.push_back(index);
    for (Instance const* instance = place.instance; instance != nullptr; instance = instance->first)
        _staging->stands(instance, index);
}

void Stager::set(std::uint32_t index, std::string_view name, Attribute const& value, bool isString, SceneFile const& file)
{
    std::string_view const type = _staging->nodes[index].type;
    if (Staging::isPicture(type, name))
        return setPicture(index, name, value.value(), file);
    if (name.ends_with("url") || name.ends_with("Url") || name == "src" || name == "href")
        return; // nothing is fetched
    if (isString) {
        auto const strings = quotedStrings(value.value());
        return _staging->set(index, name, strings.empty() ? std::string() : strings.front());
    }
    _staging->set(index, name, value.value());
}

void Stager::setPicture(std::uint32_t index, std::string_view name, std::string_view urls, SceneFile const& file)
{
    if (urls.find_first_not_of(" \t\r\n\"") == urls.npos)
        return;
    auto const [known, isNew] = _pictures.try_emplace({&file, std::string(urls)}, Staging::nowhere);
    if (isNew) {
        std::string why;
        if (std::string picture = _files.picture(urls, file, _room, why); !picture.empty()) {
            known->second = static_cast<std::uint32_t>(_staging->pictures.size());
            _staging->pictures.push_back(std::move(picture));
        } else {
            leave("a picture is not taken along: " + why);
        }
    }
    if (known->second != Staging::nowhere)
        _staging->setPicture(index, name, known->second);
}

void Stager::connect(std::uint32_t index, Element const& element, Scope const& scope)
{
    Element const* const is = scope.instance ? findChild(element, "IS") : nullptr;
    if (is == nullptr)
        return;
    for (Element const& connect : Children(*is, "connect")) {
        std::string_view const name = attributeValue(connect, "nodeField");
        auto const found = scope.instance->fields.find(std::string(attributeValue(connect, "protoField")));
        if (found == scope.instance->fields.end())
            continue;
        InterfaceField const& field = found->second;
        if (field.value != nullptr && !field.type.ends_with("Node"))
            set(index, name, *field.value, field.file->quotes(*field.value) && field.type == "SFString", *field.file);
        for (std::uint32_t const node : field.staged)
            _staging->place(node, index, name);
    }
}

} // namespace Zelvan::play
