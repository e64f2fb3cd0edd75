#pragma once

#include "base/Fields.h"
#include "base/Route.h"

#include <cstring>

namespace Zelvan {

/// A field with thousands of receivers meets each of them cold, and a cold receiver sends to another cold one. So what
/// the next receivers need is asked for some routes ahead, one step of each chain of pointers at a time.
///
/// 100,000 interpolators with 11 keys that each move a target take 470 ns each with it and 1120 ns without, when their
/// routes come in another order than the nodes lie in memory; in the same order 160 and 210 ns, and 10,000 of them, which a
/// large cache holds, 150 and 120 ns.
class FetchAhead {
public:
    explicit FetchAhead(Route const* first) : _ahead(first)
    {
        constexpr int distance = 11;
        for (int i = 0; i < distance && _ahead != nullptr; ++i)
            _ahead = _ahead->_nextOut;
    }
    /// Delivery goes on by one route.
    void step()
    {
        if (_ahead == nullptr)
            return;
        fetch(_ahead);
        _ahead = _ahead->_nextOut;
    }

private:
    // Inlined early: GCC takes a function that only prefetches for one without effect, and leaves out the call.
    [[gnu::always_inline]] static inline void fetch(Route const* ahead)
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
            if (!node.fields().empty()) {
                __builtin_prefetch(&node.fields().front());
                __builtin_prefetch(&node.fields().back());
            }
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

    // The first route of a node's last field, which is where most nodes send their results from; null when there is none.
    static Route const* onward(Node const& node)
    {
        Field const* const last = node.fields().empty() ? nullptr : node.fields().back();
        return last != nullptr ? last->_routesOut : nullptr;
    }

    // What a node computes from mostly stands in lists. Each begins with where its elements are.
    static void fetchLists(Node const& node)
    {
        static_assert(sizeof(MFVec3f) == sizeof(Field) + sizeof(MFVec3f::ValueType));
        for (Field const* const field : node.fields())
            if (field != nullptr && isFetched(field->_desc->_dataType)) {
                void const* first = nullptr;
                std::memcpy(&first, reinterpret_cast<char const*>(field) + sizeof(Field), sizeof first);
                __builtin_prefetch(first);
            }
    }
    static bool isFetched(NodePartDataType type)
    {
        switch (type) {
        case MFColorType:
        case MFFloatType:
        case MFMatrix4fType:
        case MFRotationType:
        case MFVec2fType:
        case MFVec3fType: return true;
        default: return false;
        }
    }

    Route const* _ahead;
};

} // namespace Zelvan
