#pragma once

namespace Zelvan {

/// The first i from `start` to n - 2 with keys[i] <= fraction < keys[i + 1]; n - 1 when there is none, which
/// needs keys that are out of order or a NaN. n is at least 2. Looks at many keys at a time.
unsigned linearInterval(float const* keys, unsigned n, float fraction, unsigned start);

/// The interval that a binary search over 0 to n - 1 ends in; n is at least 2. A fraction equal to an inner
/// key ends in the interval before that key; a NaN ends in interval 0.
inline unsigned binaryInterval(float const* keys, unsigned n, float fraction)
{
    unsigned low = 0, high = n - 1;
    while (high - low > 1) {
        unsigned const middle = low + (high - low) / 2;
        if (fraction > keys[middle])
            low = middle;
        else
            high = middle;
    }
    return low;
}

} // namespace Zelvan
