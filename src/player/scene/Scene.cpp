#include "player/scene/Scene.h"

#include "base/Fields.h"
#include "base/NodeProc.h"
#include "player/scene/SceneParts.h"
#include "player/scene/Values.h"

#include <algorithm>

namespace Zelvan::play {

namespace {

// Types of the player's own nodes stay out of the namespace that scenes see.
NodeType& unknownType()
{
    static NodeTypeNameSpace own;
    static NodeType type(own, "Unknown", "zelvan-play", nullptr, nullptr, nullptr, "", nullptr, "", "", "", false,
                         false, nullptr, nullptr, nullptr, nullptr, 0);
    return type;
}

} // namespace

UnknownNode::UnknownNode(Scene& scene, SceneNode& sceneNode)
    : Node(unknownType(), scene.nodes(), sceneNode.name.c_str())
{
}

UnknownNode::~UnknownNode() = default;

std::string_view baseName(std::string_view name)
{
    constexpr std::string_view set = "set_", changed = "_changed";
    if (name.starts_with(set) && name.size() > set.size())
        return name.substr(set.size());
    if (name.ends_with(changed) && name.size() > changed.size())
        return name.substr(0, name.size() - changed.size());
    return name;
}

UnknownNode::Part::Part(std::unique_ptr<char[]> name, NodePartDataType dataType, Node& node)
    : NodePartDesc(noFieldIndex, NodePart::_nullMask, inputOutput, dataType, 1, name.get(), nullptr, nullptr, nullptr,
                   "", 0),
      text(std::move(name)), field(makeField(dataType))
{
    field->_node = &node;
    field->_desc = this;
}

UnknownNode::Part::~Part() = default;

Field* UnknownNode::find(std::string_view name) const
{
    auto const found = _byName.find(baseName(name));
    return found != _byName.end() ? found->second : nullptr;
}

Field* UnknownNode::require(std::string_view name, NodePartDataType type)
{
    if (Field* const found = find(name))
        return found;
    if (makeField(type) == nullptr)
        return nullptr;
    std::string_view const base = baseName(name);
    auto text = std::make_unique<char[]>(base.size() + 1);
    base.copy(text.get(), base.size());
    Part const& part = *_parts.emplace_back(std::make_unique<Part>(std::move(text), type, *this));
    return _byName[part.text.get()] = part.field.get();
}

std::vector<Field*> UnknownNode::inputs() const
{
    std::vector<Field*> fields;
    for (auto const& part : _parts)
        if (part->field->_routesIn != nullptr)
            fields.push_back(part->field.get());
    return fields;
}

void UnknownNode::shutdown() const
{
    for (auto const& part : _parts)
        Route::removeAll(*part->field);
}

void UnknownNode::fieldChanged(Field& field, TimeStamp const& timeStamp, Field*)
{
    if (field._routesOut == nullptr)
        return field.send(timeStamp, true, false); // to the observer only
    auto& part = static_cast<Part&>(const_cast<NodePartDesc&>(*field._desc));
    if (part.changing)
        return;
    // Most fields of scene nodes can be routed on; a loop of such routes ends where it began.
    part.changing = true;
    field.send(timeStamp, true, false);
    part.changing = false;
}

void Scene::Lines::locate(std::uint32_t offset, unsigned& line, unsigned& column) const
{
    auto const after = std::upper_bound(starts.begin(), starts.end(), offset);
    line = static_cast<unsigned>(after - starts.begin());
    column = offset - *(after - 1) + 1;
}

std::uint32_t Scene::Lines::number(std::uint32_t begin, std::size_t index)
{
    std::string_view const all(text.get(), text ? size : 0);
    constexpr std::string_view blanks = " ,\t\r\n", ends(" ,\t\r\n\0\"'[]{}<>", 14);
    if (begin != _begin || index < _index) {
        _begin = begin;
        _index = 0;
        _at = static_cast<std::uint32_t>(std::min(all.find_first_not_of(blanks, begin), all.size()));
    }
    for (; _index < index; ++_index) {
        auto const end = std::min(all.find_first_of(ends, _at), all.size());
        auto const next = std::min(all.find_first_not_of(blanks, end), all.size());
        if (end == _at || next == all.size())
            return begin;
        _at = static_cast<std::uint32_t>(next);
    }
    return _at < all.size() ? _at : begin;
}

Scene::Scene() : _nameSpace(std::make_unique<NodeNameSpace>(_context)) {}

Scene::~Scene() = default;

std::uint32_t Scene::addFile(std::string name, std::vector<std::uint32_t> lineStarts)
{
    fileNames.push_back(std::move(name));
    _lines.push_back(std::make_unique<Lines>());
    _lines.back()->starts = std::move(lineStarts);
    return static_cast<std::uint32_t>(_lines.size() - 1);
}

Place Scene::place(Location where) const
{
    if (where.file >= _lines.size())
        return {};
    Place place{fileNames[where.file], 0, 0};
    _lines[where.file]->locate(where.offset, place.line, place.column);
    return place;
}

void Scene::keepText(std::uint32_t file, std::shared_ptr<char const> text, std::size_t size)
{
    _lines[file]->text = std::move(text);
    _lines[file]->size = size;
}

Location const* Scene::attributeOf(SceneNode const& node, Field const& field) const
{
    for (auto const& attribute : node.attributes)
        if (attribute.index == indexOf(field))
            return &attribute.where;
    return nullptr;
}

Place Scene::place(SceneNode const& node, Field const& field) const
{
    Location const* const attribute = attributeOf(node, field);
    return place(attribute != nullptr ? *attribute : node.where);
}

Place Scene::place(SceneNode const& node, Field const& field, std::size_t element) const
{
    Location const* const attribute = attributeOf(node, field);
    if (attribute == nullptr)
        return place(node.where);
    std::size_t const number = element * componentsOf(field.dataType()).count;
    return place(Location{attribute->file, _lines[attribute->file]->number(attribute->offset, number)});
}

SceneNode* Scene::find(std::string_view name)
{
    auto const found = std::find_if(sceneNodes.rbegin(), sceneNodes.rend(), [&](SceneNode const& n) { return n.name == name; });
    return found == sceneNodes.rend() ? nullptr : &*found;
}

SceneNode* Scene::sceneNode(Node const& node) const
{
    if (_byNode.empty()) {
        for (SceneNode const& sceneNode : sceneNodes)
            if (sceneNode.node != nullptr)
                _byNode.emplace_back(sceneNode.node, const_cast<SceneNode*>(&sceneNode));
        std::sort(_byNode.begin(), _byNode.end());
    }
    auto const found = std::lower_bound(_byNode.begin(), _byNode.end(), std::pair<Node const*, SceneNode*>(&node, nullptr));
    return found != _byNode.end() && found->first == &node ? found->second : nullptr;
}

Field* Scene::field(SceneNode& node, std::string const& name, Node::FieldSearchOrder order)
{
    if (node.node == nullptr)
        return nullptr;
    if (!node.known)
        return static_cast<UnknownNode*>(node.node)->find(name);
    return node.node->_proc ? node.node->_proc->findField(name, order) : node.node->findField(name, order);
}

Field* Scene::fieldOfUnknown(SceneNode& node, std::string const& name, NodePartDataType type)
{
    if (node.node == nullptr) {
        node.node = new UnknownNode(*this, node);
        _nameSpace->add(*node.node);
        _byNode.clear();
    }
    return static_cast<UnknownNode*>(node.node)->require(name, type);
}

std::vector<Field*> Scene::inputsOf(SceneNode const& node)
{
    return node.known || node.node == nullptr ? std::vector<Field*>()
                                              : static_cast<UnknownNode*>(node.node)->inputs();
}

void Scene::goLive()
{
    for (Node* const node : _nameSpace->nodes())
        node->enter(0);
}

bool isInterpolator(SceneNode const& node)
{
    return node.known && node.node->type()._poolName == "InterpolationNodePool";
}

Field* outputOf(SceneNode const& node)
{
    if (!isInterpolator(node))
        return nullptr;
    for (Field* const field : node.node->fields())
        if (field != nullptr && field->type() == outputOnly)
            return field;
    return nullptr;
}

Field* fieldOf(SceneNode const& node, char const* name)
{
    return node.known ? node.node->findField(name) : nullptr;
}

std::unique_ptr<Field> makeField(NodePartDataType type)
{
    switch (type) {
    case SFBoolType: return std::make_unique<SFBool>();
    case SFColorType: return std::make_unique<SFColor>();
    case MFColorType: return std::make_unique<MFColor>();
    case SFFloatType: return std::make_unique<SFFloat>();
    case MFFloatType: return std::make_unique<MFFloat>();
    case SFMatrix4fType: return std::make_unique<SFMatrix4f>();
    case MFMatrix4fType: return std::make_unique<MFMatrix4f>();
    case SFRotationType: return std::make_unique<SFRotation>();
    case MFRotationType: return std::make_unique<MFRotation>();
    case SFStringType: return std::make_unique<SFString>();
    case SFTimeType: return std::make_unique<SFTime>();
    case SFVec2fType: return std::make_unique<SFVec2f>();
    case MFVec2fType: return std::make_unique<MFVec2f>();
    case SFVec3fType: return std::make_unique<SFVec3f>();
    case MFVec3fType: return std::make_unique<MFVec3f>();
    }
    return nullptr;
}

NodePartDataType dataTypeCode(std::string_view name)
{
    for (unsigned code = SFBoolType; code <= MFVec3fType; ++code)
        if (name == dataTypeName(static_cast<NodePartDataType>(code)))
            return static_cast<NodePartDataType>(code);
    return static_cast<NodePartDataType>(0);
}

} // namespace Zelvan::play
