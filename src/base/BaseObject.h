#pragma once

#include "base/Export.h"

#include <atomic>
#include <cstddef>
#include <new>

namespace Zelvan {

/// Memory for the objects that events pass through. Those of one size lie side by side in the order they were made,
/// on cache lines of their own: a scene of many nodes is read from memory as a stream.
class ZELVAN_BASE_API DenseMemory {
public:
    static void* operator new(std::size_t size);
    static void operator delete(void* memory, std::size_t size) noexcept;
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
};

/// Counts the framework objects alive (fields, nodes, processors) in all threads, so that a host can see a leak.
class ZELVAN_BASE_API BaseObject : public DenseMemory {
public:
    static unsigned _objCount;

protected:
    BaseObject() { count(1); }
    BaseObject(BaseObject const&) { count(1); }
    BaseObject& operator=(BaseObject const&) = default;
    ~BaseObject() { count(~0u); }

private:
    static void count(unsigned more) { std::atomic_ref(_objCount).fetch_add(more, std::memory_order_relaxed); }
};

/// Base of nodes and processors: a reference count and an orderly end.
/// Objects start with no reference. Whoever keeps one takes a reference and gives it back, as a namespace does for each of
/// its nodes; a maker that hands it over needs none. The last `unref()` ends it; `delete` does whatever references there are.
class ZELVAN_BASE_API RefCountObject : public BaseObject {
public:
    RefCountObject() = default;
    // A copy is a new object: nobody refers to it yet.
    RefCountObject(RefCountObject const& other) : BaseObject(other) {}
    RefCountObject& operator=(RefCountObject const&) = delete;

    virtual ~RefCountObject();
    /// Called once in the life of an object that was made by `new`, while it is still whole.
    virtual void shutdown() const;

    using DenseMemory::operator delete;
    /// The end of an object, however it is deleted: `shutdown()`, then destruction.
    static void operator delete(RefCountObject* object, std::destroying_delete_t, std::size_t size);

    void ref() const { ++_refCount; }
    void unref() const;

private:
    friend class Node;
    friend class NodeHold;

    mutable unsigned _refCount = 0;
    mutable unsigned short _holds = 0; ///< of a node: operations that are running
    mutable bool _ended = false;       ///< `shutdown()` has been called
    mutable bool _doomed = false;      ///< of a node: goes with the last hold
};

} // namespace Zelvan
