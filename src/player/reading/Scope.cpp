#include "player/reading/Scope.h"

#include <algorithm>

namespace Zelvan::play {

void Reading::requireShort(std::string_view name, std::string_view what, Location where) const
{
    constexpr std::size_t longest = 1000;
    if (name.size() > longest)
        throw Failure(exitScene,
                      scene.place(where).text() + ": error: " + std::string(what) + " is longer than " + std::to_string(longest)
                          + " characters");
}

std::string Reading::nameIn(Element const& element, std::string_view attribute, Scope const& scope) const
{
    Attribute const* const found = findAttribute(element, attribute);
    if (found == nullptr)
        return "";
    requireShort(found->value(), attribute, locate(*found, *scope.file));
    return std::string(found->value());
}

Target const* Scope::named(std::string const& name, std::uint32_t offset) const
{
    if (auto const several = duplicates.find(name); several != duplicates.end()) {
        auto const& all = several->second;
        auto const after = std::ranges::upper_bound(all, offset, {}, &Defined::first);
        return &(after == all.begin() ? *after : after[-1]).second;
    }
    auto const one = names.find(name);
    return one != names.end() ? &one->second : nullptr;
}

std::string qualified(Scope const& scope, std::string const& name)
{
    constexpr std::size_t longest = 500;
    std::string const& prefix = scope.prefix;
    if (prefix.size() <= longest)
        return prefix + name;
    return ".../" + prefix.substr(prefix.find('/', prefix.size() - longest) + 1) + name;
}

} // namespace Zelvan::play
