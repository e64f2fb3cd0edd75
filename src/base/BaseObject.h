#pragma once

#include "base/Export.h"

namespace Zelvan {

/// Counts the framework objects alive (fields, nodes, processors), so that a host can see a leak.
class ZELVAN_BASE_API BaseObject {
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
