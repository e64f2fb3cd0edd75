// ClassicVRML, read in place: whatever the text, it becomes a tree whose views are whole, or is refused at a byte of it.

#include "fuzz/Input.h"
#include "player/reading/ClassicSyntax.h"

namespace Zelvan::fuzz {
namespace {

/// Counts an element and all below it.
std::size_t requireWhole(play::Element const& element, std::size_t size)
{
    std::size_t count = 1;
    require(element.offset <= size, "an element has a place");
    for (play::Attribute const& attribute : attributes(element)) {
        std::string_view const value = attribute.value();
        require(attribute.offset <= size && !attribute.name().empty(), "an attribute has a place and a name");
        require(value.data()[value.size()] == '\0', "a value ends with a zero byte");
    }
    for (play::Element const& child : play::Children(element))
        count += requireWhole(child, size);
    return count;
}

} // namespace
} // namespace Zelvan::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan;
    // Of its own size, so that no byte behind the zero is touched.
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    play::ReadLimits const limits{.depth = 20, .elements = 500};
    play::ElementTree tree(limits);
    try {
        play::readClassic(text.data(), size, tree);
        std::size_t const count = fuzz::requireWhole(*tree.root(), size);
        fuzz::require(count == tree.elementCount() && count <= limits.elements && tree.depth() == 0, "all elements are there");
        for (play::ElementTree::Comment const& comment : tree.comments())
            fuzz::require(comment.offset < size && comment.text.starts_with("zelvan:"), "comments have places");
    } catch (play::SyntaxError const& error) {
        fuzz::require(error.offset <= size && (error.beginning == error.none || error.beginning < error.offset + 1),
                      "an error has a place");
    }
    return 0;
}
