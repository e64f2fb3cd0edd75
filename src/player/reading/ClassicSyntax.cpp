#include "player/reading/ClassicSyntax.h"

#include "player/reading/ClassicStatements.h"

#include <algorithm>
#include <cctype>
#include <unordered_map>
#include <vector>

namespace Zelvan::play {

namespace {

using Word = std::string_view;
using Name = ClassicScanner::Name;

struct Access {
    Word x3d, vrml97;
    bool hasValue;
};
constexpr Access accesses[] = {{"initializeOnly", "field", true},
                               {"inputOnly", "eventIn", false},
                               {"outputOnly", "eventOut", false},
                               {"inputOutput", "exposedField", true}};

Access const* findAccess(Word word)
{
    auto const* const found =
        std::ranges::find_if(accesses, [word](Access const& a) { return word == a.x3d || word == a.vrml97; });
    return found == std::end(accesses) ? nullptr : found;
}

/// X3D's name of a field that VRML97 called otherwise.
Word fieldName(Word type, Word field)
{
    constexpr Word renamed[][3] = {
        {"LOD", "level", "children"}, {"Switch", "choice", "children"}, {"Collision", "collide", "enabled"}};
    for (auto const& [ofType, vrml97, x3d] : renamed)
        if (type == ofType && field == vrml97)
            return x3d;
    return field;
}

/// A field that gets a value. Of a node it becomes an attribute, or the container of child elements; others are
/// elements of their own, for a value or for children.
struct Slot {
    Name name;
    bool isElement = false;
};

std::string shown(Name const& name)
{
    return ClassicScanner::shown(name.text);
}

} // namespace

// Goes through the text without recursion: what is open is in _frames.
class ClassicReader {
public:
    ClassicReader(char* text, std::size_t size, ElementTree& tree) : _scanner(text, size, tree), _tree(tree) {}
    void read(Word text);

private:
    enum class In { scene, interface, protoBody, body, nodes };
    struct Frame {
        In in = In::scene;
        std::size_t begin = 0;   ///< of its bracket
        unsigned elements = 0;   ///< that end with it
        Name name{};             ///< of the PROTO, or a body's node type
        Slot field{};            ///< of nodes; in a body the last one that a node was given to without brackets
        bool isSpecial = false;  ///< interface of an EXTERNPROTO, body of an instance
        std::size_t outside = 0; ///< how many of _declared or _connects are older
    };
    struct Connect {
        Name nodeField, protoField;
    };

    void step();
    void leave(unsigned elements);
    void close(unsigned elements);
    void readStatement(Frame const& frame);
    bool readKeyword(Word word, std::size_t at);
    bool readHead();
    void enterScene();
    void readNode(Word word, std::size_t at, Slot const& field);
    void openNode(Word word, std::size_t at, Slot const& field, unsigned elements);
    void addContainer(Slot const& field);
    void readBodyItem(Frame const& frame);
    void leaveBody(Frame const& frame);
    void readNextNode(Word word, std::size_t at, Frame const& frame);
    void openFieldValue(Name const& field);
    bool passStray();
    void readValue(Slot const& field);
    bool readConnection(Name const& field);
    void readProto(Word word, std::size_t at);
    void readDeclaration(Access const& access, std::size_t at, Frame const& frame);
    void leaveInterface(Frame const& frame);
    void declare(Name const& proto);

    /// Where what is next begins.
    std::size_t ahead()
    {
        _scanner.peek();
        return _scanner.offset();
    }

    ClassicScanner _scanner;
    ElementTree& _tree;
    ClassicStatements _statements{_scanner, _tree};
    std::vector<Frame> _frames;
    std::vector<Connect> _connects;             ///< of the open bodies
    std::vector<Word> _declared;                ///< PROTOs, as far as they can be seen
    std::unordered_map<Word, unsigned> _protos; ///< how often each stands in _declared
    Name _profile;
    bool _inHead = false, _inScene = false;
};

void ClassicReader::read(Word text)
{
    _tree.open("X3D", 0);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (Word const header = classicHeader(text); !header.empty() && header.data() != text.data())
        _scanner.excuse("the line " + ClassicScanner::shown(header) + " is not the first one", _scanner.offsetOf(header));
    _frames.emplace_back();
    while (!_frames.empty())
        step();
    enterScene();
    _tree.close();
    if (!_profile.text.empty())
        _scanner.attribute("profile", _profile);
    _tree.close();
}

void ClassicReader::step()
{
    Frame const frame = _frames.back();
    switch (frame.in) {
    case In::scene:
        if (_scanner.atEnd())
            return leave(0);
        if (readHead())
            return;
        enterScene();
        return readStatement(frame);
    case In::interface:
        if (_scanner.take(']'))
            return leaveInterface(frame);
        if (Access const* const access = findAccess(_scanner.wordAhead()))
            return readDeclaration(*access, _scanner.offsetOf(_scanner.word()), frame);
        _scanner.refuse("the access of a field or \"]\"", frame.begin);
    case In::protoBody:
        if (!_scanner.take('}'))
            return readStatement(frame);
        for (; _declared.size() > frame.outside; _declared.pop_back())
            if (auto const inner = _protos.find(_declared.back()); --inner->second == 0)
                _protos.erase(inner);
        declare(frame.name);
        return leave(frame.elements);
    case In::body: return _scanner.take('}') ? leaveBody(frame) : readBodyItem(frame);
    case In::nodes: return _scanner.take(']') ? leave(frame.elements) : readStatement(frame);
    }
}

void ClassicReader::leave(unsigned elements)
{
    _frames.pop_back();
    close(elements);
}

void ClassicReader::close(unsigned elements)
{
    for (; elements > 0; --elements)
        _tree.close();
}

void ClassicReader::readStatement(Frame const& frame)
{
    Word word = _scanner.word();
    std::size_t const at = _scanner.offsetOf(word);
    word = _scanner.keyword(word);
    if (word.empty() && frame.in == In::scene && passStray())
        return;
    if (word.empty() && frame.in == In::scene)
        _scanner.refuse("a node or a statement");
    if (word.empty())
        _scanner.refuse(frame.in == In::nodes ? "a node or \"]\"" : "a node or \"}\"", frame.begin);
    if (!readKeyword(word, at))
        readNode(word, at, frame.field);
}

bool ClassicReader::readKeyword(Word word, std::size_t at)
{
    if (word != "PROTO" && word != "EXTERNPROTO")
        return _statements.read(word, at);
    readProto(word, at);
    return true;
}

// What XML has in its head. Behind the first node it stays where it is.
bool ClassicReader::readHead()
{
    Word const word = _scanner.wordAhead();
    if (word == "PROFILE") {
        _scanner.word();
        _profile = _scanner.name("the name of a profile");
        return true;
    }
    if (!_statements.readHead(word, !_inHead && !_inScene))
        return false;
    _inHead = !_inScene;
    return true;
}

void ClassicReader::enterScene()
{
    if (_inHead)
        _tree.close();
    if (!_inScene)
        _tree.open("Scene", _scanner.offset());
    _inHead = false;
    _inScene = true;
}

// A bracket that closes nothing.
bool ClassicReader::passStray()
{
    char const next = _scanner.peek();
    std::size_t const at = _scanner.offset();
    bool const isStray = _scanner.take(']') || (_frames.back().in == In::scene && _scanner.take('}'));
    if (isStray)
        _scanner.excuse('"' + std::string(1, next) + "\" closes nothing", at);
    return isStray;
}

void ClassicReader::readNode(Word word, std::size_t at, Slot const& field)
{
    // In a list it is the list that ends the field.
    unsigned const elements = field.isElement && _frames.back().in != In::nodes ? 1 : 0;
    if (word != "NULL" && word != "USE")
        return openNode(word, at, field, elements);
    if (word == "USE") {
        Name const use = _scanner.name("a name behind USE");
        _tree.open("", at);
        addContainer(field);
        _scanner.attribute("USE", use);
        _tree.close();
    }
    close(elements);
}

void ClassicReader::openNode(Word word, std::size_t at, Slot const& field, unsigned elements)
{
    Name def, type{word, at};
    if (word == "DEF") {
        def = _scanner.name("a name behind DEF");
        type = _scanner.name("a node's type");
        if (type.text == "NULL" && _scanner.peek() != '{') {
            _scanner.excuse("NULL has the name " + shown(def) + ", but is no node", at);
            return close(elements);
        }
    }
    std::size_t const begin = ahead();
    if (!_scanner.take('{'))
        throw SyntaxError(type.offset,
                          "expected " + (field.name.text.empty() ? "a node" : "a value of " + shown(field.name)) + ", found "
                              + shown(type) + " without a \"{\"");
    bool const isInstance = _protos.contains(type.text);
    _scanner.open(isInstance ? "ProtoInstance" : type.text, at);
    if (isInstance)
        _scanner.attribute("name", type);
    if (!def.text.empty())
        _scanner.attribute("DEF", def);
    addContainer(field);
    _frames.push_back({In::body, begin, elements + 1, type, {}, isInstance, _connects.size()});
}

void ClassicReader::addContainer(Slot const& field)
{
    if (!field.isElement && !field.name.text.empty())
        _scanner.attribute("containerField", field.name);
}

void ClassicReader::readBodyItem(Frame const& frame)
{
    if (passStray())
        return;
    if (Word const ahead = _scanner.wordAhead(); ahead.find_first_not_of("+-.0123456789") != 0)
        _scanner.refuse("a field or \"}\"", frame.begin);
    Word const word = _scanner.word();
    std::size_t const at = _scanner.offsetOf(word);
    if (readKeyword(word, at))
        return;
    if (Access const* const access = findAccess(word))
        if (Word const type = _scanner.wordAhead(); type.starts_with("SF") || type.starts_with("MF"))
            return readDeclaration(*access, at, frame);
    if (word == "DEF" || word == "USE" || _scanner.peek() == '{')
        return readNextNode(word, at, frame);
    Slot const field{{frame.isSpecial ? word : fieldName(frame.name.text, word), at}, frame.isSpecial};
    if (readConnection(field.name))
        return;
    if (frame.isSpecial)
        openFieldValue(field.name);
    readValue(field);
}

// A node where a field is expected: one more of the field before it, or of the children.
void ClassicReader::readNextNode(Word word, std::size_t at, Frame const& frame)
{
    Slot const field = frame.field;
    if (frame.isSpecial && field.name.text.empty())
        throw SyntaxError(at, "expected a field or \"}\", found " + ClassicScanner::shown(word), frame.begin);
    _scanner.excuse("expected a field, found " + ClassicScanner::shown(word)
                        + (field.name.text.empty()
                               ? ": read as one of the children"
                               : ": read as one more value of " + shown(field.name) + ", which has no brackets"),
                    at);
    if (frame.isSpecial)
        openFieldValue(field.name);
    readNode(word, at, field);
}

void ClassicReader::openFieldValue(Name const& field)
{
    _tree.open("fieldValue", field.offset);
    _scanner.attribute("name", field);
}

void ClassicReader::leaveBody(Frame const& frame)
{
    if (_connects.size() > frame.outside)
        _tree.open("IS", _connects[frame.outside].nodeField.offset);
    for (std::size_t i = frame.outside; i < _connects.size(); ++i) {
        _tree.open("connect", _connects[i].nodeField.offset);
        _scanner.attribute("nodeField", _connects[i].nodeField);
        _scanner.attribute("protoField", _connects[i].protoField);
        _tree.close();
    }
    if (_connects.size() > frame.outside)
        _tree.close();
    _connects.resize(frame.outside);
    leave(frame.elements);
}

bool ClassicReader::readConnection(Name const& field)
{
    if (_scanner.wordAhead() != "IS")
        return false;
    _scanner.word();
    _connects.push_back({field, _scanner.name("a field of the PROTO behind IS")});
    return true;
}

void ClassicReader::readValue(Slot const& field)
{
    std::size_t const begin = ahead();
    bool const isList = _scanner.take('[');
    if (auto const value = _scanner.value(isList, begin)) {
        _scanner.attribute(field.isElement ? "value" : field.name.text, {*value, _scanner.offsetOf(*value)});
        if (field.isElement)
            _tree.close();
        return;
    }
    if (_scanner.wordAhead().empty())
        _scanner.refuse("a value of " + shown(field.name) + (isList ? " or \"]\"" : ""), isList ? begin : SyntaxError::none);
    if (isList) {
        _frames.push_back({In::nodes, begin, field.isElement ? 1u : 0u, {}, field});
        return;
    }
    Word const word = _scanner.word();
    std::size_t const at = _scanner.offsetOf(word);
    Word const key = _scanner.keyword(word);
    bool const isNode = key == "DEF" || key == "USE" || key == "NULL" || _scanner.peek() == '{';
    if (Frame& frame = _frames.back(); isNode && frame.in == In::body && field.isElement == frame.isSpecial)
        frame.field = field;
    else if (!isNode && (_scanner.peek() == '}' || _scanner.wordAhead().find_first_not_of("+-.0123456789") == 0)) {
        _scanner.excuse(ClassicScanner::shown(word) + " is no value of " + shown(field.name) + ", and passed over", at);
        return close(field.isElement ? 1 : 0);
    }
    readNode(key, at, field);
}

void ClassicReader::readProto(Word word, std::size_t at)
{
    bool const isExternal = word == "EXTERNPROTO";
    Name const proto = _scanner.name("the name of a PROTO");
    _tree.open(isExternal ? "ExternProtoDeclare" : "ProtoDeclare", at);
    _scanner.attribute("name", proto);
    std::size_t const begin = ahead();
    if (!_scanner.take('['))
        _scanner.refuse("\"[\" before the interface of " + shown(proto));
    if (!isExternal)
        _tree.open("ProtoInterface", begin);
    _frames.push_back({In::interface, begin, 1, proto, {}, isExternal});
}

// A field of an interface or of a Script.
void ClassicReader::readDeclaration(Access const& access, std::size_t at, Frame const& frame)
{
    Name const type = _scanner.name("a field's type"), fieldName = _scanner.name("a field's name");
    _tree.open("field", at);
    _scanner.attribute("name", fieldName);
    _scanner.attribute("type", type);
    _tree.attribute("accessType", access.x3d, at); // a literal: a zero byte follows
    bool const isConnected = frame.in == In::body && readConnection(fieldName);
    // An EXTERNPROTO repeats the interface without values, but some have them.
    bool const isBare =
        _scanner.peek() == (frame.in == In::interface ? ']' : '}') || findAccess(_scanner.wordAhead()) != nullptr;
    if (access.hasValue && !isConnected && isBare && !(frame.in == In::interface && frame.isSpecial))
        _scanner.excuse("the field " + shown(fieldName) + " has no value", fieldName.offset);
    if (access.hasValue && !isConnected && !isBare)
        readValue({fieldName, true});
    else
        _tree.close();
}

void ClassicReader::leaveInterface(Frame const& frame)
{
    if (frame.isSpecial) {
        std::size_t const begin = ahead();
        bool const isList = _scanner.take('[');
        char const next = _scanner.peek();
        auto const url = next == '"' || next == ']' ? _scanner.value(isList, begin) : std::nullopt;
        if (!url)
            _scanner.refuse("the urls of " + shown(frame.name));
        _scanner.attribute("url", {*url, _scanner.offsetOf(*url)});
        declare(frame.name);
        return leave(1);
    }
    _tree.close();
    std::size_t const begin = ahead();
    if (!_scanner.take('{'))
        _scanner.refuse("\"{\" before the body of " + shown(frame.name));
    _tree.open("ProtoBody", begin);
    _frames.back() = {In::protoBody, begin, 2, frame.name, {}, false, _declared.size()};
}

void ClassicReader::declare(Name const& proto)
{
    _declared.push_back(proto.text);
    ++_protos[proto.text];
}

std::string_view classicHeader(std::string_view text)
{
    constexpr unsigned most = 20;
    auto const has = [](Word line, Word begin, Word word) {
        auto const same = [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; };
        return std::ranges::equal(line.substr(0, begin.size()), begin, same)
            && std::search(line.begin(), line.end(), word.begin(), word.end(), same) != line.end();
    };
    for (unsigned i = 0; i < most && text.starts_with('#'); ++i) {
        Word const line = text.substr(0, text.find_first_of("\r\n"));
        if (has(line, "#VRML", " V2.") || has(line, "#X3D", " V"))
            return line;
        text.remove_prefix(line.size());
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    }
    return {};
}

void readClassic(char* text, std::size_t size, ElementTree& tree)
{
    Word const bom = "\xef\xbb\xbf";
    if (Word(text, size).starts_with(bom))
        std::fill_n(text, bom.size(), ' ');
    ClassicReader(text, size, tree).read({text, size});
}

} // namespace Zelvan::play
