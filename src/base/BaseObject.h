#pragma once

#include "base/Export.h"

#include <cstddef>

namespace Zelvan {

/// Memory for the objects that events pass through. Those of one size lie side by side in the order they were made,
/// on cache lines of their own: a scene of many nodes is read from memory as a stream. For one thread, like events.
class ZELVAN_BASE_API DenseMemory {
public:
    static void* operator new(std::size_t size);
    static void operator delete(void* memory, std::size_t size) noexcept;
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
};

/// Counts the framework objects alive (fields, nodes, processors), so that a host can see a leak.
class ZELVAN_BASE_API BaseObject : public DenseMemory {
public:
    static unsigned _objCount;

protected:
    BaseObject() { ++_objCount; }
    BaseObject(BaseObject const&) { ++_objCount; }
    BaseObject& operator=(BaseObject const&) = default;
    ~BaseObject() { --_objCount; }
};

/// Base of nodes and processors: a reference count and an orderly end.
/// Objects start with no reference; the last `unref()` calls `shutdown()` and deletes.
class ZELVAN_BASE_API RefCountObject : public BaseObject {
public:
    RefCountObject() = default;
    // A copy is a new object: nobody refers to it yet.
    RefCountObject(RefCountObject const& other) : BaseObject(other) {}
    RefCountObject& operator=(RefCountObject const&) = delete;

    virtual ~RefCountObject();
    /// Called once before deletion, while the object is still whole.
    virtual void shutdown() const;

    void ref() const { ++_refCount; }
    void unref() const;

private:
    mutable unsigned _refCount = 0;
};

} // namespace Zelvan
