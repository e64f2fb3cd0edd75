// Creates two nodes through the type records, plays an event through them, and looks at what comes out.

#include "base/Context.h"
#include "base/NodeNameSpace.h"
#include "base/NodeType.h"
#include "base/Route.h"
#include "interpolationNodePool/InterpolationNodePool.h"
#include "interpolationNodePool/PositionInterpolator3D.h"

#include <OpenSG/OSGVector.h>
#include <iostream>

using namespace Zelvan;

static Node& createNode(NodeNameSpace& nodes, std::string const& typeName)
{
    NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), typeName, searchExact);
    Node* const node = type->createNodeWithProc(nodes, nullptr);
    nodes.add(*node);
    return *node;
}

int main()
{
    if (!initInterpolationNodePool())
        return 1;
    Context context;
    NodeNameSpace nodes(context);
    Node& ease = createNode(nodes, "ScalarInterpolator");
    // A class of the library by an abstract type's name, seen through its own header.
    auto* const mover = dynamic_cast<PositionInterpolator3D*>(&createNode(nodes, "PositionInterpolator"));
    std::string error;
    if (mover == nullptr || !ease.findField("key")->setValueByStr("0 1", Field::multiple)
        || !ease.findField("keyValue")->setValueByStr("0.5 1", Field::multiple)
        || !mover->_key.setValueByStr("0 1", Field::multiple)
        || !mover->_keyValue.setValueByStr("0 0 0, 8 16 32", Field::multiple)
        || Route::add(*ease.findField("value_changed"), mover->_set_fraction, error) == nullptr) {
        std::cerr << "cannot set up: " << error << '\n';
        return 1;
    }
    for (Node* const node : nodes.nodes())
        node->_state = Node::live;

    Field& fraction = *ease.findField("set_fraction");
    fraction.setValueByStr("0.5", Field::single);
    ease.fieldChanged(fraction, 1.0, nullptr);

    std::cout << mover->_value_changed.getValueAsStr() << '\n';
    return mover->_value_changed._value == osg::Vector<float, 3u>(6, 12, 24) ? 0 : 1;
}
