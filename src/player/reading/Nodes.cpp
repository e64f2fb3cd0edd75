#include "player/reading/Nodes.h"

#include "base/NodeProc.h"
#include "base/NodeType.h"
#include "coreNodePool/TimeSensor.h"
#include "player/reading/SceneReader.h"
#include "player/scene/SceneParts.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <unordered_set>

namespace Zelvan::play {

namespace {

bool holdsNodes(Element const& element)
{
    if (element.isNamed("Script"))
        for (Element const& field : Children(element, "field"))
            if (field.firstChild != nullptr)
                return true;
    return false;
}

DidYouMean meantField(Node const& node, std::string_view name, unsigned access)
{
    DidYouMean meant(name);
    for (Field const* const field : node.fields())
        if (field != nullptr && (field->type() & access) != 0)
            meant.offer(field->findName());
    return meant;
}

/// The string in the quotes that a value begins with.
std::string unquoted(std::string_view text)
{
    std::string string;
    for (std::size_t at = 1; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] == '\\' && at + 1 < text.size())
            ++at;
        string += text[at];
    }
    return string;
}

} // namespace

std::string otherFields(Node const& node, std::string_view name, unsigned access)
{
    if (DidYouMean const meant = meantField(node, name, access); !meant.nearest().empty())
        return meant.text();
    std::string names;
    for (Field const* const field : node.fields())
        if (field != nullptr && (field->type() & access) != 0)
            names += (names.empty() ? "; it has " : ", ") + std::string(field->findName());
    return names;
}

SceneNode& Nodes::add(std::string name, std::string_view typeName, Location where, std::size_t tenths)
{
    _reading.budget.addNode(where);
    _reading.budget.spend((_reading.budget.isAgain() ? 10 : 0) + tenths, where);
    _reading.requireShort(typeName, "a node type", where);
    return _reading.scene.sceneNodes.emplace_back(SceneNode{std::move(name), _reading.scene.shared(typeName), where});
}

SceneNode& Nodes::add(Element const& element, Scope const& scope)
{
    return add(element, scope, element.name());
}

SceneNode& Nodes::add(Element const& element, Scope const& scope, std::string_view typeName)
{
    std::string const def = _reading.nameIn(element, "DEF", scope);
    SceneNode& node = add("", typeName, locate(element, scope), scope.prefix.size() / Budget::bytesForATenth);
    node.named = !def.empty();
    node.name = qualified(scope, node.named ? def : node.typeName + '#' + std::to_string(_reading.scene.sceneNodes.size()));
    return node;
}

SceneNode& Nodes::addStore(Instance const& instance)
{
    SceneNode& node = add(instance.name, instance.protoName, instance.where, instance.name.size() / Budget::bytesForATenth);
    node.named = instance.named;
    return node;
}

void Nodes::define(std::string const& name, Target target, Scope& scope, Location where)
{
    if (name.empty())
        return;
    Target& defined = scope.names[name];
    if (defined) {
        auto& all = scope.duplicates[name];
        if (all.empty())
            all.emplace_back((defined.node != nullptr ? defined.node->where : defined.instance->where).offset, defined);
        all.emplace(std::ranges::upper_bound(all, where.offset, {}, &Scope::Defined::first), where.offset, target);
    }
    defined = target;
}

SceneNode* Nodes::read(Element const& element, Scope& scope)
{
    NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), std::string(element.name()), searchExact);
    NodeType* const creatable = type ? type->creatableType() : nullptr;
    // A node that nothing can be routed to needs no memory.
    if (creatable == nullptr && findAttribute(element, "DEF") == nullptr && findChild(element, "IS") == nullptr
        && !holdsNodes(element))
        return nullptr;
    SceneNode& node = add(element, scope);
    if (creatable != nullptr)
        create(*creatable, element, node, scope);
    else if ((node.decides = element.isNamed("Script")))
        declareFields(element, node, scope);
    else
        reportMisspelled(node);
    if (creatable == &TimeSensor::_type && !node.named && findChild(element, "IS") == nullptr
        && static_cast<TimeSensor*>(node.node)->_cycleInterval._value > 0) {
        // Nobody can hear it, and its values have been looked at: there is nothing to say of it.
        _reading.scene.nodes().remove(*node.node);
        _reading.scene.sceneNodes.pop_back();
        return nullptr;
    }
    define(_reading.nameIn(element, "DEF", scope), {&node}, scope, node.where);
    return &node;
}

// A node that would be run if its type were written in the right capitals.
void Nodes::reportMisspelled(SceneNode const& node)
{
    NodeType* const meant = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), node.typeName, searchIgnoreCase);
    if (meant != nullptr && meant->creatableType() != nullptr)
        _reading.warn(node.where, kinds::unknownNode,
                      node.name + ": there is no node " + node.typeName + "; did you mean "
                          + (meant->_name.size() == node.typeName.size() ? meant->_name : meant->_aliasName) + '?');
}

void Nodes::create(NodeType& type, Element const& element, SceneNode& node, Scope const& scope)
{
    node.known = true;
    node.node = type.createNodeWithProc(_reading.scene.nodes(), node.named ? node.name.c_str() : nullptr);
    _reading.scene.nodes().add(*node.node);
    setAttributes(element, node, scope);
}

void Nodes::setField(SceneNode& node, Field& field, Attribute const& value, SceneFile const& file)
{
    Location where = locate(value, file);
    bool const isRepeated = _reading.budget.isAgain() && node.known && isList(field.dataType());
    Repeated* const repeated = isRepeated ? &_repeated[&value] : nullptr;
    if (repeated != nullptr && repeated->value != nullptr && repeated->desc == field._desc) {
        field.assignValue(*repeated->value);
        node.attributes.push_back({indexOf(field), where, repeated->converted});
        return;
    }
    bool const isString = file.quotes(value) && field.dataType() == SFStringType;
    if (field.setAndValidateValueByStr(isString ? unquoted(value.value()).c_str() : value.value().data(), false)) {
        bool const converted = file.units.convert(*node.node, field);
        if (node.known)
            node.attributes.push_back({indexOf(field), where, converted});
        if (repeated != nullptr && ++repeated->times == 2) {
            repeated->desc = field._desc;
            repeated->converted = converted;
            repeated->value = makeField(field.dataType());
            repeated->value->assignValue(field);
        }
        return;
    }
    FieldTextError const& error = Field::textError();
    where.offset += static_cast<std::uint32_t>(error.position) + isString;
    _reading.diagnostics.error(_reading.scene.place(where), kinds::badValue,
                               node.name + '.' + field.findName() + " (" + dataTypeName(field.dataType()) + "): expected "
                                   + error.expected + ", found \"" + error.found + "\"; the field keeps its default");
}

void Nodes::setAttributes(Element const& element, SceneNode& node, Scope const& scope)
{
    for (Attribute const& attribute : attributes(element)) {
        std::string_view const name = attribute.name();
        if (name == "DEF" || name == "USE" || name == "containerField" || name == "class" || name == "id" || name == "style"
            || name.starts_with("data-") || name.starts_with("xml") || name.starts_with("xsi"))
            continue;
        Field* const field = node.node->findField(std::string(name));
        Location const where = locate(attribute, *scope.file);
        if (field == nullptr && name == "keyVelocity" && node.typeName.starts_with("Spline")) {
            node.attributes.push_back({~0u, where});
            if (attribute.value().find_first_not_of(" \t\r\n,") == std::string_view::npos)
                continue; // the default, as some programs write it
            _reading.diagnostics.report(
                Severity::note, _reading.scene.place(where), kinds::noEffect,
                node.name + ".keyVelocity: X3D has it, it changes nothing here, other players bend the curve by it");
        } else if (field == nullptr) {
            // What is like no field here was hardly misspelled.
            bool const misspelled = !meantField(*node.node, name, initializeOnly).nearest().empty();
            _reading.diagnostics.report(misspelled ? Severity::warning : Severity::note, _reading.scene.place(where),
                                        kinds::unknownAttribute,
                                        node.name + ": " + withArticle(node.typeName) + " has no field \"" + std::string(name)
                                            + '"' + otherFields(*node.node, name, initializeOnly));
        } else if ((field->type() & initializeOnly) == 0)
            _reading.warn(where, kinds::unknownAttribute,
                          node.name + '.' + std::string(name) + " is " + accessName(field->type())
                              + " and cannot be set in a file");
        else {
            if (_reading.scene.isSet(node, *field))
                _reading.warn(where, kinds::looseSyntax,
                              node.name + '.' + std::string(name) + " is given twice; the last one counts");
            setField(node, *field, attribute, *scope.file);
        }
    }
}

// Under the one name for all its uses, unless they are declared as fields of their own.
Field* Nodes::declareKept(SceneNode& node, std::string const& name, std::string_view type,
                          std::function<bool(std::string const&)> const& isDeclared)
{
    std::string const base(baseName(name)), uses[] = {base, "set_" + base, base + "_changed"};
    bool const alone = std::ranges::none_of(uses, [&](std::string const& use) { return use != name && isDeclared(use); });
    return _reading.scene.declareField(node, alone ? base : name, inputOutput, dataTypeCode(type));
}

void Nodes::declareInterface(Element const& declaration, SceneNode& node, Scope const& scope)
{
    std::unordered_set<std::string> names;
    for (Element const& field : Children(declaration, "field")) {
        _reading.budget.spendOn(field, locate(field, scope), 10);
        names.insert(_reading.nameIn(field, "name", scope));
    }
    for (Element const& field : Children(declaration, "field"))
        declareKept(node, _reading.nameIn(field, "name", scope), attributeValue(field, "type"),
                    [&names](std::string const& other) { return names.contains(other); });
}

void Nodes::declareFields(Element const& script, SceneNode& node, Scope const& scope)
{
    for (Element const& field : Children(script, "field")) {
        _reading.budget.spendOn(field, locate(field, scope), 10);
        _reading.scene.declareField(node, _reading.nameIn(field, "name", scope),
                                    accessCode(attributeValue(field, "accessType")),
                                    dataTypeCode(attributeValue(field, "type")));
    }
}

} // namespace Zelvan::play
