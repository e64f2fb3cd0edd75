#include "base/Route.h"

#include "base/Fields.h"

#include <deque>
#include <vector>

namespace Zelvan {

namespace {

// Nested deliveries use a few hundred bytes of stack each; this leaves most of a thread's stack to the host.
constexpr unsigned maxNesting = 1000;

struct Delivery {
    Route* route;
    TimeStamp timeStamp;
};

// Event delivery runs on one thread.
unsigned nesting = 0;
unsigned long cascade = 0;
std::deque<Delivery> queued;
std::vector<Route*> removedWhileDelivering;

std::string described(Field const& field)
{
    std::string text = dataTypeName(field.dataType());
    return text + ' ' + accessName(field.type());
}

} // namespace

template <Route* Route::*next, Route* Route::*previous>
struct Route::List {
    static void append(Route*& first, Route* route)
    {
        if (first == nullptr) {
            first = route->*previous = route;
            return;
        }
        Route* const last = first->*previous;
        last->*next = route;
        route->*previous = last;
        first->*previous = route;
    }
    static void remove(Route*& first, Route* route)
    {
        Route* const after = route->*next;
        if (first == route)
            first = after;
        else
            (route->*previous)->*next = after;
        if (first != nullptr)
            (after != nullptr ? after : first)->*previous = route->*previous;
    }
};

Route* Route::add(Field& from, Field& to, std::string& error)
{
    if (from.dataType() != to.dataType()) {
        error = "cannot send " + described(from) + " to " + described(to) + ": the data types differ";
        return nullptr;
    }
    if ((from.type() & outputOnly) == 0) {
        error = std::string("expected a field that sends events, this one is ") + accessName(from.type());
        return nullptr;
    }
    if ((to.type() & inputOnly) == 0) {
        error = std::string("expected a field that takes events, this one is ") + accessName(to.type());
        return nullptr;
    }
    // A route that exists stands in both lists: the shorter one tells.
    Route* out = from._routesOut;
    for (Route* in = to._routesIn; out != nullptr && in != nullptr; out = out->_nextOut, in = in->_nextIn) {
        if (in->_from == &from)
            return in;
        if (out->_to == &to && !out->_removed)
            return out;
    }
    auto* const route = new Route(from, to);
    Outgoing::append(from._routesOut, route);
    Incoming::append(to._routesIn, route);
    return route;
}

void Route::remove(Route& route)
{
    if (route._removed)
        return;
    route._removed = true;
    Incoming::remove(route._to->_routesIn, &route);
    if (nesting > 0) {
        // A delivery further up may stand at this route: it stays in the sender's list until all have ended.
        removedWhileDelivering.push_back(&route);
        return;
    }
    Outgoing::remove(route._from->_routesOut, &route);
    delete &route;
}

void Route::removeAll(Field& field)
{
    while (field._routesIn != nullptr)
        remove(*field._routesIn);
    for (Route* route = field._routesOut; route != nullptr;) {
        Route* const next = route->_nextOut;
        remove(*route);
        // A delivery that stands at the route still goes on from it, but no longer to the field.
        if (nesting > 0)
            route->_from = nullptr;
        route = next;
    }
    field._routesOut = nullptr;
}

[[gnu::noinline]] void Route::wakeLater(Route& route, TimeStamp const& timeStamp)
{
    if (route._queuedInCascade == cascade)
        return;
    route._queuedInCascade = cascade;
    queued.push_back({&route, timeStamp});
}

namespace {

// The first route of a node's last field, which is where most nodes send their results from; null when there is none.
inline Route const* onward(Node const& node)
{
    Field const* const last = node.fields().empty() ? nullptr : node.fields().back();
    return last != nullptr ? last->_routesOut : nullptr;
}

template <class List>
inline void const* firstElement(Field const& field)
{
    return static_cast<List const&>(field)._value.data();
}

// What a node computes from mostly stands in lists.
inline void fetchLists(Node const& node)
{
    for (Field const* const field : node.fields()) {
        if (field == nullptr)
            continue;
        void const* first = nullptr;
        switch (field->_desc->_dataType) {
        case MFColorType: first = firstElement<MFColor>(*field); break;
        case MFFloatType: first = firstElement<MFFloat>(*field); break;
        case MFMatrix4fType: first = firstElement<MFMatrix4f>(*field); break;
        case MFRotationType: first = firstElement<MFRotation>(*field); break;
        case MFVec2fType: first = firstElement<MFVec2f>(*field); break;
        case MFVec3fType: first = firstElement<MFVec3f>(*field); break;
        default: continue;
        }
        __builtin_prefetch(first);
    }
}

} // namespace

// A field with thousands of receivers meets each of them cold, and a cold receiver sends to another cold one. So what
// the next receivers need is asked for some routes ahead, one step of each chain of pointers at a time. `ahead` is
// `distance` routes in front of the one that is delivered. Inlined early: GCC takes a function that only prefetches for
// one without effect, and leaves out the call.
[[gnu::always_inline]] inline void Route::fetch(Route const* ahead)
{
    __builtin_prefetch(ahead->_nextOut);
    Route const* route = ahead;
    // What a removed route leads to may be gone.
    auto const next = [&route] {
        route = route->_previousOut;
        return !route->_removed;
    };
    // A node's fields are its members: those behind the one that receives are the ones it computes with.
    constexpr int line = 64;
    if (next())
        for (int i = 0; i < 4; ++i)
            __builtin_prefetch(reinterpret_cast<char const*>(route->_to) + i * line);
    if (next())
        for (int i = 0; i < 5; ++i)
            __builtin_prefetch(reinterpret_cast<char const*>(route->_to->_node) + i * line);
    if (next()) {
        Node const& node = *route->_to->_node;
        __builtin_prefetch(node._proc);
        if (!node.fields().empty())
            __builtin_prefetch(&node.fields().back());
    }
    next(); // time for what was asked for in the last two steps
    if (next() && !route->_to->_node->fields().empty())
        __builtin_prefetch(route->_to->_node->fields().back());
    if (next())
        __builtin_prefetch(onward(*route->_to->_node));
    if (next())
        if (Route const* const then = onward(*route->_to->_node); then != nullptr && !then->_removed)
            __builtin_prefetch(then->_to);
    if (next())
        if (Route const* const then = onward(*route->_to->_node); then != nullptr && !then->_removed)
            __builtin_prefetch(then->_to->_node);
    if (next())
        fetchLists(*route->_to->_node);
}

inline void Route::deliverAll(Field& from, TimeStamp const& timeStamp, bool recordOnly)
{
    constexpr int distance = 11;
    Route* ahead = from._routesOut;
    for (int i = 0; i < distance && ahead != nullptr; ++i)
        ahead = ahead->_nextOut;
    for (Route* route = from._routesOut; route != nullptr; route = route->_nextOut) {
        if (ahead != nullptr) {
            fetch(ahead);
            ahead = ahead->_nextOut;
        }
        Field& to = *route->_to;
        if (route->_removed || !to.receive(timeStamp))
            continue;
        to.assignValue(from);
        if (recordOnly)
            to.markChanged();
        else if (nesting > maxNesting)
            wakeLater(*route, timeStamp);
        else
            to._node->fieldChanged(to, timeStamp, &from);
    }
}

[[gnu::noinline]] void Route::finishCascade()
{
    while (!queued.empty()) {
        Delivery const delivery = queued.front();
        queued.pop_front();
        if (!delivery.route->_removed)
            delivery.route->_to->_node->fieldChanged(*delivery.route->_to, delivery.timeStamp,
                                                     delivery.route->_from);
    }
}

inline void Route::leave()
{
    if (--nesting == 0 && !removedWhileDelivering.empty()) [[unlikely]]
        deleteRemoved();
}

[[gnu::noinline]] void Route::deleteRemoved()
{
    for (Route* const route : removedWhileDelivering) {
        if (route->_from != nullptr)
            Outgoing::remove(route->_from->_routesOut, route);
        delete route;
    }
    removedWhileDelivering.clear();
}

void Route::deliver(Field& from, TimeStamp const& timeStamp, bool recordOnly)
{
    if (nesting == 0)
        ++cascade;
    ++nesting;
    try {
        deliverAll(from, timeStamp, recordOnly);
        if (nesting == 1 && !queued.empty()) [[unlikely]]
            finishCascade();
    } catch (...) {
        // An observer ends the cascade.
        if (nesting == 1)
            queued.clear();
        leave();
        throw;
    }
    leave();
}

} // namespace Zelvan
