// Two interpolators, one behind the other: a fraction goes into the first, a position comes out of the second.
#include "base/Context.h"
#include "base/Fields.h"
#include "base/NodeNameSpace.h"
#include "base/NodeType.h"
#include "base/Route.h"
#include "interpolationNodePool/InterpolationNodePool.h"
#include "interpolationNodePool/PositionInterpolator3D.h"
#include "interpolationNodePool/Version.h"

#include <iostream>

using namespace Zelvan;
static_assert(ZELVAN_INTERPOLATION_VERSION >= 200, "written for 0.2");

int main()
{
    if (!initInterpolationNodePool())
        return 1;
    Context context;
    NodeNameSpace nodes(context); // holds its nodes, and ends them
    auto const create = [&nodes](char const* typeName) -> Node& {
        NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), typeName, searchExact);
        Node* const node = type->createNodeWithProc(nodes, nullptr);
        nodes.add(*node);
        node->_state = Node::live; // delivers events at once
        return *node;
    };
    // Fields are found by name in any node, and are members of a class that is known.
    Node& ease = create("ScalarInterpolator");
    auto& mover = dynamic_cast<PositionInterpolator3D&>(create("PositionInterpolator"));
    ease.findField("key")->setValueByStr("0 1", Field::multiple);
    ease.findField("keyValue")->setValueByStr("0.5 1", Field::multiple);
    mover._key._value = {0, 1};
    mover._keyValue._value = {{0, 0, 0}, {8, 16, 32}};
    std::string error;
    if (Route::add(*ease.findField("value_changed"), mover._set_fraction, error) == nullptr) {
        std::cerr << error << '\n';
        return 1;
    }
    auto& fraction = static_cast<SFFloat&>(*ease.findField("set_fraction"));
    fraction._value = 0.5f;
    ease.fieldChanged(fraction, 1.0, nullptr);                 // an event, at 1 s
    std::cout << mover._value_changed.getValueAsStr() << '\n'; // 6 12 24
}
