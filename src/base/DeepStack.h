#pragma once

#include <memory>

namespace Zelvan {

/// Calls a function on a stack of its own, on the same thread: for recursion that the thread's stack need not carry.
class DeepStack {
public:
    /// `function(bottom)` runs at once; what it throws arrives here. std::bad_alloc when there is no memory for a stack.
    template <class Function>
    static void call(Function function)
    {
        run([](void* self, char* bottom) { (*static_cast<Function*>(self))(bottom); }, std::addressof(function));
    }

private:
    static void run(void (*function)(void*, char*), void* argument);
};

} // namespace Zelvan
