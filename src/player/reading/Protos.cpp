#include "player/reading/Protos.h"

#include "player/reading/SceneReader.h"
#include "player/scene/Values.h"

#include <unordered_set>

namespace Zelvan::play {

namespace {

using NamedField = std::pair<std::string const, InterfaceField>;

// The same freedom as for nodes: "open", "set_open" and "open_changed" may mean one field.
NamedField const* findField(Instance const& instance, std::string const& field, Node::FieldSearchOrder order)
{
    bool const input = order == Node::asInput;
    std::string const affix = input ? "set_" : "_changed";
    auto const& fields = instance.fields;
    auto at = fields.find(field);
    if (at == fields.end())
        at = fields.find(input ? affix + field : field + affix);
    if (at == fields.end() && input && field.starts_with(affix))
        at = fields.find(field.substr(affix.size()));
    if (at == fields.end() && !input && field.ends_with(affix))
        at = fields.find(field.substr(0, field.size() - affix.size()));
    return at == fields.end() ? nullptr : &*at;
}

} // namespace

void Protos::declare(Element const& element, Scope& scope)
{
    scope.protos[_reading.nameIn(element, "name", scope)] = {&element, &scope};
}

void Protos::declareExtern(Element const& element, Scope& scope)
{
    scope.protos[_reading.nameIn(element, "name", scope)] = {&element, &scope, true};
}

// From file to file: the PROTO there may be an EXTERNPROTO itself. What leads in a circle is found nowhere.
void Protos::follow(Proto& proto)
{
    for (std::size_t steps = 0; proto.isExternal; ++steps) {
        Element const& element = *proto.declaration;
        Scope& scope = *proto.scope;
        Location const where = locate(element, scope);
        std::string fragment;
        proto = {nullptr, &scope, false, &element};
        SceneFile* const other = _files.find(attributeValue(element, "url"), *scope.file, where, kinds::badProto, &fragment);
        if (other == nullptr)
            return;
        if (other->declared == nullptr)
            declareAll(*other);
        auto const& declared = other->declared->protos;
        if (fragment.empty())
            proto = {other->firstProto, other->declared};
        else if (auto const found = declared.find(fragment); found != declared.end() && steps < _reading.budget.limits().files)
            proto = found->second;
        if (proto.declaration == nullptr)
            _reading.warn(where, kinds::badProto,
                          '"' + other->name + "\" declares no PROTO"
                              + (fragment.empty() ? "" : " \"" + fragment + '"' + _reading.meant(fragment, declared)));
    }
}

// A file's own declarations are also what their bodies may use.
void Protos::declareAll(SceneFile& file)
{
    file.declared = &_reading.scopes.emplace_back();
    file.declared->file = &file;
    Element const* const root = file.tree.root();
    Element const* const scene = root->isNamed("X3D") ? findChild(*root, "Scene") : root;
    if (scene == nullptr)
        return;
    file.firstProto = findChild(*scene, "ProtoDeclare");
    for (Element const& child : Children(*scene)) {
        if (child.isNamed("ProtoDeclare"))
            declare(child, *file.declared);
        else if (child.isNamed("ExternProtoDeclare"))
            declareExtern(child, *file.declared);
    }
}

Proto const* Protos::find(Scope& scope, std::string const& name)
{
    for (Scope* at = &scope; at != nullptr; at = at->outer)
        if (auto const found = at->protos.find(name); found != at->protos.end()) {
            follow(found->second);
            return &found->second;
        }
    return nullptr;
}

Instance& Protos::instantiate(Element const& element, Proto const& proto, Scope& scope)
{
    Location const where = locate(element, scope);
    std::string const protoName = _reading.nameIn(element, "name", scope), def = _reading.nameIn(element, "DEF", scope);
    _reading.budget.spend(10, where);
    Instance& instance = _reading.instances.emplace_back();
    instance.name = qualified(scope, def.empty() ? protoName + '#' + std::to_string(_reading.instances.size()) : def);
    instance.protoName = protoName;
    instance.where = where;
    instance.named = !def.empty();
    _nodes.define(def, {nullptr, &instance}, scope, where);

    if (Element const* const interface = findChild(*proto.declaration, "ProtoInterface"))
        for (Element const& field : Children(*interface, "field")) {
            std::string const name = _reading.nameIn(field, "name", *proto.scope);
            _reading.budget.spend(3 + name.size() / Budget::bytesForATenth, where);
            InterfaceField& added = instance.fields[name];
            added.type = attributeValue(field, "type");
            added.value = findAttribute(field, "value");
            added.file = proto.scope->file;
        }
    for (Element const& given : Children(element, "fieldValue")) {
        std::string const name = _reading.nameIn(given, "name", scope);
        auto const found = instance.fields.find(name);
        if (found == instance.fields.end())
            _reading.warn(locate(given, scope), kinds::badProto,
                          "PROTO \"" + protoName + "\" has no field \"" + name + '"' + _reading.meant(name, instance.fields));
        else if (Attribute const* const value = findAttribute(given, "value")) {
            found->second.value = value;
            found->second.file = scope.file;
        }
    }
    return instance;
}

std::vector<Element const*> Protos::defaultsOf(Element const& element, Proto const& proto)
{
    std::unordered_set<std::string_view> given;
    for (Element const& value : Children(element, "fieldValue"))
        given.insert(attributeValue(value, "name"));
    if (Element const* const is = findChild(element, "IS")) // another PROTO's field has the value
        for (Element const& connect : Children(*is, "connect"))
            given.insert(attributeValue(connect, "nodeField"));
    std::vector<Element const*> defaults;
    if (Element const* const interface = findChild(*proto.declaration, "ProtoInterface"))
        for (Element const& field : Children(*interface, "field"))
            if (field.firstChild != nullptr && !given.contains(attributeValue(field, "name")))
                defaults.push_back(&field);
    return defaults;
}

void Protos::connect(Element const& element, Target target, Scope& scope)
{
    Element const* const is = findChild(element, "IS");
    if (is == nullptr)
        return;
    for (Element const& connect : Children(*is, "connect")) {
        Location const where = locate(connect, scope);
        _reading.budget.spendOn(connect, where, 5);
        std::string const nodeField = _reading.nameIn(connect, "nodeField", scope);
        std::string const protoField = _reading.nameIn(connect, "protoField", scope);
        if (scope.instance == nullptr) {
            _reading.warn(where, kinds::badProto, "IS stands outside a PROTO's body");
            continue;
        }
        auto const found = scope.instance->fields.find(protoField);
        if (found == scope.instance->fields.end()) {
            _reading.warn(where, kinds::badProto,
                          "IS: the PROTO has no field \"" + protoField + '"'
                              + _reading.meant(protoField, scope.instance->fields));
            continue;
        }
        InterfaceField& field = found->second;
        bool const exists = target.instance != nullptr ? connectInstance(field, *target.instance, nodeField, where)
            : target.node->known                       ? connectNode(field, *target.node, nodeField, where)
                                                       : true;
        if (!exists)
            continue;
        if (target.node != nullptr && !target.node->known && field.value != nullptr)
            target.node->attributes.push_back({~0u, locate(*field.value, *field.file)}); // its fields are not known
        field.connections.emplace_back(target, nodeField);
        if (scope.instance->holder != nullptr)
            hold(target, scope.instance->holder, where);
        if (target.node != nullptr && target.node->decides) {
            _reading.budget.spend(field.nodes.size() / 10, where);
            for (Target const& node : field.nodes)
                hold(node, target.node, where);
        }
    }
}

std::pair<std::string_view, SceneFile*> Protos::urlOf(Element const& element, Scope const& scope)
{
    if (Element const* const is = findChild(element, "IS"); is != nullptr && scope.instance != nullptr)
        for (Element const& connect : Children(*is, "connect"))
            if (attributeValue(connect, "nodeField") == "url")
                if (auto const found = scope.instance->fields.find(std::string(attributeValue(connect, "protoField")));
                    found != scope.instance->fields.end() && found->second.value != nullptr)
                    return {found->second.value->value(), found->second.file};
    return {attributeValue(element, "url"), scope.file};
}

void Protos::hold(Target target, SceneNode* holder, Location where)
{
    std::vector<Target> open{target};
    while (!open.empty()) {
        Target const at = open.back();
        open.pop_back();
        if (at.node != nullptr && at.node->known)
            at.node->holder = holder;
        if (at.instance == nullptr || at.instance->holder == holder)
            continue;
        at.instance->holder = holder;
        for (auto const& [name, field] : at.instance->fields) {
            _reading.budget.spend(1 + field.connections.size(), where);
            for (auto const& connection : field.connections)
                open.push_back(connection.first);
        }
    }
}

bool Protos::connectInstance(InterfaceField const& outer, Instance& inner, std::string const& field, Location where)
{
    auto const found = inner.fields.find(field);
    bool const exists = found != inner.fields.end();
    if (!exists)
        _reading.warn(where, kinds::badProto,
                      "IS: the instance has no field \"" + field + '"' + _reading.meant(field, inner.fields));
    else if (outer.value != nullptr) {
        found->second.value = outer.value;
        found->second.file = outer.file;
    }
    if (exists)
        found->second.staged.insert(found->second.staged.end(), outer.staged.begin(), outer.staged.end());
    if (exists && !outer.nodes.empty()) {
        _reading.budget.spend(outer.nodes.size(), where);
        found->second.nodes.insert(found->second.nodes.end(), outer.nodes.begin(), outer.nodes.end());
    }
    return exists;
}

bool Protos::connectNode(InterfaceField const& outer, SceneNode& node, std::string const& name, Location where)
{
    Field* const field = _reading.scene.field(node, name, Node::asInput);
    if (field == nullptr) {
        _reading.warn(where, kinds::badProto,
                      "IS: " + withArticle(node.typeName) + " has no field \"" + name + '"'
                          + otherFields(*node.node, name, inputOutput));
        return false;
    }
    bool const sameType = outer.type.empty() || outer.type == dataTypeName(field->dataType());
    if (!sameType)
        _reading.warn(where, kinds::badProto,
                      "IS: " + node.name + '.' + field->findName() + " is " + dataTypeName(field->dataType())
                          + ", the PROTO's field " + std::string(outer.type));
    if (outer.value != nullptr && (field->type() & initializeOnly) != 0) {
        _reading.budget.spend(outer.value->value().size() / Budget::bytesForATenth, where);
        if (sameType)
            _nodes.setField(node, *field, *outer.value, *outer.file);
        else // as well as it can be taken
            field->setAndValidateValueByStr(outer.value->value().data(), false);
    }
    return true;
}

// What no node in the instance has is kept as of a node that takes any event and sends it on.
SceneNode& Protos::store(Instance& instance, std::string const& name, InterfaceField const& field)
{
    if (instance.store == nullptr)
        instance.store = &_nodes.addStore(instance);
    SceneNode& node = *instance.store;
    Field* const kept = _nodes.declareKept(node, name, field.type,
                                           [&instance](std::string const& other) { return instance.fields.contains(other); });
    if (kept != nullptr && field.value != nullptr)
        _nodes.setField(node, *kept, *field.value, *field.file);
    return node;
}

std::vector<Protos::End> Protos::ends(Target target, std::string const& field, Node::FieldSearchOrder order, Location where)
{
    struct Open {
        Target target;
        std::string field;
    };
    std::vector<End> found;
    std::vector<Open> open{{target, field}}; // the next one last
    while (!open.empty()) {
        Open const at = std::move(open.back());
        open.pop_back();
        if (at.target.node != nullptr)
            found.emplace_back(at.target.node, at.field);
        if (at.target.instance == nullptr)
            continue;
        NamedField const* const interface = findField(*at.target.instance, at.field, order);
        if (interface == nullptr)
            continue;
        auto const& [name, value] = *interface;
        if (value.connections.empty())
            found.emplace_back(&store(*at.target.instance, name, value), name);
        for (auto connection = value.connections.rbegin(); connection != value.connections.rend(); ++connection) {
            _reading.budget.spend(10, where);
            open.push_back({connection->first, connection->second});
        }
    }
    return found;
}

} // namespace Zelvan::play
