#include "base/DeepStack.h"

#include <cstdint>
#include <exception>
#include <new>
#include <sys/mman.h>
#include <ucontext.h>

#ifdef __has_feature
#define ZELVAN_HAS_FEATURE(name) __has_feature(name)
#else
#define ZELVAN_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || ZELVAN_HAS_FEATURE(address_sanitizer)
#include <sanitizer/common_interface_defs.h>
#define ZELVAN_ADDRESS_SANITIZER
#endif

namespace Zelvan {

namespace {

// Only what is used of it costs memory.
constexpr std::size_t stackSize = 8 * 1024 * 1024;
constexpr std::size_t guardSize = 64 * 1024;

struct Stack {
    Stack()
        : memory(
            ::mmap(nullptr, stackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0))
    {
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        if (::mprotect(memory, guardSize, PROT_NONE) != 0) {
            ::munmap(memory, stackSize);
            throw std::bad_alloc();
        }
    }
    Stack(Stack const&) = delete;
    ~Stack() { ::munmap(memory, stackSize); }
    char* bottom() const { return static_cast<char*>(memory) + guardSize; }
    void* const memory;
};

struct Call {
    void (*function)(void*, char*);
    void* argument;
    char* bottom;
    ucontext_t caller, callee;
    std::exception_ptr thrown;
    // Of the caller's stack, for the address sanitizer.
    void const* callerBottom;
    std::size_t callerSize;
};

// makecontext hands on integers only.
void enter(unsigned high, unsigned low)
{
    auto& call = *reinterpret_cast<Call*>(static_cast<std::uintptr_t>(high) << 32 | low);
#ifdef ZELVAN_ADDRESS_SANITIZER
    __sanitizer_finish_switch_fiber(nullptr, &call.callerBottom, &call.callerSize);
#endif
    try {
        call.function(call.argument, call.bottom);
    } catch (...) {
        call.thrown = std::current_exception();
    }
#ifdef ZELVAN_ADDRESS_SANITIZER
    __sanitizer_start_switch_fiber(nullptr, call.callerBottom, call.callerSize);
#endif
}

} // namespace

void DeepStack::run(void (*function)(void*, char*), void* argument)
{
    Stack const stack;
    Call call{};
    call.function = function;
    call.argument = argument;
    call.bottom = stack.bottom();
    ::getcontext(&call.callee);
    call.callee.uc_stack.ss_sp = stack.bottom();
    call.callee.uc_stack.ss_size = stackSize - guardSize;
    call.callee.uc_link = &call.caller;
    auto const address = reinterpret_cast<std::uintptr_t>(&call);
    ::makecontext(&call.callee, reinterpret_cast<void (*)()>(&enter), 2, static_cast<unsigned>(address >> 32),
                  static_cast<unsigned>(address));
#ifdef ZELVAN_ADDRESS_SANITIZER
    void* fakeStack = nullptr;
    __sanitizer_start_switch_fiber(&fakeStack, stack.bottom(), stackSize - guardSize);
#endif
    ::swapcontext(&call.caller, &call.callee);
#ifdef ZELVAN_ADDRESS_SANITIZER
    __sanitizer_finish_switch_fiber(fakeStack, nullptr, nullptr);
#endif
    if (call.thrown)
        std::rethrow_exception(call.thrown);
}

} // namespace Zelvan
