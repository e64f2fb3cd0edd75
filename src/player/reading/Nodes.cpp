#include "player/reading/Nodes.h"

#include "base/NodeProc.h"
#include "base/NodeType.h"
#include "player/reading/SceneReader.h"

namespace Zelvan::play {

std::string fieldNames(Node const& node, unsigned access)
{
    std::string names;
    for (Field const* const field : node.fields())
        if (field != nullptr && (field->type() & access) != 0)
            names += (names.empty() ? "" : ", ") + std::string(field->findName());
    return names;
}

SceneNode& Nodes::add(Element const& element, Scope const& scope)
{
    Location const where = locate(element, scope);
    _reading.budget.addNode(where);
    _reading.budget.spend((_reading.budget.isAgain() ? 10 : 0) + scope.prefix.size() / Budget::bytesForATenth, where);
    SceneNode& node = _reading.scene.sceneNodes.emplace_back();
    std::string const def = _reading.nameIn(element, "DEF", scope);
    node.named = !def.empty();
    node.typeName = element.name;
    _reading.requireShort(node.typeName, "a node type", where);
    node.name = qualified(scope, node.named ? def : node.typeName + '#' + std::to_string(_reading.scene.sceneNodes.size()));
    node.where = where;
    return node;
}

void Nodes::define(std::string const& name, Target target, Scope& scope, Location where)
{
    if (name.empty())
        return;
    Target& defined = scope.names[name];
    if (defined)
        _reading.warn(where, kinds::duplicateDef, "DEF \"" + name + "\" is taken already; the last one counts");
    defined = target;
}

SceneNode* Nodes::read(Element const& element, Scope& scope)
{
    NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), std::string(element.name), searchExact);
    NodeType* const creatable = type ? type->creatableType() : nullptr;
    // A node that nothing can be routed to needs no memory.
    if (creatable == nullptr && findAttribute(element, "DEF") == nullptr && findChild(element, "IS") == nullptr)
        return nullptr;
    SceneNode& node = add(element, scope);
    if (creatable != nullptr)
        create(*creatable, element, node, scope);
    else if (element.name == "Script")
        addScriptFields(element, node, scope);
    define(_reading.nameIn(element, "DEF", scope), {&node}, scope, node.where);
    return &node;
}

void Nodes::create(NodeType& type, Element const& element, SceneNode& node, Scope const& scope)
{
    node.known = true;
    node.node = type.createNodeWithProc(_reading.scene.nodes(), node.named ? node.name.c_str() : nullptr);
    _reading.scene.nodes().add(*node.node);
    setAttributes(element, node, scope);
}

void Nodes::setField(SceneNode& node, Field& field, Attribute const& value, Location where)
{
    if (field.setAndValidateValueByStr(value.value.data(), false)) {
        node.attributes.push_back({indexOf(field), where});
        return;
    }
    FieldTextError const& error = Field::textError();
    where.offset += static_cast<std::uint32_t>(error.position);
    _reading.diagnostics.error(_reading.scene.place(where), kinds::badValue,
                               node.name + '.' + field.findName() + " (" + dataTypeName(field.dataType()) + "): expected "
                                   + error.expected + ", found \"" + error.found + "\"; the field keeps its default");
}

void Nodes::setAttributes(Element const& element, SceneNode& node, Scope const& scope)
{
    for (Attribute const& attribute : attributes(element)) {
        std::string_view const name = attribute.name;
        if (name == "DEF" || name == "USE" || name == "containerField" || name == "class" || name == "id"
            || name == "style" || name.starts_with("xml") || name.starts_with("xsi"))
            continue;
        Field* const field = node.node->findField(std::string(name));
        Location const where = locate(attribute, scope);
        if (field == nullptr)
            _reading.warn(where, kinds::unknownAttribute,
                          node.name + ": a " + node.typeName + " has no field \"" + std::string(name) + "\"; it has "
                              + fieldNames(*node.node, initializeOnly));
        else if ((field->type() & initializeOnly) == 0)
            _reading.warn(where, kinds::unknownAttribute,
                          node.name + '.' + std::string(name) + " is " + accessName(field->type())
                              + " and cannot be set in a file");
        else
            setField(node, *field, attribute, where);
    }
}

void Nodes::addScriptFields(Element const& element, SceneNode& node, Scope const& scope)
{
    for (Element const& field : Children(element, "field")) {
        _reading.budget.spendOn(field, locate(field, scope), 10);
        if (NodePartDataType const type = dataTypeCode(attributeValue(field, "type")); type != 0)
            _reading.scene.fieldOfUnknown(node, _reading.nameIn(field, "name", scope), type);
    }
}

} // namespace Zelvan::play
