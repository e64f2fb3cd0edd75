#include "interpolationNodePool/InterpolationNodePool.h"

#include "interpolationNodePool/NodePattern.h"
#include "interpolationNodePool/NodeTypes.h" // the build writes it, from the list in CMakeLists.txt

namespace Zelvan {

namespace {

// Every class is asked, whatever the one before it answered; the last answer counts.
template <class... Classes>
bool initAll()
{
    bool found = false;
    ((found = Classes::init()), ...);
    return found;
}

} // namespace

bool initInterpolationNodePool()
{
    bool const found = initAll<ZELVAN_NODE_TYPES>();
    return loadedWhole(ZELVAN_HERE) && found;
}

} // namespace Zelvan
