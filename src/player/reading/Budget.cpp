#include "player/reading/Budget.h"

#include "player/reading/ElementTree.h"

namespace Zelvan::play {

void Budget::exceeded(std::string const& place, std::size_t most, char const* what, char const* option) const
{
    throw Failure(exitScene, place + ": error: " + what + std::to_string(most) + option + " raises the limit)");
}

void Budget::requireRoomForFile(std::string const& name) const
{
    if (_scene.fileNames.size() >= _limits.files)
        throw Failure(exitScene,
                      name + ": more than " + std::to_string(_limits.files) + (_limits.files == 1 ? " file" : " files")
                          + " in one scene (--max-files raises the limit)");
}

// One file may be inlined many times; each counts.
void Budget::addInline(Location where)
{
    if (++_inlines >= _limits.files)
        exceeded(_scene.place(where).text(), _limits.files, "more than ", " files in one scene (--max-files");
}

void Budget::addUrl(Location where)
{
    if (std::size_t const most = 10 * std::size_t(_limits.files); ++_urls > most)
        exceeded(_scene.place(where).text(), most, "more than ", " urls (--max-files");
}

void Budget::addNode(Location where)
{
    if (++_nodes > _limits.nodes)
        exceeded(_scene.place(where).text(), _limits.nodes, "more than ", " nodes (--max-nodes");
}

void Budget::requireDepth(unsigned depth, Location where) const
{
    if (depth > _limits.depth)
        exceeded(_scene.place(where).text(), _limits.depth, "nested deeper than ", " elements (--max-depth");
}

void Budget::spend(std::size_t tenths, Location where)
{
    _spent += tenths;
    if (_spent / 10 > _limits.expanded)
        exceeded(_scene.place(where).text(), _limits.expanded, "PROTOs and repeated Inlines stand for more than ",
                 " nodes (--max-expanded");
}

void Budget::spendOn(Element const& element, Location where, unsigned tenths)
{
    if (!isAgain())
        return;
    std::size_t sum = tenths + element.name().size() / bytesForATenth;
    for (Attribute const& attribute : attributes(element))
        sum += 2 + (attribute.name().size() + attribute.value().size()) / bytesForATenth;
    spend(sum, where);
}

} // namespace Zelvan::play
