#pragma once

#include "player/reading/Element.h"
#include "player/reading/ReadLimits.h"
#include "player/scene/Scene.h"

namespace Zelvan::play {

/// What reading a scene has cost so far. Throws Failure, with the place, where it would cost more than allowed.
class Budget {
public:
    Budget(ReadLimits const& limits, Scene const& scene) : _limits(limits), _scene(scene) {}

    ReadLimits const& limits() const { return _limits; }
    void requireRoomForFile(std::string const& name) const;
    /// One more: an Inline, a different url, a node that is kept.
    void addInline(Location where);
    void addUrl(Location where);
    void addNode(Location where);
    void requireDepth(unsigned depth, Location where) const;

    // A few lines of PROTO, or of a file that is inlined again and again, can stand for any amount of anything. What
    // takes memory costs as much as ten elements that are passed over; so costs are counted in tenths.
    void spend(std::size_t tenths, Location where);
    /// Only while something is read again: the element costs this, and what its names and values take.
    void spendOn(Element const& element, Location where, unsigned tenths);
    /// Reading them as numbers takes about as long as passing over an element.
    static constexpr std::size_t bytesForATenth = 16;

    /// Above 0 in the body of a PROTO, and in a file that was read before.
    bool isAgain() const { return _again > 0; }
    void beginAgain() { ++_again; }
    void endAgain() { --_again; }

private:
    [[noreturn]] void exceeded(std::string const& place, std::size_t most, char const* what, char const* option) const;

    ReadLimits const& _limits;
    Scene const& _scene;
    std::size_t _inlines = 0, _urls = 0, _nodes = 0, _spent = 0;
    unsigned _again = 0;
};

} // namespace Zelvan::play
