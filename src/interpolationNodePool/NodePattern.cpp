#include "interpolationNodePool/NodePattern.h"

#include <new>

namespace Zelvan {

namespace {

constinit bool shortOfMemory = false; // set before this file's own initialisers may have run

} // namespace

unsigned declareAtLoad(char const* name, char const* description, char const* group) noexcept
{
    try {
        return Context::createParamID(name, description, group, false);
    } catch (std::bad_alloc const&) {
        shortOfMemory = true;
        return ~0u;
    }
}

bool loadedWhole(LogPlace const& place)
{
    if (shortOfMemory && PoolLog::takes(osg::LOG_FATAL))
        PoolLog::write(osg::LOG_FATAL, place, "Not enough memory while the library was loaded\n");
    return !shortOfMemory;
}

bool initType(NodeType const& type, LogPlace const& place)
{
    constexpr auto exact = static_cast<SearchCaseType>(0);
    bool const found = NodeTypeNameSpace::findType(&type._nameSpace, type._name, exact) != nullptr;
    if (PoolLog::takes(osg::LOG_INFO))
        PoolLog::write(osg::LOG_INFO, place, "Init %s: %s\n", type._name.c_str(), found ? "OK" : "FAILED");
    return found;
}

void logReentry(Node const& node, Field const& field, LogPlace const& place)
{
    PoolLog::write(osg::LOG_INFO, place, "Field %s/%s.%s is already changing; break loop\n", typeNameOf(node).c_str(),
                   nameOf(node).c_str(), field.findName());
}

} // namespace Zelvan
