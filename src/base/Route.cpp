#include "base/Route.h"

#include "base/Cascade.h"
#include "base/DeepStack.h"
#include "base/FetchAhead.h"
#include "base/Leftovers.h"
#include "base/NodeProc.h"

namespace Zelvan {

constinit thread_local Cascade cascade = {};

namespace {

// Of the stack it is started on, a cascade of events uses this much, and the handling of one event beyond it.
constexpr std::ptrdiff_t stackShare = 96 * 1024;

std::string described(Field const& field)
{
    std::string text = dataTypeName(field.dataType());
    return text + ' ' + accessName(field.type());
}

using Hook = void (NodeProc::*)(Route&);
void tell(Field const& field, Hook hook, Route& route)
{
    if (Node* const node = field._node; node != nullptr && node->_proc != nullptr)
        (node->_proc->*hook)(route);
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
    tell(from, &NodeProc::routeAdded, *route);
    tell(to, &NodeProc::routeAdded, *route);
    return route;
}

void Route::remove(Route& route)
{
    if (route._removed)
        return;
    tell(*route._from, &NodeProc::routeRemoved, route);
    tell(*route._to, &NodeProc::routeRemoved, route);
    route._removed = true;
    if (route._passing)
        NodeHold::take(*route._to->_node);
    Incoming::remove(route._to->_routesIn, &route);
    if (cascade.floor != nullptr) {
        // A delivery further up may stand at this route: it stays in the sender's list until all have ended.
        route._nextIn = cascade.removed;
        cascade.removed = &route;
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
        if (cascade.floor != nullptr)
            route->_from = nullptr;
        route = next;
    }
    field._routesOut = nullptr;
}

bool Route::isPassingTo(Field const& field)
{
    for (Route const* route = field._routesIn; route != nullptr; route = route->_nextIn)
        if (route->_passing)
            return true;
    return false;
}

/// How an event travels: no business of other libraries.
struct [[gnu::visibility("hidden")]] Route::Delivery
{
    Field& from;
    TimeStamp const& timeStamp;
    bool const recordOnly;

    /// Most fields have one receiver.
    void passAll() const
    {
        Route* route = from._routesOut;
        if (route->_nextOut == nullptr) {
            pass(*route);
            route = route->_nextOut; // may have come meanwhile
        }
        if (route != nullptr)
            passFrom(route);
    }
    [[gnu::noinline]] void passFrom(Route * first) const
    {
        FetchAhead ahead(first);
        for (Route* route = first; route != nullptr; route = route->_nextOut) {
            ahead.step();
            pass(*route);
        }
    }

    /// While a route passes an event on, what receives it stays, and the route is not entered again. That ends loops of
    /// nodes which have no guard of their own.
    [[gnu::always_inline]] void pass(Route & route) const
    {
        Field& to = *route._to;
        if (route._removed || route._passing || !to.receive(timeStamp))
            return;
        to.assignValue(from);
        if (recordOnly) [[unlikely]]
            return to.markChanged();
        struct Passing {
            explicit Passing(Route& passing) : route(passing) { route._passing = true; }
            ~Passing()
            {
                route._passing = false;
                if (route._removed) [[unlikely]]
                    NodeHold::give(*route._to->_node);
            }
            Route& route;
        } const passing(route);
        to._node->fieldChanged(to, timeStamp, &from);
    }

    /// On a stack of its own, with the same share left for the handling of one event.
    [[gnu::noinline]] void passDeeper() const
    {
        struct Back {
            ~Back() { cascade.floor = floor; }
            char* floor = cascade.floor;
        } const back;
        DeepStack::call([this](char* bottom) {
            cascade.floor = bottom + stackShare;
            passAll();
        });
    }

    /// What the outermost delivery leaves.
    [[gnu::noinline]] static void deleteRemoved()
    {
        while (Route* const route = cascade.removed) {
            cascade.removed = route->_nextIn;
            if (route->_from != nullptr)
                Outgoing::remove(route->_from->_routesOut, route);
            delete route;
        }
    }
};

void Route::deliver(Field& from, TimeStamp const& timeStamp, bool recordOnly)
{
    char* const here = static_cast<char*>(__builtin_frame_address(0));
    Delivery const delivery{from, timeStamp, recordOnly};
    if (cascade.floor != nullptr) {
        if (here < cascade.floor) [[unlikely]]
            delivery.passDeeper();
        else
            delivery.passAll();
        return;
    }
    // The outermost delivery; it ends also when an observer throws.
    struct Entered {
        explicit Entered(char* floor) { cascade.floor = floor; }
        ~Entered()
        {
            cascade.floor = nullptr;
            if (cascade.removed != nullptr) [[unlikely]]
                Delivery::deleteRemoved();
            if (cascade.leftovers > 0) [[unlikely]]
                Leftovers::collect();
        }
    } const entered(here - stackShare);
    delivery.passAll();
}

} // namespace Zelvan
