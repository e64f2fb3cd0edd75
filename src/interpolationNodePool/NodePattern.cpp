#include "interpolationNodePool/NodePattern.h"

namespace Zelvan {

bool initType(NodeType const& type, LogPlace const& place)
{
    bool const found = NodeTypeNameSpace::findType(&type._nameSpace, type._name, searchExact) != nullptr;
    if (logs(osg::LOG_INFO))
        writeLog(osg::LOG_INFO, place, "Init %s: %s\n", type._name.c_str(), found ? "OK" : "FAILED");
    return found;
}

void logReentry(Node const& node, Field const& field, LogPlace const& place)
{
    writeLog(osg::LOG_INFO, place, "Field %s/%s.%s is already changing; break loop\n", node.type()._name.c_str(),
             node.displayName().c_str(), field.findName());
}

} // namespace Zelvan
