#include "player/scene/Scene.h"

#include "base/Fields.h"
#include "base/NodeProc.h"
#include "player/scene/SceneParts.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <bit>

namespace Zelvan::play {

namespace {

// Types of the player's own nodes stay out of the namespace that scenes see.
NodeType& unknownType()
{
    static NodeTypeNameSpace own;
    static NodeType type(own, "Unknown", "zelvan-play", nullptr, nullptr, nullptr, "", nullptr, "", "", "", false, false,
                         nullptr, nullptr, nullptr, nullptr, 0);
    return type;
}

} // namespace

// Without a name: messages have the scene's.
UnknownNode::UnknownNode(Scene& scene) : Node(unknownType(), scene.nodes(), nullptr), _scene(scene) {}

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

UnknownNode::Part::Part(char const* name, NodePartType access, NodePartDataType dataType, bool isDeclared, Node& node)
    : NodePartDesc(noFieldIndex, NodePart::_nullMask, access, dataType, 1, name, nullptr, nullptr, nullptr, "", 0),
      field(makeField(dataType)),
      declared(isDeclared)
{
    if (field == nullptr)
        return;
    field->_node = &node;
    field->_desc = this;
}

UnknownNode::Part::~Part() = default;

UnknownNode::Part* UnknownNode::part(std::string_view name, FieldSearchOrder order) const
{
    std::string_view const base = baseName(name);
    if (_byName != nullptr) {
        auto const& like = order == asInput ? _byName->inputs : _byName->outputs;
        if (auto const found = _byName->exact.find(name); found != _byName->exact.end())
            return found->second;
        auto const found = like.find(base);
        return found != like.end() ? found->second : nullptr;
    }
    Part const* like = nullptr;
    for (Part const& part : _parts) {
        if (name == part._name)
            return const_cast<Part*>(&part);
        if (like == nullptr && base == baseName(part._name) && part.serves(order))
            like = &part;
    }
    return const_cast<Part*>(like);
}

Field* UnknownNode::find(std::string_view name, FieldSearchOrder order) const
{
    Part const* const found = part(name, order);
    return found != nullptr ? found->field.get() : nullptr;
}

Field* UnknownNode::require(std::string_view name, FieldSearchOrder order, NodePartDataType type)
{
    Part* const found = part(name, order);
    if (found == nullptr)
        return add(baseName(name), inputOutput, type, false).field.get();
    Field* const field = found->field.get();
    if (found->declared || field->dataType() == type || name == found->_name)
        return field;
    // Nobody has said that set_x and x_changed are one field.
    bool const otherWayOnly = (order == asInput ? field->_routesIn : field->_routesOut) == nullptr;
    return otherWayOnly ? add(name, inputOutput, type, false).field.get() : field;
}

Field* UnknownNode::declare(std::string_view name, NodePartType access, NodePartDataType type)
{
    if (Part const* const found = part(name, asInput); found != nullptr && name == found->_name)
        return nullptr;
    return add(name, access, type, true).field.get();
}

UnknownNode::Part& UnknownNode::add(std::string_view name, NodePartType access, NodePartDataType type, bool declared)
{
    constexpr unsigned few = 8;
    _last = _parts.emplace_after(_last, _scene.shared(name).c_str(), access, type, declared, *this);
    if (++_count > few && _byName == nullptr) {
        _byName = std::make_unique<Names>();
        for (Part& part : _parts)
            _byName->enter(part);
    } else if (_byName != nullptr) {
        _byName->enter(*_last);
    }
    return *_last;
}

void UnknownNode::Names::enter(Part& part)
{
    exact[part._name] = &part;
    if (part.serves(asInput))
        inputs.try_emplace(baseName(part._name), &part);
    if (part.serves(asOutput))
        outputs.try_emplace(baseName(part._name), &part);
}

std::vector<Field*> UnknownNode::inputs() const
{
    std::vector<Field*> fields;
    for (Part const& part : _parts)
        if (part.field != nullptr && part.field->_routesIn != nullptr)
            fields.push_back(part.field.get());
    return fields;
}

void UnknownNode::shutdown() const
{
    for (Part const& part : _parts)
        if (part.field != nullptr)
            Route::removeAll(*part.field);
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
    auto const after = std::upper_bound(layout.starts.begin(), layout.starts.end(), offset);
    line = static_cast<unsigned>(after - layout.starts.begin());
    std::uint32_t const begin = *(after - 1);
    column = offset - begin + 1;
    // Editors count characters.
    auto const innerBefore = [this](std::uint32_t byte) {
        std::uint64_t const before = layout.inner[byte / 64] & ((std::uint64_t(1) << byte % 64) - 1);
        return layout.innerBefore[byte / 64] + static_cast<unsigned>(std::popcount(before));
    };
    if (offset / 64 < layout.inner.size())
        column -= innerBefore(offset) - innerBefore(begin);
}

std::uint32_t Scene::Lines::number(std::uint32_t begin, std::size_t index)
{
    std::string_view const all(text.get(), text ? size : 0);
    static std::string const ends = std::string(blanksOfLists) + std::string("\0\"'[]{}<>", 9);
    if (begin != _begin || index < _index) {
        _begin = begin;
        _index = 0;
        _at = static_cast<std::uint32_t>(std::min(all.find_first_not_of(blanksOfLists, begin), all.size()));
    }
    for (; _index < index; ++_index) {
        auto const end = std::min(all.find_first_of(ends, _at), all.size());
        auto const next = std::min(all.find_first_not_of(blanksOfLists, end), all.size());
        if (end == _at || next == all.size())
            return begin;
        _at = static_cast<std::uint32_t>(next);
    }
    return _at < all.size() ? _at : begin;
}

Scene::Scene() : _nameSpace(std::make_unique<NodeNameSpace>(_context)) {}

Scene::~Scene() = default;

std::uint32_t Scene::addFile(std::string name, Layout layout)
{
    fileNames.push_back(std::move(name));
    _lines.push_back(std::make_unique<Lines>());
    _lines.back()->layout = std::move(layout);
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

std::string const& Scene::shared(std::string_view text)
{
    auto const found = _shared.find(text);
    return found != _shared.end() ? *found : *_shared.emplace(text).first;
}

namespace {

std::string_view nameOf(SceneNode const* node)
{
    return node->name;
}

} // namespace

SceneNode* Scene::find(std::string_view name)
{
    if (_byName.size() != sceneNodes.size()) {
        _byName.clear();
        for (SceneNode& node : sceneNodes)
            _byName.push_back(&node);
        std::ranges::stable_sort(_byName, {}, nameOf);
    }
    auto const after = std::ranges::upper_bound(_byName, name, {}, nameOf);
    return after == _byName.begin() || nameOf(after[-1]) != name ? nullptr : after[-1];
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
        return static_cast<UnknownNode*>(node.node)->find(name, order);
    return node.node->_proc ? node.node->_proc->findField(name, order) : node.node->findField(name, order);
}

UnknownNode& Scene::standIn(SceneNode& node)
{
    if (node.node == nullptr) {
        node.node = new UnknownNode(*this);
        _nameSpace->add(*node.node);
        _byNode.clear();
    }
    return static_cast<UnknownNode&>(*node.node);
}

Field* Scene::fieldOfUnknown(SceneNode& node, std::string const& name, Node::FieldSearchOrder order, NodePartDataType type)
{
    return standIn(node).require(name, order, type);
}

Field* Scene::declareField(SceneNode& node, std::string const& name, NodePartType access, NodePartDataType type)
{
    return standIn(node).declare(name, access, type);
}

bool Scene::lacksField(SceneNode const& node, std::string_view name, Node::FieldSearchOrder order)
{
    return node.node != nullptr && static_cast<UnknownNode*>(node.node)->lacks(name, order);
}

bool Scene::isInferred(SceneNode const& node, Field const& field)
{
    return !node.known && !UnknownNode::isDeclared(field);
}

std::vector<Field*> Scene::inputsOf(SceneNode const& node)
{
    return node.known || node.node == nullptr ? std::vector<Field*>() : static_cast<UnknownNode*>(node.node)->inputs();
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

NodePartType accessCode(std::string_view name)
{
    for (NodePartType const access : {inputOnly, outputOnly, initializeOnly})
        if (name == accessName(access))
            return access;
    return inputOutput;
}

} // namespace Zelvan::play
