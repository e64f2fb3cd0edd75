#include "base/BaseObject.h"

#include <algorithm>
#include <mutex>
#include <utility>

#ifdef __has_feature
#define ZELVAN_HAS_FEATURE(name) __has_feature(name)
#else
#define ZELVAN_HAS_FEATURE(name) 0
#endif

namespace Zelvan {

namespace {

constexpr std::size_t cacheLine = 64;

#if defined(__SANITIZE_ADDRESS__) || ZELVAN_HAS_FEATURE(address_sanitizer)
constexpr std::size_t largest = 0; // a sanitizer sees the use of a deleted object only when each has a block of its own
#else
constexpr std::size_t largest = 4096;
#endif

/// Blocks of whole cache lines: of each size a list of those that are free, and a run of those never used. What a
/// coarser choice of sizes wastes counts where objects come in hundreds of thousands.
class DenseBlocks {
public:
    void* take(std::size_t size)
    {
        Size& blocks = _sizes[linesOf(size)];
        if (blocks.free != nullptr)
            return std::exchange(blocks.free, blocks.free->next);
        if (blocks.unused == 0)
            addRun(blocks, linesOf(size) * cacheLine);
        --blocks.unused;
        return std::exchange(blocks.next, blocks.next + linesOf(size) * cacheLine);
    }
    void give(void* block, std::size_t size)
    {
        Size& blocks = _sizes[linesOf(size)];
        blocks.free = new (block) Free{blocks.free};
    }

private:
    struct Free {
        Free* next;
    };
    struct Size {
        Free* free = nullptr;
        char* next = nullptr;
        std::size_t unused = 0, run = 0;
    };
    static std::size_t linesOf(std::size_t size) { return (size + cacheLine - 1) / cacheLine; }
    static void addRun(Size& blocks, std::size_t bytes)
    {
        constexpr std::size_t fewest = 8, mostBytes = std::size_t(1) << 18;
        std::size_t const count = std::clamp(2 * blocks.run, fewest, std::max(fewest, mostBytes / bytes));
        blocks.next = static_cast<char*>(::operator new(count* bytes, std::align_val_t(cacheLine)));
        blocks.unused = blocks.run = count;
    }

    Size _sizes[largest / cacheLine + 1];
};

struct DenseHeap {
    std::mutex mutex;
    DenseBlocks blocks;
};

// Never destroyed: static objects may still hold nodes when the program ends.
DenseHeap& denseHeap()
{
    static auto& heap = *new DenseHeap;
    return heap;
}

} // namespace

void* DenseMemory::operator new(std::size_t size)
{
    if (size > largest)
        return ::operator new(size, std::align_val_t(cacheLine));
    std::lock_guard const lock(denseHeap().mutex);
    return denseHeap().blocks.take(size);
}

void DenseMemory::operator delete(void* memory, std::size_t size) noexcept
{
    if (size > largest)
        return ::operator delete(memory, std::align_val_t(cacheLine));
    std::lock_guard const lock(denseHeap().mutex);
    denseHeap().blocks.give(memory, size);
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
