#include "player/editing/SceneEdits.h"

#include "player/scene/Values.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <sys/stat.h>

namespace Zelvan::play {

SceneEdits::SceneEdits(Scene const& scene, bool inlined, std::size_t mostBytes, std::set<std::string> leftAlone)
    : _scene(scene), _inlined(inlined), _mostBytes(mostBytes), _leftAlone(std::move(leftAlone))
{
    for (SceneNode const& node : scene.sceneNodes) {
        auto const places = isInterpolator(node) ? placesOf(node) : std::nullopt;
        if (places) {
            _partners.emplace(places->keys, std::pair(places->values, &node));
            _partners.emplace(places->values, std::pair(places->keys, &node));
        }
        for (auto const& attribute : node.attributes)
            if (!places || (attribute.where != places->keys && attribute.where != places->values))
                _others.try_emplace(attribute.where, &node);
    }
}

AuthorFile& SceneEdits::file(std::uint32_t number)
{
    auto known = _files.find(number);
    if (known == _files.end()) {
        std::string const& name = _scene.fileNames.at(number);
        if (number != 0 && !_inlined)
            throw Failure(exitScene, "stands in " + name + ": --inlined edits that, too");
        if (name == "<stdin>")
            throw Failure(exitUsage, "standard input is not edited: name a file");
        std::error_code none;
        if (_leftAlone.contains(std::filesystem::weakly_canonical(name, none)))
            throw Failure(exitScene, name + " was edited with an earlier scene");
        struct stat status;
        if (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) // a pipe cannot be read once more
            throw Failure(exitUsage, name + " is not edited: it is not a file");
        known = _files.try_emplace(number, name, _mostBytes).first;
    }
    return known->second;
}

std::optional<Location> SceneEdits::placeOf(SceneNode const& node, Field const& field) const
{
    auto const last =
        std::ranges::find(node.attributes.rbegin(), node.attributes.rend(), indexOf(field), &SceneNode::AttributePlace::index);
    return last == node.attributes.rend() ? std::nullopt : std::optional(last->where);
}

NumberList SceneEdits::list(Location where, Field const& field)
{
    AuthorFile const& text = file(where.file);
    NumberList list(text, where.offset);
    std::vector<double> read;
    appendNumbers(field, read);
    bool same = read.size() == list.numbers().size();
    for (std::size_t i = 0; same && i < read.size(); ++i)
        same = std::bit_cast<std::uint32_t>(static_cast<float>(read[i])) == std::bit_cast<std::uint32_t>(list.numbers()[i]);
    if (!same)
        throw Failure(exitScene,
                      text.path() + " is not edited: at byte " + std::to_string(where.offset)
                          + " stand other numbers than were read");
    return list;
}

void SceneEdits::replace(Location where, NumberList const& list, std::vector<NumberList::Number> const& numbers,
                         unsigned components)
{
    list.replace(file(where.file), numbers, components);
    std::vector<float>& intended = intention.lists[where];
    intended.clear();
    for (NumberList::Number const& number : numbers)
        intended.push_back(number.value);
}

std::optional<ListPlaces> SceneEdits::placesOf(SceneNode const& node) const
{
    auto const keys = placeOf(node, *fieldOf(node, "key"));
    auto const values = placeOf(node, valuesOf(node));
    return keys && values ? std::optional<ListPlaces>({*keys, *values}) : std::nullopt;
}

std::vector<SceneNode const*> SceneEdits::instancesOf(SceneNode const& node) const
{
    std::vector<SceneNode const*> instances;
    if (auto const places = placesOf(node)) {
        auto const [begin, end] = _partners.equal_range(places->keys);
        for (auto at = begin; at != end; ++at)
            if (at->second.first == places->values)
                instances.push_back(at->second.second);
    }
    return instances;
}

std::string SceneEdits::hindrance(SceneNode const& node) const
{
    if (fieldOf(node, "key")->_routesIn != nullptr || valuesOf(node)._routesIn != nullptr)
        return "a ROUTE sets its keys or values";
    if (!placesOf(node))
        return "no file sets both its keys and its values";
    if (std::string const other = sharing(node); !other.empty())
        return "shares its keys or values with " + other;
    if (std::ranges::any_of(node.attributes, &SceneNode::AttributePlace::converted))
        return "its file states units of its own: only values in metres and radians are edited";
    return "";
}

std::string SceneEdits::sharing(SceneNode const& node) const
{
    auto const places = placesOf(node);
    if (!places)
        return "";
    for (auto const& [one, other] : {std::pair(places->keys, places->values), std::pair(places->values, places->keys)}) {
        auto const [begin, end] = _partners.equal_range(one);
        for (auto at = begin; at != end; ++at)
            if (at->second.first != other || &at->second.second->node->type() != &node.node->type())
                return at->second.second->name;
        if (auto const found = _others.find(one); found != _others.end())
            return found->second->name;
    }
    return "";
}

std::vector<AuthorFile const*> SceneEdits::changed() const
{
    std::vector<AuthorFile const*> files;
    for (auto const& [number, file] : _files)
        if (file.changed())
            files.push_back(&file);
    return files;
}

} // namespace Zelvan::play
