#pragma once

#include "player/reading/Element.h"
#include "player/reading/ReadLimits.h"

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

/// The text is not what its syntax asks for, or exceeds a limit: what was expected and found, and where.
struct SyntaxError : std::runtime_error {
    static constexpr std::uint32_t none = UINT32_MAX;
    SyntaxError(std::size_t at, std::string const& message, std::size_t begin = none)
        : std::runtime_error(message), offset(static_cast<std::uint32_t>(at)), beginning(static_cast<std::uint32_t>(begin))
    {}
    std::uint32_t offset;    ///< of the byte that does not fit
    std::uint32_t beginning; ///< of what was not closed: a list, a string, a body; or none
};

/// Owns the elements of one file. A syntax writes it from front to back; names and values point into the text, which
/// has to outlive the tree. No element is allocated for itself, and what is never reached costs nothing to destroy.
class ElementTree {
public:
    explicit ElementTree(ReadLimits const& limits) : _limits(limits) {}

    // Writing.
    /// Begins an element in the one that is open; the first one is the root. Throws SyntaxError at a limit.
    Element& open(char const* name, std::size_t offset);
    /// Adds to the open element, also between and behind its children.
    void attribute(char const* name, std::string_view value, std::size_t offset);
    void close();
    std::size_t depth() const { return _open.size(); }
    /// A copy that lives as long as the tree, with a zero byte behind it.
    std::string_view keep(std::string_view text);
    /// The text of a comment, without its marks. Those that begin with `zelvan:` are kept, the others ignored.
    void comment(std::string_view text, std::size_t offset);

    /// The text is not what its syntax asks for, but can only mean one thing. The first ones are kept.
    void excuse(std::string what, std::size_t offset);

    // Reading.
    /// Null when nothing was written.
    Element* root() const { return _root; }
    struct Comment {
        std::string_view text; ///< "zelvan: ..." without the blanks around it
        std::uint32_t offset;  ///< of its first byte
    };
    /// In the order of the file.
    std::vector<Comment> const& comments() const { return _comments; }
    struct Oddity {
        std::string what;
        std::uint32_t offset;
    };
    std::vector<Oddity> const& oddities() const { return _oddities; }
    std::size_t elementCount() const { return _elementCount; }

private:
    struct Open {
        Element* element;
        Element* lastChild;
        std::size_t attributesBegin; ///< in _attributes
    };
    ReadLimits const _limits;
    std::pmr::monotonic_buffer_resource _memory{std::size_t(1) << 16};
    Element* _root = nullptr;
    std::vector<Open> _open;
    std::vector<Attribute> _attributes; ///< of the open elements, outermost first
    std::vector<Comment> _comments;
    std::vector<Oddity> _oddities;
    std::size_t _elementCount = 0, _attributeCount = 0;
};

inline std::span<Attribute> attributes(Element const& element)
{
    return {element.attributes, element.attributeCount};
}

/// Null when there is none. The first one counts.
inline Attribute const* findAttribute(Element const& element, std::string_view name)
{
    for (Attribute const& attribute : attributes(element))
        if (attribute.isNamed(name))
            return &attribute;
    return nullptr;
}

/// Empty when there is none.
inline std::string_view attributeValue(Element const& element, std::string_view name)
{
    Attribute const* const found = findAttribute(element, name);
    return found == nullptr ? std::string_view() : found->value();
}

/// The children of an element; with a name, those of that name.
class Children {
public:
    explicit Children(Element const& parent) : _begin(parent.firstChild) {}
    Children(Element const& parent, std::string_view name) : _begin(parent.firstChild), _name(name), _named(true) {}

    class Iterator {
    public:
        Iterator(Element* at, Children const& of) : _at(at), _of(of) { skip(); }
        Element& operator*() const { return *_at; }
        Iterator& operator++()
        {
            _at = _at->next;
            skip();
            return *this;
        }
        bool operator==(Iterator const& other) const { return _at == other._at; }

    private:
        void skip()
        {
            while (_of._named && _at != nullptr && !_at->isNamed(_of._name))
                _at = _at->next;
        }
        Element* _at;
        Children const& _of;
    };
    Iterator begin() const { return {_begin, *this}; }
    Iterator end() const { return {nullptr, *this}; }

private:
    Element* _begin;
    std::string_view _name;
    bool _named = false;
};

/// The first child of that name; null when there is none.
inline Element* findChild(Element const& parent, std::string_view name)
{
    for (Element& child : Children(parent, name))
        return &child;
    return nullptr;
}

} // namespace Zelvan::play
