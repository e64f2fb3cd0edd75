// The bundled framework's host.

#include "Host.h"
#include "base/Context.h"
#include "base/Field.h"
#include "base/NodeNameSpace.h"
#include "base/NodeType.h"

namespace Zelvan {
namespace {

struct Sent : SendObserver {
    void sent(Field& field, TimeStamp const& timeStamp) override
    {
        Host::sent(field.findName(), timeStamp, field.getValueAsBin(-1));
    }
} observer;

Context context;

} // namespace

Host::Host(bool binarySearch) : _nameSpace(new NodeNameSpace(context))
{
    context.setBValue(Context::findParamID("binSearchKeyIndex"), binarySearch);
    Field::observe(&observer);
}
Host::~Host()
{
    delete _nameSpace;
}

void Host::create(char const* typeName)
{
    NodeType& type = *NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), typeName, searchExact);
    _node = type.createNodeWithProc(*_nameSpace, "node");
    _nameSpace->add(*_node);
    _node->_state = Node::live;
}

void Host::change(unsigned index, std::string const& bin, double time)
{
    Field& field = *_node->fields().at(index);
    if (!field.setValueByBin(bin))
        field.setValueByStr(bin.c_str(), Field::multiple);
    _node->fieldChanged(field, time, nullptr);
}

} // namespace Zelvan
