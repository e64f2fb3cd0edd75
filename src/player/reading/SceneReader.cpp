#include "player/reading/SceneReader.h"

#include "base/NodeProc.h"
#include "base/NodeType.h"
#include "player/scene/SceneParts.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <map>
#include <pugixml.hpp>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Zelvan::play {

namespace fs = std::filesystem;

namespace {

// Reading them as numbers takes about as long as passing over an element.
constexpr std::size_t bytesForATenth = 16;

bool isElement(pugi::xml_node const& node)
{
    return node.type() == pugi::node_element;
}

// The strings of an MFString: "a" "b", or one without quotes.
std::vector<std::string> quotedStrings(std::string_view text)
{
    std::vector<std::string> strings;
    for (auto at = text.find('"'); at != std::string_view::npos; at = text.find('"', at)) {
        std::string string;
        for (++at; at < text.size() && text[at] != '"'; ++at) {
            if (text[at] == '\\' && at + 1 < text.size())
                ++at;
            string += text[at];
        }
        strings.push_back(std::move(string));
        at = std::min(at + 1, text.size());
    }
    if (strings.empty() && !text.empty())
        strings.emplace_back(text);
    return strings;
}

fs::path canonicalPath(fs::path const& path, std::error_code& error)
{
    fs::path canonical = fs::weakly_canonical(fs::absolute(path, error), error);
    if (error == std::errc::not_enough_memory)
        throw std::bad_alloc();
    return canonical;
}

// A few names for a message: "key, keyValue, set_fraction".
std::string fieldNames(Node const& node, unsigned access)
{
    std::string names;
    for (Field const* const field : node.fields())
        if (field != nullptr && (field->type() & access) != 0)
            names += (names.empty() ? "" : ", ") + std::string(field->findName());
    return names;
}

} // namespace

class SceneReader {
public:
    SceneReader(Scene& scene, ReadLimits const& limits, Diagnostics& diagnostics)
        : _scene(scene), _limits(limits), _diagnostics(diagnostics)
    {
    }
    void read(std::string const& path);

private:
    struct Scope;
    struct File {
        explicit File(SourceFile&& read) : source(std::move(read)) {}
        SourceFile source;
        pugi::xml_document document;
        std::uint32_t number = 0;
        fs::path folder;
        Scope* declared = nullptr; ///< its PROTOs, for those who know the file as an EXTERNPROTO
        pugi::xml_node firstProto;
        bool wasRead = false;
    };
    struct Instance;
    /// What a DEF name stands for: a node, or a PROTO instance.
    struct Target {
        SceneNode* node = nullptr;
        Instance* instance = nullptr;
        explicit operator bool() const { return node != nullptr || instance != nullptr; }
    };
    struct InterfaceField {
        char const* value = nullptr; ///< null when neither the instance nor the declaration has one
        Location where;
        std::vector<std::pair<Target, std::string>> connections; ///< the fields it IS, in the body
    };
    struct Instance {
        std::string name;
        std::unordered_map<std::string, InterfaceField> fields;
    };
    struct Proto {
        pugi::xml_node declaration; ///< null for an EXTERNPROTO whose file was not found
        File* file;
        Scope* scope;
    };
    /// The names of a file, or of the body of one PROTO instance.
    struct Scope {
        Scope* outer = nullptr; ///< where PROTO names are looked for next
        std::string prefix;
        std::unordered_map<std::string, Target> names;
        std::unordered_map<std::string, Proto> protos;
        std::unordered_map<std::string, std::string> exports; ///< local names by the names they go out under
        std::unordered_map<std::string, Scope*> inlines;
        std::vector<std::pair<pugi::xml_node, File*>> routes, imports;
    };
    using End = std::pair<SceneNode*, std::string>;

    // Where things are.
    Location locate(pugi::xml_node const& element, File const& file) const;
    Location locate(pugi::xml_attribute const& attribute, pugi::xml_node const& element, File const& file) const;
    void warn(Location where, char const* kind, std::string const& message);
    void requireShort(std::string_view name, char const* what, Location where) const;
    /// An attribute that holds a name; empty when there is none.
    std::string nameIn(pugi::xml_node const& element, char const* attribute, File const& file) const;
    /// A name as messages have it, with those of the PROTO instances and inlined files around it.
    static std::string qualified(Scope const& scope, std::string const& name);

    void requireRoomForFile(std::string const& path) const;
    File& load(std::string const& path);
    /// The file that a local URL means, in the folder of the scene; null, with a message, when there is none.
    File* loadLocal(std::string const& urls, File const& from, Location where, char const* kind, std::string* fragment);
    /// The same for one URL, the first time it is met in `from`.
    File* loadOnce(std::string url, File const& from, std::string& why);
    void readFile(File& file, Scope& scope);
    void walk(pugi::xml_node const& parent, Scope& scope, Instance* instance, File& file);
    void readElement(pugi::xml_node const& element, Scope& scope, Instance* instance, File& file);
    Target readNode(pugi::xml_node const& element, Scope& scope, Instance* instance, File& file);
    void readInline(pugi::xml_node const& element, Scope& scope, File& file);
    void declareProto(pugi::xml_node const& element, Scope& scope, File& file);
    void declareExternProto(pugi::xml_node const& element, Scope& scope, File& file);
    Proto* findProto(Scope& scope, std::string const& name) const;
    Target readInstance(pugi::xml_node const& element, Scope& scope, Instance* outer, File& file);
    void connectParts(pugi::xml_node const& element, Target target, Instance* instance, File& file);
    void addScriptFields(pugi::xml_node const& element, SceneNode& node, File const& file);

    void spend(std::size_t tenths, Location where);
    void spendOn(pugi::xml_node const& element, File const& file, unsigned tenths);
    SceneNode& addNode(pugi::xml_node const& element, Scope const& scope, File const& file);
    void define(std::string const& name, Target target, Scope& scope, Location where);
    void setField(SceneNode& node, Field& field, char const* text, Location where);
    void setAttributes(pugi::xml_node const& element, SceneNode& node, File const& file);

    void resolve(Scope& scope);
    void ends(Target target, std::string const& field, Node::FieldSearchOrder order, std::vector<End>& found,
              unsigned depth, Location where);
    void connect(SceneRoute& route);
    void connectUnknowns();

    struct Deeper {
        explicit Deeper(SceneReader& reader, Location where);
        ~Deeper() { --_reader._depth; }
        SceneReader& _reader;
    };

    Scene& _scene;
    ReadLimits const& _limits;
    Diagnostics& _diagnostics;
    std::vector<std::unique_ptr<File>> _files;
    std::unordered_map<std::string, File*> _filesByPath;
    std::unordered_map<std::string, std::string> _unreadable; ///< why, by path: tried once, under whatever name
    std::map<std::pair<File const*, std::string>, std::pair<File*, std::string>> _byUrl; ///< what a file's URLs led to, or why not
    std::deque<Scope> _scopes;
    std::deque<Instance> _instances;
    std::vector<pugi::xml_node> _expanding; ///< PROTO declarations being expanded
    std::vector<File*> _inlining;
    std::vector<SceneRoute*> _untyped;      ///< routes between nodes without classes
    unsigned _depth = 0;
    unsigned _inlineCount = 0;
    unsigned _again = 0;                    ///< above 0 in the body of a PROTO, and in a file that was read before
    std::size_t _spent = 0;
    fs::path _root;                         ///< folder that nothing is read outside of
};

SceneReader::Deeper::Deeper(SceneReader& reader, Location where) : _reader(reader)
{
    if (_reader._depth >= _reader._limits.depth)
        throw Failure(exitScene, _reader._scene.place(where).text() + ": error: nested deeper than "
                                     + std::to_string(_reader._limits.depth) + " elements (--max-depth raises the limit)");
    ++_reader._depth;
}

Location SceneReader::locate(pugi::xml_node const& element, File const& file) const
{
    std::ptrdiff_t const offset = element.offset_debug();
    return {file.number, offset > 0 ? static_cast<std::uint32_t>(offset) - 1 : 0}; // the "<" before the name
}

Location SceneReader::locate(pugi::xml_attribute const& attribute, pugi::xml_node const& element, File const& file) const
{
    // Values are kept where the text had them; an empty one is not kept at all.
    auto& source = const_cast<SourceFile&>(file.source);
    std::ptrdiff_t const offset = attribute.value() - source.data();
    if (offset > 0 && offset < static_cast<std::ptrdiff_t>(source.size()))
        return {file.number, static_cast<std::uint32_t>(offset)};
    return locate(element, file);
}

void SceneReader::warn(Location where, char const* kind, std::string const& message)
{
    _diagnostics.warning(_scene.place(where), kind, message);
}

// One long name can end up in any number of others, and in any number of messages.
void SceneReader::requireShort(std::string_view name, char const* what, Location where) const
{
    constexpr std::size_t longest = 1000;
    if (name.size() > longest)
        throw Failure(exitScene, _scene.place(where).text() + ": error: " + what + " is longer than "
                                     + std::to_string(longest) + " characters");
}

std::string SceneReader::nameIn(pugi::xml_node const& element, char const* attribute, File const& file) const
{
    std::string name = element.attribute(attribute).value();
    requireShort(name, attribute, locate(element.attribute(attribute), element, file));
    return name;
}

std::string SceneReader::qualified(Scope const& scope, std::string const& name)
{
    constexpr std::size_t longest = 500;
    std::string const& prefix = scope.prefix;
    if (prefix.size() <= longest)
        return prefix + name;
    return ".../" + prefix.substr(prefix.find('/', prefix.size() - longest) + 1) + name;
}

void SceneReader::requireRoomForFile(std::string const& path) const
{
    if (_scene.fileNames.size() >= _limits.files)
        throw Failure(exitScene, path + ": more than " + std::to_string(_limits.files)
                                     + " files in one scene (--max-files raises the limit)");
}

SceneReader::File& SceneReader::load(std::string const& path)
{
    auto file = std::make_unique<File>(SourceFile(path, _limits));
    // The tree of a document takes many times its text.
    std::string_view const text(file->source.data(), file->source.size());
    for (auto const& [mark, perElement, what] : {std::tuple{'<', 2, " elements"}, {'\n', 8, " lines"}})
        if (std::size_t const most = std::size_t(_limits.elements) * perElement; std::size_t(std::ranges::count(text, mark)) > most)
            throw Failure(exitScene, path + ": error: more than " + std::to_string(mark == '<' ? _limits.elements : most) + what
                                         + " (--max-elements raises the limit)");
    file->number = static_cast<std::uint32_t>(_scene.fileNames.size());
    file->folder = path == "-" ? fs::path() : fs::path(path).parent_path();
    _scene.fileNames.push_back(file->source.name());
    _scene._lines.push_back(std::make_unique<Scene::Lines>(Scene::Lines{file->source.lineStarts()}));
    pugi::xml_parse_result const result = file->document.load_buffer_inplace(
        file->source.data(), file->source.size(), pugi::parse_default, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory)
        throw std::bad_alloc();
    if (!result) {
        Location const where{file->number, static_cast<std::uint32_t>(std::max<std::ptrdiff_t>(result.offset, 0))};
        throw Failure(exitScene, _scene.place(where).text() + ": error: not well-formed XML: " + result.description());
    }
    _files.push_back(std::move(file));
    return *_files.back();
}

SceneReader::File* SceneReader::loadLocal(std::string const& urls, File const& from, Location where, char const* kind,
                                          std::string* fragment)
{
    std::string why = "has no url";
    for (std::string url : quotedStrings(urls)) {
        if (auto const hash = url.find('#'); hash != std::string::npos) {
            if (fragment != nullptr)
                *fragment = url.substr(hash + 1);
            url.resize(hash);
        }
        // Asking the file system takes long; a scene names few files, but may name them often.
        auto const [known, isNew] = _byUrl.try_emplace({&from, url});
        if (isNew && _byUrl.size() > 10 * std::size_t(_limits.files))
            throw Failure(exitScene, _scene.place(where).text() + ": error: more than " + std::to_string(_byUrl.size() - 1)
                                         + " urls (--max-files raises the limit)");
        auto& [file, reason] = known->second;
        if (isNew)
            file = loadOnce(url, from, reason);
        if (file != nullptr)
            return file;
        why = reason;
    }
    warn(where, kind, why);
    return nullptr;
}

SceneReader::File* SceneReader::loadOnce(std::string url, File const& from, std::string& why)
{
    constexpr std::size_t longest = 1000;
    constexpr std::ptrdiff_t deepest = 64;
    auto const refuse = [&why](std::string const& reason) {
        why = reason;
        return nullptr;
    };
    if (url.starts_with("file://"))
        url.erase(0, 7);
    else if (url.find("://") != std::string::npos || url.starts_with("urn:"))
        return refuse('"' + url + "\" is not a local file, and nothing is fetched");
    if (url.size() > longest || std::ranges::count(url, '/') > deepest)
        return refuse('"' + url.substr(0, 40) + "...\" is longer than a file's name");
    std::error_code error;
    fs::path const path = canonicalPath(url.empty() ? fs::path(from.source.path()) : from.folder / url, error);
    auto const inside = path.lexically_relative(_root);
    if (!url.empty() && (error || inside.empty() || *inside.begin() == ".."))
        return refuse('"' + url + "\" lies outside the scene's folder");
    // Reading from a pipe would wait for a writer.
    if (fs::file_status const status = fs::status(path, error); fs::exists(status) && !fs::is_regular_file(status))
        return refuse('"' + url + "\" is not a file");
    if (auto const known = _filesByPath.find(path.string()); known != _filesByPath.end())
        return known->second;
    if (auto const unreadable = _unreadable.find(path.string()); unreadable != _unreadable.end())
        return refuse(unreadable->second);
    // Shown as the author would name it: relative to where the program was started.
    std::string const shown = url.empty() ? path.string() : (from.folder / url).lexically_normal().string();
    requireRoomForFile(shown);
    try {
        File& file = load(shown);
        return _filesByPath[path.string()] = &file;
    } catch (Failure const& failure) {
        return refuse(_unreadable[path.string()] = failure.what());
    }
}

void SceneReader::read(std::string const& path)
{
    std::error_code error;
    fs::path const whole = canonicalPath(path, error);
    _root = whole.parent_path();
    requireRoomForFile(path);
    File& file = load(path);
    _filesByPath[whole.string()] = &file;
    pugi::xml_node const root = file.document.document_element();
    if (std::string_view(root.name()) != "X3D" && std::string_view(root.name()) != "Scene")
        throw Failure(exitScene, _scene.place(locate(root, file)).text() + ": error: expected an X3D scene, found <"
                                     + root.name() + '>');
    _inlining.push_back(&file);
    readFile(file, _scopes.emplace_back());
    connectUnknowns();
}

void SceneReader::readFile(File& file, Scope& scope)
{
    pugi::xml_node const root = file.document.document_element();
    walk(std::string_view(root.name()) == "X3D" ? root : file.document, scope, nullptr, file);
    resolve(scope);
}

void SceneReader::walk(pugi::xml_node const& parent, Scope& scope, Instance* instance, File& file)
{
    pugi::xml_node child = parent.first_child();
    if (!child)
        return;
    Deeper const deeper(*this, locate(parent, file));
    for (; child; child = child.next_sibling())
        if (isElement(child))
            readElement(child, scope, instance, file);
}

void SceneReader::readElement(pugi::xml_node const& element, Scope& scope, Instance* instance, File& file)
{
    std::string_view const name = element.name();
    bool const isKept = name == "ROUTE" || name == "IMPORT" || name == "EXPORT" || name.ends_with("ProtoDeclare");
    spendOn(element, file, isKept ? 10 : 1);
    if (name == "ROUTE")
        scope.routes.emplace_back(element, &file);
    else if (name == "ProtoDeclare")
        declareProto(element, scope, file);
    else if (name == "ExternProtoDeclare")
        declareExternProto(element, scope, file);
    else if (name == "ProtoInstance")
        readInstance(element, scope, instance, file);
    else if (name == "IMPORT")
        scope.imports.emplace_back(element, &file);
    else if (name == "EXPORT") {
        std::string const local = nameIn(element, "localDEF", file), as = nameIn(element, "AS", file);
        scope.exports[as.empty() ? local : as] = local;
    } else if (name == "Scene" || name == "field" || name == "fieldValue")
        walk(element, scope, instance, file);
    else if (name != "head" && name != "IS" && !name.starts_with("Metadata"))
        readNode(element, scope, instance, file);
}

// A few lines of PROTO, or of a file that is inlined again and again, can stand for any amount of anything. What takes
// memory costs as much as ten elements that are passed over.
void SceneReader::spend(std::size_t tenths, Location where)
{
    _spent += tenths;
    if (_spent / 10 > _limits.expanded)
        throw Failure(exitScene, _scene.place(where).text() + ": error: PROTOs and repeated Inlines stand for more than "
                                     + std::to_string(_limits.expanded) + " nodes (--max-expanded raises the limit)");
}

void SceneReader::spendOn(pugi::xml_node const& element, File const& file, unsigned tenths)
{
    if (_again == 0)
        return;
    std::size_t sum = tenths + std::strlen(element.name()) / bytesForATenth;
    for (pugi::xml_attribute const& attribute : element.attributes())
        sum += 2 + (std::strlen(attribute.name()) + std::strlen(attribute.value())) / bytesForATenth;
    spend(sum, locate(element, file));
}

SceneNode& SceneReader::addNode(pugi::xml_node const& element, Scope const& scope, File const& file)
{
    if (_scene.sceneNodes.size() >= _limits.nodes)
        throw Failure(exitScene, _scene.place(locate(element, file)).text() + ": error: more than "
                                     + std::to_string(_limits.nodes) + " nodes (--max-nodes raises the limit)");
    spend((_again > 0 ? 10 : 0) + scope.prefix.size() / bytesForATenth, locate(element, file));
    SceneNode& node = _scene.sceneNodes.emplace_back();
    std::string const def = nameIn(element, "DEF", file);
    node.named = !def.empty();
    node.typeName = element.name();
    requireShort(node.typeName, "a node type", locate(element, file));
    node.name = qualified(scope, node.named ? def : node.typeName + '#' + std::to_string(_scene.sceneNodes.size()));
    node.where = locate(element, file);
    return node;
}

void SceneReader::define(std::string const& name, Target target, Scope& scope, Location where)
{
    if (name.empty())
        return;
    Target& defined = scope.names[name];
    if (defined)
        warn(where, kinds::duplicateDef, "DEF \"" + name + "\" is taken already; the last one counts");
    defined = target;
}

SceneReader::Target SceneReader::readNode(pugi::xml_node const& element, Scope& scope, Instance* instance, File& file)
{
    std::string const name = element.name();
    if (element.attribute("USE")) {
        std::string const wanted = nameIn(element, "USE", file);
        auto const found = scope.names.find(wanted);
        if (found != scope.names.end())
            return found->second;
        warn(locate(element, file), kinds::unknownUse,
             "USE \"" + wanted + "\": no node before this one has that DEF name");
        return {};
    }
    if (name == "Inline")
        readInline(element, scope, file);

    NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), name, searchExact);
    NodeType* const creatable = type ? type->creatableType() : nullptr;
    Target target;
    // A node that nothing can be routed to needs no memory.
    if (creatable != nullptr || element.attribute("DEF") || element.child("IS")) {
        SceneNode& node = addNode(element, scope, file);
        target.node = &node;
        if (creatable != nullptr) {
            node.known = true;
            node.node = creatable->createNodeWithProc(_scene.nodes(), node.named ? node.name.c_str() : nullptr);
            _scene.nodes().add(*node.node);
            setAttributes(element, node, file);
        } else if (name == "Script") {
            addScriptFields(element, node, file);
        }
        define(nameIn(element, "DEF", file), target, scope, node.where);
        connectParts(element, target, instance, file);
    }
    walk(element, scope, instance, file);
    return target;
}

void SceneReader::setField(SceneNode& node, Field& field, char const* text, Location where)
{
    if (field.setAndValidateValueByStr(text, false)) {
        node.attributes.push_back({indexOf(field), where});
        return;
    }
    FieldTextError const& error = Field::textError();
    where.offset += static_cast<std::uint32_t>(error.position);
    _diagnostics.error(_scene.place(where), kinds::badValue,
                       node.name + '.' + field.findName() + " (" + dataTypeName(field.dataType()) + "): expected "
                           + error.expected + ", found \"" + error.found + "\"; the field keeps its default");
}

void SceneReader::setAttributes(pugi::xml_node const& element, SceneNode& node, File const& file)
{
    for (pugi::xml_attribute const& attribute : element.attributes()) {
        std::string_view const name = attribute.name();
        if (name == "DEF" || name == "USE" || name == "containerField" || name == "class" || name == "id"
            || name == "style" || name.starts_with("xml") || name.starts_with("xsi"))
            continue;
        Field* const field = node.node->findField(std::string(name));
        Location const where = locate(attribute, element, file);
        if (field == nullptr)
            warn(where, kinds::unknownAttribute,
                 node.name + ": a " + node.typeName + " has no field \"" + std::string(name) + "\"; it has "
                     + fieldNames(*node.node, initializeOnly));
        else if ((field->type() & initializeOnly) == 0)
            warn(where, kinds::unknownAttribute,
                 node.name + '.' + std::string(name) + " is " + accessName(field->type())
                     + " and cannot be set in a file");
        else
            setField(node, *field, attribute.value(), where);
    }
}

void SceneReader::addScriptFields(pugi::xml_node const& element, SceneNode& node, File const& file)
{
    for (pugi::xml_node const& field : element.children("field")) {
        spendOn(field, file, 10);
        if (NodePartDataType const type = dataTypeCode(field.attribute("type").value()); type != 0)
            _scene.fieldOfUnknown(node, nameIn(field, "name", file), type);
    }
}

void SceneReader::readInline(pugi::xml_node const& element, Scope& scope, File& file)
{
    Location const where = locate(element, file);
    if (std::string_view(element.attribute("load").value()) == "false")
        return;
    File* const inlined = loadLocal(element.attribute("url").value(), file, where, kinds::badInline, nullptr);
    if (inlined == nullptr)
        return;
    if (std::find(_inlining.begin(), _inlining.end(), inlined) != _inlining.end())
        return warn(where, kinds::badInline, '"' + inlined->source.name() + "\" inlines itself");
    // One file may be inlined many times; each counts.
    if (++_inlineCount >= _limits.files)
        throw Failure(exitScene, _scene.place(where).text() + ": error: more than " + std::to_string(_limits.files)
                                     + " files in one scene (--max-files raises the limit)");
    std::string const def = nameIn(element, "DEF", file);
    Scope& inner = _scopes.emplace_back();
    inner.prefix = qualified(scope, (def.empty() ? "Inline#" + std::to_string(_scopes.size()) : def) + '/');
    if (!def.empty())
        scope.inlines[def] = &inner;
    Deeper const deeper(*this, where);
    bool const again = std::exchange(inlined->wasRead, true);
    _again += again;
    _inlining.push_back(inlined);
    readFile(*inlined, inner);
    _inlining.pop_back();
    _again -= again;
}

void SceneReader::declareProto(pugi::xml_node const& element, Scope& scope, File& file)
{
    scope.protos[nameIn(element, "name", file)] = {element, &file, &scope};
}

void SceneReader::declareExternProto(pugi::xml_node const& element, Scope& scope, File& file)
{
    std::string const name = nameIn(element, "name", file);
    std::string fragment;
    Proto& proto = scope.protos[name] = {{}, &file, &scope};
    File* const other = loadLocal(element.attribute("url").value(), file, locate(element, file), kinds::badProto, &fragment);
    if (other == nullptr)
        return;
    if (other->declared == nullptr) {
        // The other file's own declarations are what the body may use.
        other->declared = &_scopes.emplace_back();
        pugi::xml_node const root = other->document.document_element();
        pugi::xml_node const scene = std::string_view(root.name()) == "X3D" ? root.child("Scene") : root;
        other->firstProto = scene.child("ProtoDeclare");
        for (pugi::xml_node const& child : scene.children("ProtoDeclare"))
            declareProto(child, *other->declared, *other);
    }
    auto const& declared = other->declared->protos;
    if (fragment.empty())
        proto = {other->firstProto, other, other->declared};
    else if (auto const found = declared.find(fragment); found != declared.end())
        proto = found->second;
    if (!proto.declaration)
        warn(locate(element, file), kinds::badProto,
             '"' + other->source.name() + "\" declares no PROTO \"" + (fragment.empty() ? name : fragment) + '"');
}

SceneReader::Proto* SceneReader::findProto(Scope& scope, std::string const& name) const
{
    for (Scope* at = &scope; at != nullptr; at = at->outer)
        if (auto const found = at->protos.find(name); found != at->protos.end())
            return &found->second;
    return nullptr;
}

SceneReader::Target SceneReader::readInstance(pugi::xml_node const& element, Scope& scope, Instance* outer, File& file)
{
    if (element.attribute("USE"))
        return readNode(element, scope, outer, file);
    std::string const protoName = nameIn(element, "name", file), def = nameIn(element, "DEF", file);
    Location const where = locate(element, file);
    Proto const* const proto = findProto(scope, protoName);
    if (proto == nullptr || !proto->declaration) {
        if (proto == nullptr)
            warn(where, kinds::badProto, "no PROTO is named \"" + protoName + '"');
        // Kept as a node that takes any event.
        Target const target{&addNode(element, scope, file)};
        define(def, target, scope, where);
        walk(element, scope, outer, file);
        return target;
    }
    if (std::find(_expanding.begin(), _expanding.end(), proto->declaration) != _expanding.end()) {
        _diagnostics.error(_scene.place(where), kinds::badProto, "PROTO \"" + protoName + "\" contains itself");
        return {};
    }

    Deeper const deeper(*this, where);
    spend(10, where);
    Instance& instance = _instances.emplace_back();
    instance.name = qualified(scope, def.empty() ? protoName + '#' + std::to_string(_instances.size()) : def);
    define(def, {nullptr, &instance}, scope, where);

    Scope body;
    body.outer = proto->scope;
    body.prefix = instance.name + '/';
    std::vector<pugi::xml_node> defaults;
    std::unordered_set<std::string_view> given;
    for (pugi::xml_node const& value : element.children("fieldValue"))
        given.insert(value.attribute("name").value());
    for (pugi::xml_node const& field : proto->declaration.child("ProtoInterface").children("field")) {
        std::string const name = nameIn(field, "name", *proto->file);
        spend(2 + name.size() / bytesForATenth, where);
        InterfaceField& added = instance.fields[name];
        if (pugi::xml_attribute const value = field.attribute("value")) {
            added.value = value.value();
            added.where = locate(value, field, *proto->file);
        }
        if (!given.contains(name))
            defaults.push_back(field);
    }
    for (pugi::xml_node const& part : element.children("fieldValue")) {
        std::string const name = nameIn(part, "name", file);
        auto const found = instance.fields.find(name);
        if (found == instance.fields.end()) {
            warn(locate(part, file), kinds::badProto, "PROTO \"" + protoName + "\" has no field \"" + name + '"');
        } else if (pugi::xml_attribute const value = part.attribute("value")) {
            found->second.value = value.value();
            found->second.where = locate(value, part, file);
        }
    }
    connectParts(element, {nullptr, &instance}, outer, file);
    walk(element, scope, outer, file); // the nodes given to fields belong to where the instance stands

    ++_again;
    _expanding.push_back(proto->declaration);
    for (pugi::xml_node const& field : defaults)
        walk(field, body, &instance, *proto->file);
    walk(proto->declaration.child("ProtoBody"), body, &instance, *proto->file);
    resolve(body);
    _expanding.pop_back();
    --_again;
    return {nullptr, &instance};
}

void SceneReader::connectParts(pugi::xml_node const& element, Target target, Instance* instance, File& file)
{
    for (pugi::xml_node const& connect : element.child("IS").children("connect")) {
        spendOn(connect, file, 5);
        std::string const nodeField = nameIn(connect, "nodeField", file);
        std::string const protoField = nameIn(connect, "protoField", file);
        auto const found = instance ? instance->fields.find(protoField) : decltype(instance->fields.end()){};
        if (instance == nullptr || found == instance->fields.end()) {
            warn(locate(connect, file), kinds::badProto,
                 instance ? "IS: the PROTO has no field \"" + protoField + '"' : "IS stands outside a PROTO's body");
            continue;
        }
        InterfaceField& outer = found->second;
        outer.connections.emplace_back(target, nodeField);
        if (target.instance != nullptr) {
            auto const inner = target.instance->fields.find(nodeField);
            if (inner == target.instance->fields.end())
                warn(locate(connect, file), kinds::badProto, "IS: the instance has no field \"" + nodeField + '"');
            else if (outer.value != nullptr) {
                inner->second.value = outer.value;
                inner->second.where = outer.where;
            }
        } else if (target.node->known) {
            Field* const field = _scene.field(*target.node, nodeField, Node::asInput);
            if (field == nullptr)
                warn(locate(connect, file), kinds::badProto,
                     "IS: a " + target.node->typeName + " has no field \"" + nodeField + '"');
            else if (outer.value != nullptr && (field->type() & initializeOnly) != 0) {
                spend(std::strlen(outer.value) / bytesForATenth, outer.where);
                setField(*target.node, *field, outer.value, outer.where);
            }
        }
    }
}

void SceneReader::ends(Target target, std::string const& field, Node::FieldSearchOrder order, std::vector<End>& found,
                       unsigned depth, Location where)
{
    if (target.node != nullptr) {
        found.emplace_back(target.node, field);
        return;
    }
    if (target.instance == nullptr || depth > _limits.depth)
        return;
    auto const& fields = target.instance->fields;
    // The same freedom as for nodes: "open", "set_open" and "open_changed" may mean one field.
    std::string const affix = order == Node::asInput ? "set_" : "_changed";
    auto at = fields.find(field);
    if (at == fields.end())
        at = fields.find(order == Node::asInput ? affix + field : field + affix);
    if (at == fields.end() && order == Node::asInput && field.starts_with(affix))
        at = fields.find(field.substr(affix.size()));
    if (at == fields.end() && order == Node::asOutput && field.ends_with(affix))
        at = fields.find(field.substr(0, field.size() - affix.size()));
    if (at == fields.end())
        return;
    for (auto const& [part, partField] : at->second.connections) {
        spend(10, where);
        ends(part, partField, order, found, depth + 1, where);
    }
}

void SceneReader::resolve(Scope& scope)
{
    for (auto const& [import, file] : scope.imports) {
        std::string const from = nameIn(import, "inlineDEF", *file);
        std::string name = nameIn(import, "importedDEF", *file);
        if (name.empty())
            name = nameIn(import, "exportedDEF", *file);
        std::string as = nameIn(import, "AS", *file);
        if (as.empty())
            as = name;
        Target target;
        if (auto const inner = scope.inlines.find(from); inner != scope.inlines.end()) {
            auto const exported = inner->second->exports.find(name);
            auto const node = inner->second->names.find(exported != inner->second->exports.end() ? exported->second : name);
            if (node != inner->second->names.end())
                target = node->second;
            else
                warn(locate(import, *file), kinds::badInline, "IMPORT: \"" + from + "\" has no node \"" + name + '"');
        }
        // What was not read is kept as a node that takes any event.
        if (!target) {
            target.node = &addNode(import, scope, *file);
            target.node->name = qualified(scope, as);
            target.node->named = true;
        }
        scope.names[as] = target;
    }
    for (auto const& [element, file] : scope.routes) {
        Location const where = locate(element, *file);
        std::string const names[2] = {nameIn(element, "fromNode", *file), nameIn(element, "toNode", *file)};
        std::string const fields[2] = {nameIn(element, "fromField", *file), nameIn(element, "toField", *file)};
        auto const refuse = [&](std::string const& why) {
            warn(where, kinds::badRoute,
                 "ROUTE " + names[0] + '.' + fields[0] + " TO " + names[1] + '.' + fields[1] + ": " + why);
        };
        std::vector<End> found[2];
        bool bad = false;
        for (int end = 0; end < 2 && !bad; ++end) {
            auto const target = scope.names.find(names[end]);
            bad = target == scope.names.end();
            if (bad) {
                refuse("no node has the DEF name \"" + names[end] + '"');
                break;
            }
            ends(target->second, fields[end], end == 0 ? Node::asOutput : Node::asInput, found[end], 0, where);
            bad = found[end].empty();
            if (bad)
                refuse("the PROTO instance \"" + names[end] + "\" has no such field, or it IS nothing");
        }
        if (bad)
            continue;
        bool first = true;
        for (End const& from : found[0])
            for (End const& to : found[1]) {
                spend(std::exchange(first, false) ? 0 : 10 + (from.second.size() + to.second.size()) / bytesForATenth, where);
                connect(_scene.routes.emplace_back(SceneRoute{from.first, from.second, to.first, to.second, where, nullptr}));
            }
    }
}

void SceneReader::connect(SceneRoute& route)
{
    auto const text = [&route] {
        return "ROUTE " + route.from->name + '.' + route.fromField + " TO " + route.to->name + '.' + route.toField + ": ";
    };
    auto const known = [&](SceneNode& node, std::string const& name, Node::FieldSearchOrder order) {
        Field* const field = _scene.field(node, name, order);
        if (field == nullptr)
            warn(route.where, kinds::badRoute,
                 text() + "a " + node.typeName + " has no field \"" + name + "\"; it has "
                     + fieldNames(*node.node, order == Node::asInput ? inputOnly : outputOnly));
        return field;
    };
    Field* from = nullptr;
    Field* to = nullptr;
    if (route.from->known && (from = known(*route.from, route.fromField, Node::asOutput)) == nullptr)
        return;
    if (route.to->known && (to = known(*route.to, route.toField, Node::asInput)) == nullptr)
        return;
    if (from == nullptr && to == nullptr) {
        // Both ends take any type: another route, now or later, may settle it.
        from = _scene.field(*route.from, route.fromField, Node::asOutput);
        to = _scene.field(*route.to, route.toField, Node::asInput);
        if (from == nullptr && to == nullptr) {
            _untyped.push_back(&route);
            return;
        }
    }
    if (from == nullptr)
        from = _scene.fieldOfUnknown(*route.from, route.fromField, to->dataType());
    if (to == nullptr)
        to = _scene.fieldOfUnknown(*route.to, route.toField, from->dataType());
    std::string error;
    route.route = Route::add(*from, *to, error);
    if (route.route == nullptr)
        warn(route.where, kinds::badRoute, text() + error);
}

// A field whose type has become known settles the routes that wait at it, and these the fields at their other ends.
void SceneReader::connectUnknowns()
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

std::unique_ptr<Scene> readScene(std::string const& file, ReadLimits const& limits, Diagnostics& diagnostics)
{
    auto scene = std::make_unique<Scene>();
    SceneReader(*scene, limits, diagnostics).read(file);
    return scene;
}

} // namespace Zelvan::play
