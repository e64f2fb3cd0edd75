#include "base/BaseObject.h"

#include <memory_resource>
#include <mutex>

#ifdef __has_feature
#define ZELVAN_HAS_FEATURE(name) __has_feature(name)
#else
#define ZELVAN_HAS_FEATURE(name) 0
#endif

namespace Zelvan {

namespace {

constexpr std::size_t cacheLine = 64;

std::pmr::memory_resource& denseMemory()
{
#if defined(__SANITIZE_ADDRESS__) || ZELVAN_HAS_FEATURE(address_sanitizer)
    // A sanitizer sees the use of a deleted object only when each has a block of its own.
    return *std::pmr::new_delete_resource();
#else
    // Never destroyed: static objects may still hold nodes when the program ends.
    static auto& blocks = *new std::pmr::unsynchronized_pool_resource;
    return blocks;
#endif
}

std::mutex& denseMutex()
{
    static auto& mutex = *new std::mutex; // as long as the memory
    return mutex;
}

} // namespace

void* DenseMemory::operator new(std::size_t size)
{
    std::lock_guard const lock(denseMutex());
    return denseMemory().allocate(size, cacheLine);
}

void DenseMemory::operator delete(void* memory, std::size_t size) noexcept
{
    std::lock_guard const lock(denseMutex());
    denseMemory().deallocate(memory, size, cacheLine);
}

unsigned BaseObject::_objCount = 0;

RefCountObject::~RefCountObject() = default;

void RefCountObject::shutdown() const {}

void RefCountObject::operator delete(RefCountObject* object, std::destroying_delete_t, std::size_t size)
{
    if (!object->_ended) {
        object->_ended = true;
        object->shutdown();
    }
    void* const memory = dynamic_cast<void*>(object);
    object->~RefCountObject();
    DenseMemory::operator delete(memory, size);
}

void RefCountObject::unref() const
{
    if (--_refCount == 0)
        delete this;
}

} // namespace Zelvan
