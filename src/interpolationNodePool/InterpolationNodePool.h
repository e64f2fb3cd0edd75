#pragma once

#include "interpolationNodePool/Export.h"

namespace Zelvan {

/// The library's entry: the framework calls it once the library is loaded. Every class looks its type up again
/// and logs the outcome at LOG_INFO. False when VectorInterpolator, the last of them, is not registered.
ZELVAN_INTERPOLATION_API bool initInterpolationNodePool();

} // namespace Zelvan
