#pragma once

#include "base/Export.h"
#include "base/Field.h"
#include "base/TimeStamp.h"

#include <string>

namespace Zelvan {

/// A connection that carries the values of one field to another of the same data type.
/// Routes are links in two lists, the sender's and the receiver's; either end removes them when it goes.
class ZELVAN_BASE_API Route : public DenseMemory {
public:
    /// Connects two fields. Null, with the reason in `error`, when the data types differ or the access kinds
    /// do not allow it. An existing route between the two fields is returned as it is.
    static Route* add(Field& from, Field& to, std::string& error);
    static void remove(Route& route);
    /// Takes a field off all its routes; it may be gone afterwards, also in the middle of a delivery.
    static void removeAll(Field& field);

    /// Stores the sender's value at every receiver that takes changes and tells the receivers' nodes,
    /// unless `recordOnly`.
    /// Receivers may send in turn, to any depth, and every event arrives, in order: where the nesting has used 96 KiB of
    /// the stack it goes on on another one. A thread that starts a cascade needs that and what its nodes use to handle
    /// one event. A loop ends where it comes back to a route that is still passing an event on.
    static void deliver(Field& from, TimeStamp const& timeStamp, bool recordOnly);

    /// Whether a route is passing an event on to the field now.
    static bool isPassingTo(Field const& field);

    Field& from() const { return *_from; }
    Field& to() const { return *_to; }
    Route* nextOut() const { return _nextOut; }
    Route* nextIn() const { return _nextIn; }

private:
    Route(Field& from, Field& to) : _from(&from), _to(&to) {}
    struct Delivery;

    Field* _from; ///< null once a sender that went away in a delivery has been let go
    Field* _to;
    Route* _nextOut = nullptr;
    Route* _previousOut = nullptr;
    Route* _nextIn = nullptr;
    Route* _previousIn = nullptr;

    /// A field's list: `next` is null at the last route, `previous` of the first is the last.
    template <Route* Route::*next, Route* Route::*previous>
    struct List;
    using Outgoing = List<&Route::_nextOut, &Route::_previousOut>;
    using Incoming = List<&Route::_nextIn, &Route::_previousIn>;

    friend class FetchAhead;
    bool _removed = false;
    bool _passing = false;
};

} // namespace Zelvan
