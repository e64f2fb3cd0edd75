#include "interpolationNodePool/KeySearch.h"

#include "interpolationNodePool/Kernels.h"

namespace Zelvan {

// An interval begins where a key is not above the fraction and the next one is, so only the keys above the
// fraction are looked for, many at a time; the key before each is then tested by itself.
unsigned linearInterval(float const* keys, unsigned n, float fraction, unsigned start)
{
    auto const firstAbove = Kernels::active().firstAbove;
    for (unsigned above = start + 1; above < n; ++above) {
        above = firstAbove(keys, above, n, fraction);
        if (above < n && keys[above - 1] <= fraction)
            return above - 1;
    }
    return n - 1;
}

} // namespace Zelvan
