#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

namespace Zelvan::play {

/// Bytes that grow up to a limit, without a second copy of them, as realloc does for large blocks.
/// Beyond the limit throws Failure.
class TextBuffer {
public:
    explicit TextBuffer(std::size_t limit) : _limit(limit) {}

    /// Room for a few bytes more at least, never for much more than the limit: enough to notice the excess.
    std::span<char> room();
    /// So many bytes of the room have been filled.
    void add(std::size_t bytes) { _size += bytes; }
    /// Without the zero bytes at its end.
    void trim();
    /// Nothing is added any more: one zero byte follows the text.
    void end();

    /// Gives the bytes away; none are left.
    std::shared_ptr<char const> release()
    {
        _size = _capacity = 0;
        return std::move(_data);
    }

    char* data() { return _data.get(); }
    std::size_t size() const { return _size; }
    std::size_t limit() const { return _limit; }
    std::string_view text() const { return {_data.get(), _size}; }

private:
    struct Free {
        void operator()(char* p) const { std::free(p); }
    };
    std::size_t _limit, _size = 0, _capacity = 0;
    std::unique_ptr<char, Free> _data;
};

} // namespace Zelvan::play
