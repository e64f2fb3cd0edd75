#include "player/reading/Routes.h"

#include "player/reading/SceneReader.h"
#include "player/scene/SceneParts.h"
#include "player/scene/Values.h"

#include <array>
#include <map>
#include <span>
#include <unordered_set>
#include <utility>

namespace Zelvan::play {

namespace {

bool isOfEveryScript(std::string_view name)
{
    std::string_view const base = baseName(name);
    return base == "url" || base == "metadata" || base == "mustEvaluate" || base == "directOutput" || base == "load"
        || base == "description" || base.starts_with("autoRefresh");
}

} // namespace

void Routes::addExport(Reading const& reading, Element const& element, Scope& scope)
{
    std::string const local = reading.nameIn(element, "localDEF", scope), as = reading.nameIn(element, "AS", scope);
    scope.exports[as.empty() ? local : as] = local;
}

void Routes::resolve(Scope& scope)
{
    for (Element const* const element : scope.imports)
        import(*element, scope);
    for (Element const* const element : scope.routes)
        route(*element, scope);
    reportDuplicates(scope);
    markExports(scope);
}

// VRML allows it, in XML it matters when a ROUTE means one of them.
void Routes::reportDuplicates(Scope const& scope) const
{
    if (scope.duplicates.empty())
        return;
    std::unordered_set<std::string_view> routed;
    if (scope.file->source.syntax() == SourceFile::Syntax::xml)
        for (Element const* const element : scope.routes)
            for (char const* const end : {"fromNode", "toNode"})
                routed.insert(attributeValue(*element, end));
    std::map<std::uint32_t, std::string_view> places;
    for (auto const& [name, all] : scope.duplicates)
        for (auto const& [offset, target] : std::span(all).subspan(1))
            places[offset] = name;
    for (auto const& [offset, name] : places)
        _reading.diagnostics.report(routed.contains(name) ? Severity::warning : Severity::note,
                                    _reading.scene.place({scope.file->number, offset}), kinds::duplicateDef,
                                    "DEF \"" + std::string(name)
                                        + "\" is taken already; a USE or ROUTE means the nearest one before it");
}

void Routes::markExports(Scope const& scope)
{
    for (auto const& [as, local] : scope.exports)
        if (auto const found = scope.names.find(local); found != scope.names.end() && found->second.node != nullptr)
            found->second.node->exported = true;
}

void Routes::import(Element const& element, Scope& scope)
{
    std::string const from = _reading.nameIn(element, "inlineDEF", scope);
    std::string name = _reading.nameIn(element, "importedDEF", scope);
    if (name.empty())
        name = _reading.nameIn(element, "exportedDEF", scope);
    std::string as = _reading.nameIn(element, "AS", scope);
    if (as.empty())
        as = name;
    Target target;
    if (auto const inlined = scope.inlines.find(from); inlined != scope.inlines.end()) {
        Scope const& inner = *inlined->second;
        auto const exported = inner.exports.find(name);
        auto const node = inner.names.find(exported != inner.exports.end() ? exported->second : name);
        if (node != inner.names.end())
            target = node->second;
        else
            _reading.warn(locate(element, scope), kinds::badInline,
                          "IMPORT: \"" + from + "\" has no node \"" + name + '"' + _reading.meant(name, inner.names));
    }
    // What was not read is kept as a node that takes any event.
    if (!target) {
        target.node = &_nodes.add(element, scope);
        target.node->name = qualified(scope, as);
        target.node->named = true;
    }
    scope.names[as] = target;
}

void Routes::route(Element const& element, Scope const& scope)
{
    Location const where = locate(element, scope);
    std::string const names[2] = {_reading.nameIn(element, "fromNode", scope), _reading.nameIn(element, "toNode", scope)};
    std::string const fields[2] = {_reading.nameIn(element, "fromField", scope), _reading.nameIn(element, "toField", scope)};
    auto const refuse = [&](std::string const& why) {
        _reading.warn(where, kinds::badRoute,
                      "ROUTE " + names[0] + '.' + fields[0] + " TO " + names[1] + '.' + fields[1] + ": " + why);
    };
    for (char const* const end : {"fromNode", "fromField", "toNode", "toField"})
        if (attributeValue(element, end).empty())
            return _reading.warn(where, kinds::badRoute, std::string("a ROUTE without ") + end);
    std::vector<Protos::End> found[2];
    for (int end = 0; end < 2; ++end) {
        Target const* const target = scope.named(names[end], element.offset);
        if (target == nullptr)
            return refuse("no node has the DEF name \"" + names[end] + '"' + _reading.meant(names[end], scope.names));
        found[end] = _protos.ends(*target, fields[end], end == 0 ? Node::asOutput : Node::asInput, where);
        if (found[end].empty())
            return refuse("the PROTO instance \"" + names[end] + "\" has no field \"" + fields[end] + '"'
                          + _reading.meant(fields[end], target->instance->fields));
    }
    bool first = true;
    for (auto const& [from, fromField] : found[0])
        for (auto const& [to, toField] : found[1]) {
            _reading.budget.spend(
                std::exchange(first, false) ? 0 : 10 + (fromField.size() + toField.size()) / Budget::bytesForATenth, where);
            connect(_reading.scene.routes.emplace_back(
                SceneRoute{from, _reading.scene.shared(fromField), to, _reading.scene.shared(toField), where}));
        }
}

void Routes::warn(SceneRoute const& route, std::string const& why) const
{
    _reading.warn(route.where, kinds::badRoute,
                  "ROUTE " + route.from->name + '.' + route.fromField + " TO " + route.to->name + '.' + route.toField + ": "
                      + why);
}

void Routes::connect(SceneRoute& route)
{
    Scene& scene = _reading.scene;
    auto const lacks = [&](SceneNode& node, std::string const& name, Node::FieldSearchOrder order) {
        if (node.known && scene.field(node, name, order) == nullptr)
            warn(route,
                 withArticle(node.typeName) + " has no field \"" + name + '"'
                     + otherFields(*node.node, name, order == Node::asInput ? inputOnly : outputOnly));
        else if (node.typeName == "Script" && !isOfEveryScript(name) && Scene::lacksField(node, name, order))
            warn(route, "the Script has no field \"" + name + '"');
        else
            return false;
        return true;
    };
    route.fits = !lacks(*route.from, route.fromField, Node::asOutput) && !lacks(*route.to, route.toField, Node::asInput);
    if (!route.fits)
        return;
    Field* from = scene.field(*route.from, route.fromField, Node::asOutput);
    Field* to = scene.field(*route.to, route.toField, Node::asInput);
    if (from == nullptr && to == nullptr) {
        // Both ends take any type: another route, now or later, may settle it.
        _untyped.push_back(&route);
        return;
    }
    if (!route.from->known)
        from = scene.fieldOfUnknown(*route.from, route.fromField, Node::asOutput, (to != nullptr ? to : from)->dataType());
    if (!route.to->known && from != nullptr)
        to = scene.fieldOfUnknown(*route.to, route.toField, Node::asInput, from->dataType());
    if (from == nullptr || to == nullptr) {
        // A declared type that is not played: nothing passes, and only a node that is run tells that the other is wrong.
        if (route.refused())
            warn(route, "the data types differ");
        return;
    }
    std::string error;
    route.route = Route::add(*from, *to, error);
    if (route.route != nullptr)
        return;
    bool const fromInferred = Scene::isInferred(*route.from, *from);
    if (from->dataType() != to->dataType() && (fromInferred || Scene::isInferred(*route.to, *to))) {
        auto const [field, other] = fromInferred ? std::pair(from, to) : std::pair(to, from);
        error = std::string("another ROUTE takes ") + field->findName() + " for " + dataTypeName(field->dataType())
            + ", this one for " + dataTypeName(other->dataType());
    }
    warn(route, error);
}

// A field whose type has become known settles the routes that wait at it, and these the fields at their other ends.
void Routes::connectUntyped()
{
    using Waiting = std::vector<SceneRoute*>;
    std::map<std::pair<SceneNode*, std::string_view>, Waiting> byEnd;
    auto const atEnds = [&byEnd](SceneRoute const& route) {
        return std::array{&byEnd[{route.from, baseName(route.fromField)}], &byEnd[{route.to, baseName(route.toField)}]};
    };
    for (SceneRoute* const route : _untyped)
        for (Waiting* const end : atEnds(*route))
            end->push_back(route);
    std::unordered_set<SceneRoute*> open(_untyped.begin(), _untyped.end());
    std::deque<SceneRoute*> next(_untyped.begin(), _untyped.end());
    for (; !next.empty(); next.pop_front()) {
        SceneRoute* const route = next.front();
        _untyped.clear();
        if (!open.contains(route) || (connect(*route), !_untyped.empty()))
            continue;
        open.erase(route);
        for (Waiting* const end : atEnds(*route))
            for (SceneRoute* const other : std::exchange(*end, {}))
                next.push_back(other);
    }
}

} // namespace Zelvan::play
