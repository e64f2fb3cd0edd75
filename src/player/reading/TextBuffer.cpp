#include "player/reading/TextBuffer.h"

#include "player/scene/Diagnostics.h"

#include <algorithm>

namespace Zelvan::play {

namespace {

void requireWithin(std::size_t size, std::size_t limit)
{
    if (size > limit)
        throw Failure(exitScene, "larger than " + std::to_string(limit) + " bytes (--max-bytes raises the limit)");
}

} // namespace

std::span<char> TextBuffer::room()
{
    constexpr std::size_t few = 8;
    if (_capacity - _size < few) {
        requireWithin(_size, _limit);
        std::size_t const wanted = std::min(std::max<std::size_t>(_capacity * 2, 1 << 16), _limit + 2 * few);
        char* const grown = static_cast<char*>(std::realloc(_data.get(), wanted + 1));
        if (grown == nullptr)
            throw std::bad_alloc();
        (void)_data.release();
        _data.reset(grown);
        _capacity = wanted;
    }
    return {_data.get() + _size, _capacity - _size};
}

void TextBuffer::trim()
{
    while (_size > 0 && _data.get()[_size - 1] == '\0')
        --_size;
}

void TextBuffer::end()
{
    requireWithin(_size, _limit);
    if (_data == nullptr)
        room();
    _data.get()[_size] = '\0';
}

} // namespace Zelvan::play
