#pragma once

#include <cstdint>
#include <string_view>

namespace Zelvan::play {

// What a file says, before anybody asks what it means: one tree for every syntax, in the vocabulary of X3D's XML.
// A syntax fills it; PROTO expansion, names, routes and fields read it and do not know where it came from.
//
// The classic syntaxes are written into it so:
//   DEF Top Transform { translation 1 2 3 children [ Shape { } USE X ] }
//       Transform  DEF="Top" translation="1 2 3"  with the children  Shape containerField="children"  and
//       an element without a name, USE="X" containerField="children"
//   PROTO P [ inputOutput SFVec3f a 1 2 3 ] { ... }
//       ProtoDeclare name="P", in it ProtoInterface with  field name="a" type="SFVec3f" accessType="inputOutput"
//       value="1 2 3"  (nodes of a default are children of the field) and ProtoBody
//   P { a 1 2 3 }  where a PROTO or EXTERNPROTO named P was declared
//       ProtoInstance name="P" with fieldValue name="a" value="1 2 3"  (nodes are children of the fieldValue)
//   translation IS a          IS with connect nodeField="translation" protoField="a"
//   EXTERNPROTO P [...] "u"   ExternProtoDeclare name="P" url=... with its fields
//   ROUTE, IMPORT, EXPORT, COMPONENT, META, UNIT, a Script's own fields   as in XML
//   #X3D V3.3 utf8, PROFILE p   the root, X3D version="3.3" profile="p"; of #VRML V2.0 it is version="2.0"
// VRML97's own words are translated: eventIn is inputOnly, exposedField inputOutput, and so on.

// A large file has millions of these: texts are kept as pointers, with a zero byte behind each.
class Attribute {
public:
    Attribute(char const* name, std::string_view value, std::uint32_t at)
        : offset(at), _size(static_cast<std::uint32_t>(value.size())), _name(name), _value(value.data())
    {}
    std::string_view name() const { return _name; }
    bool isNamed(std::string_view name) const { return name.compare(_name) == 0; }
    /// Decoded; of lists without their brackets, comments as blanks; a zero byte follows. Strings of the classic syntaxes
    /// are in double quotes with \" and \\ in them, also a single SFString.
    std::string_view value() const { return {_value, _size}; }

    std::uint32_t offset; ///< of the value's first byte in the file's text

private:
    std::uint32_t _size;
    char const* _name;
    char const* _value;
};

struct Element {
    /// "Transform", "ROUTE", "ProtoDeclare"; "" for a USE in a syntax that names no type there.
    std::string_view name() const { return text; }
    bool isNamed(std::string_view name) const { return name.compare(text) == 0; }

    char const* text = "";    ///< the name
    std::uint32_t offset = 0; ///< of its first byte in the file's text
    std::uint32_t attributeCount = 0;
    Attribute* attributes = nullptr; ///< in the order of the file
    Element* firstChild = nullptr;
    Element* next = nullptr; ///< the next child of the same parent
};

} // namespace Zelvan::play
