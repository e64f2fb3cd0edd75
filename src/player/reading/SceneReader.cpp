#include "player/reading/SceneReader.h"

#include "player/reading/Routes.h"
#include "player/reading/Stager.h"

#include <algorithm>
#include <utility>

namespace Zelvan::play {

namespace {

/// Goes through the elements of a scene, from the beginning to the end, into PROTOs and inlined files, and hands each to
/// the part of reading that knows what to do with it.
class SceneReader {
public:
    SceneReader(Scene& scene, ReadLimits const& limits, Diagnostics& diagnostics, Staging* staging, EditedTexts const* edited)
        : _budget(limits, scene),
          _reading{scene, _budget, diagnostics},
          _files(scene, _budget, diagnostics, edited),
          _stager(staging, _files)
    {}
    void read(std::string const& path);

private:
    // A list instead of calls in calls: what a scene nests needs no stack.
    /// Something to go through, and what is to be done when that is through.
    struct Step {
        Element const* next = nullptr; ///< with those that follow it
        Scope* scope = nullptr;
        unsigned depth = 0;
        enum End { no, ofFile, ofArguments, ofBody } end = no;
        Element const* from = nullptr;   ///< of a file: the Inline; of arguments: the ProtoInstance
        Scope* around = nullptr;         ///< of an Inline
        bool again = false;              ///< of a file: it was read before
        Proto proto{};                   ///< of arguments
        Instance* instance = nullptr;    ///< of arguments
        SceneNode* holder = nullptr;     ///< of nodes in a field: the node with the field, which is not run
        InterfaceField* given = nullptr; ///< of nodes in a field of a PROTO instance
        StagePlace place{};              ///< of its nodes; of a body, of its first one
        Element const* parent = nullptr; ///< of what is gone through
    };
    static Step into(Element const& parent, Scope& scope, unsigned depth)
    {
        Step step{parent.firstChild, &scope, depth};
        step.parent = &parent;
        return step;
    }
    void readAll();
    void end(Step const& step);
    void readElement(Element const& element, Scope& scope);
    void readNode(Element const& element, Scope& scope);
    /// `drawn` when it has its place in what is drawn already.
    void readNodeItself(Element const& element, Scope& scope, StagePlace const& place, bool drawn = false);
    /// False when there is nothing to inline.
    bool enterInline(Element const& element, Scope& scope, StagePlace const& place);
    void readInstance(Element const& element, Scope& scope, StagePlace place);
    void readBody(Step const& arguments);
    void enterFile(SceneFile& file, Scope& scope, Step step);
    void enterField(Element const& element, Scope& scope);
    void enterChildren(Element const& element, Scope& scope, StagePlace const& place, SceneNode* holder = nullptr);
    /// Where the node that is being read is drawn.
    StagePlace takePlace();
    /// What holds the element that is being read holds this.
    void hold(Target target, Location where);
    void enter(Step step) { _steps.push_back(step); }

    Budget _budget;
    Reading _reading;
    SceneFiles _files;
    Stager _stager;
    Nodes _nodes{_reading};
    Protos _protos{_reading, _files, _nodes};
    Routes _routes{_reading, _nodes, _protos};
    std::vector<Step> _steps; ///< the next one last
    unsigned _depth = 0;      ///< of the element that is being read, and of the same step:
    Instance* _arguments = nullptr;
    SceneNode* _holder = nullptr;
    InterfaceField* _given = nullptr;
    std::deque<Scope> _bodies;              ///< of the PROTO instances that are being expanded
    std::vector<Element const*> _expanding; ///< their declarations
    std::vector<SceneFile*> _inlining;
};

void SceneReader::read(std::string const& path)
{
    SceneFile& file = _files.openScene(path);
    Element const* const root = file.tree.root();
    if (!root->isNamed("X3D") && !root->isNamed("Scene"))
        throw Failure(exitScene,
                      _reading.scene.place(Location{file.number, root->offset}).text()
                          + ": error: expected an X3D scene, found <" + std::string(root->name()) + '>');
    Step whole{};
    whole.place.parent = Staging::root;
    enterFile(file, _reading.scopes.emplace_back(), whole);
    readAll();
    _routes.connectUntyped();
    _files.giveTexts();
}

void SceneReader::readAll()
{
    while (!_steps.empty()) {
        Step& step = _steps.back();
        if (Element const* const element = step.next) {
            if (step.parent != nullptr)
                _budget.requireDepth(step.depth, locate(*step.parent, *step.scope));
            step.next = element->next;
            _depth = step.depth;
            _arguments = step.end == Step::ofArguments ? step.instance : nullptr;
            _holder = step.holder;
            _given = step.given;
            readElement(*element, *step.scope);
        } else {
            Step const done = step;
            _steps.pop_back();
            end(done);
        }
    }
}

void SceneReader::end(Step const& step)
{
    switch (step.end) {
    case Step::no: return;
    case Step::ofFile:
        _routes.resolve(*step.scope);
        _inlining.pop_back();
        if (step.again)
            _budget.endAgain();
        if (step.from != nullptr) {
            _depth = step.depth - 2; // the file and what is in it are one deeper each
            readNodeItself(*step.from, *step.around, step.place, true);
        }
        return;
    case Step::ofArguments: return readBody(step);
    case Step::ofBody:
        _routes.resolve(*step.scope);
        _bodies.pop_back();
        _expanding.pop_back();
        _budget.endAgain();
        return;
    }
}

void SceneReader::enterFile(SceneFile& file, Scope& scope, Step step)
{
    scope.file = &file;
    _inlining.push_back(&file);
    if (step.again)
        _budget.beginAgain();
    Element const* const root = file.tree.root();
    step.parent = root->isNamed("X3D") ? root : nullptr;
    step.next = step.parent != nullptr ? root->firstChild : root;
    step.scope = &scope;
    step.depth = _depth + 1;
    step.end = Step::ofFile;
    enter(step);
}

void SceneReader::readElement(Element const& element, Scope& scope)
{
    std::string_view const name = element.name();
    bool const isKept = name == "ROUTE" || name == "IMPORT" || name == "EXPORT" || name.ends_with("ProtoDeclare");
    _budget.spendOn(element, locate(element, scope), isKept ? 10 : 1);
    if (name == "ROUTE")
        scope.routes.push_back(&element);
    else if (name == "ProtoDeclare")
        _protos.declare(element, scope);
    else if (name == "ExternProtoDeclare")
        _protos.declareExtern(element, scope);
    else if (name == "IMPORT")
        scope.imports.push_back(&element);
    else if (name == "EXPORT")
        Routes::addExport(_reading, element, scope);
    else if (name == "Scene")
        enterChildren(element, scope, _steps.back().place);
    else if (name == "field" || name == "fieldValue")
        enterField(element, scope);
    else if (name != "head" && name != "IS")
        readNode(element, scope);
}

void SceneReader::enterField(Element const& element, Scope& scope)
{
    Step step = into(element, scope, _depth + 1);
    step.holder = _holder;
    if (_arguments != nullptr)
        if (auto const found = _arguments->fields.find(_reading.nameIn(element, "name", scope));
            found != _arguments->fields.end())
            step.place.given = step.given = &found->second;
    enter(step);
}

void SceneReader::enterChildren(Element const& element, Scope& scope, StagePlace const& place, SceneNode* holder)
{
    Step step = into(element, scope, _depth + 1);
    step.holder = holder;
    step.place = place;
    enter(step);
}

StagePlace SceneReader::takePlace()
{
    Step& step = _steps.back();
    return step.end == Step::ofBody ? std::exchange(step.place, {}) : step.place;
}

void SceneReader::hold(Target target, Location where)
{
    if (target.instance == nullptr && (target.node == nullptr || !target.node->known))
        return;
    if (_holder != nullptr)
        _protos.hold(target, _holder, where);
    if (_given != nullptr)
        _given->nodes.push_back(target);
}

void SceneReader::readNode(Element const& element, Scope& scope)
{
    StagePlace const place = takePlace();
    if (findAttribute(element, "USE") != nullptr) {
        std::string const wanted = _reading.nameIn(element, "USE", scope);
        if (auto const used = scope.names.find(wanted); used != scope.names.end()) {
            hold(used->second, locate(element, scope));
            _stager.use(element, used->second, place);
        } else
            _reading.warn(locate(element, scope), kinds::unknownUse,
                          "USE \"" + wanted + "\": no node before this one "
                              + (scope.instance != nullptr ? "in the PROTO's body " : "") + "has that DEF name"
                              + _reading.meant(wanted, scope.names));
        return;
    }
    if (element.isNamed("ProtoInstance"))
        return readInstance(element, scope, place);
    if (!element.isNamed("Inline") || !enterInline(element, scope, place))
        readNodeItself(element, scope, place);
}

void SceneReader::readNodeItself(Element const& element, Scope& scope, StagePlace const& place, bool drawn)
{
    SceneNode* const node = _nodes.read(element, scope);
    hold({node}, locate(element, scope));
    if (node != nullptr)
        _protos.connect(element, {node}, scope);
    StagePlace const children = drawn ? place : _stager.add(element, node, place, scope);
    if (drawn)
        _stager.stands(node, children);
    enterChildren(element, scope, children, element.isNamed("Script") ? node : nullptr);
}

bool SceneReader::enterInline(Element const& element, Scope& scope, StagePlace const& place)
{
    Location const where = locate(element, scope);
    if (std::string_view const load = attributeValue(element, "load"); load == "false" || load == "FALSE")
        return false;
    auto const [url, from] = _protos.urlOf(element, scope);
    SceneFile* const inlined = _files.find(url, *from, where, kinds::badInline, nullptr);
    if (inlined == nullptr)
        return false;
    if (std::ranges::find(_inlining, inlined) != _inlining.end()) {
        _reading.warn(where, kinds::badInline, '"' + inlined->name + "\" inlines itself");
        return false;
    }
    _budget.addInline(where);
    std::string const def = _reading.nameIn(element, "DEF", scope);
    Scope& inner = _reading.scopes.emplace_back();
    inner.prefix = qualified(scope, (def.empty() ? "Inline#" + std::to_string(_reading.scopes.size()) : def) + '/');
    if (!def.empty())
        scope.inlines[def] = &inner;
    _budget.requireDepth(++_depth, where);
    Step file{};
    file.from = &element;
    file.around = &scope;
    file.place = _stager.addInline(element, place);
    file.again = std::exchange(inlined->wasRead, true);
    enterFile(*inlined, inner, file);
    return true;
}

void SceneReader::readInstance(Element const& element, Scope& scope, StagePlace place)
{
    Location const where = locate(element, scope);
    std::string const name = _reading.nameIn(element, "name", scope), def = _reading.nameIn(element, "DEF", scope);
    Proto const* const proto = _protos.find(scope, name);
    if (proto == nullptr || proto->declaration == nullptr) {
        if (proto == nullptr)
            _reading.warn(where, kinds::badProto, "no PROTO is named \"" + name + '"' + _reading.meant(name, scope.protos));
        // Kept as a node that takes any event.
        SceneNode& node = _nodes.add(element, scope, name);
        node.decides = true;
        if (proto != nullptr && proto->interface != nullptr)
            _nodes.declareInterface(*proto->interface, node, *proto->scope);
        _nodes.define(def, {&node}, scope, where);
        _protos.connect(element, {&node}, scope);
        _stager.leave("the PROTO " + name + " is not known");
        return enterChildren(element, scope, {}, &node);
    }
    if (std::ranges::find(_expanding, proto->declaration) != _expanding.end())
        return _reading.diagnostics.error(_reading.scene.place(where), kinds::badProto,
                                          "PROTO \"" + name + "\" contains itself");
    _budget.requireDepth(++_depth, where);
    Instance& instance = _protos.instantiate(element, *proto, scope);
    hold({nullptr, &instance}, where);
    _protos.connect(element, {nullptr, &instance}, scope);
    instance.first = std::exchange(place.instance, &instance);
    if (std::string_view const field = attributeValue(element, "containerField"); place.field.empty() && !field.empty())
        place.field = field;
    // The nodes given to fields belong to where the instance stands.
    Step step = into(element, scope, _depth + 1);
    step.end = Step::ofArguments;
    step.from = &element;
    step.proto = *proto;
    step.instance = &instance;
    step.place = place;
    enter(step);
}

void SceneReader::readBody(Step const& arguments)
{
    Proto const& proto = arguments.proto;
    _budget.beginAgain();
    _expanding.push_back(proto.declaration);
    Scope& body = _bodies.emplace_back();
    body.file = proto.scope->file;
    body.instance = arguments.instance;
    body.outer = proto.scope;
    body.prefix = body.instance->name + '/';
    Element const* const declared = findChild(*proto.declaration, "ProtoBody");
    Step inner = declared ? into(*declared, body, arguments.depth) : Step{nullptr, &body, arguments.depth};
    inner.end = Step::ofBody;
    inner.place = arguments.place;
    enter(inner);
    auto const defaults = Protos::defaultsOf(*arguments.from, proto);
    for (auto field = defaults.rbegin(); field != defaults.rend(); ++field) {
        Step step = into(**field, body, arguments.depth);
        if (auto const given = body.instance->fields.find(std::string(attributeValue(**field, "name")));
            given != body.instance->fields.end())
            step.place.given = step.given = &given->second;
        enter(step);
    }
}

} // namespace

std::unique_ptr<Scene> readScene(std::string const& file, ReadLimits const& limits, Diagnostics& diagnostics, Staging* staging,
                                 EditedTexts const* edited)
{
    auto scene = std::make_unique<Scene>();
    SceneReader(*scene, limits, diagnostics, staging, edited).read(file);
    return scene;
}

} // namespace Zelvan::play
