#include "base/NodeProc.h"
#include "tests/Scene.h"

namespace Zelvan {
namespace {

using test::Scene;
using test::Sink;

NodeType makeType(NodeTypeNameSpace& types, char const* name, char const* parent, char const* alias = nullptr,
                  NodeType::CreateNode create = nullptr)
{
    return NodeType(types, name, "pool", parent, alias, nullptr, "c", nullptr, "", "", "", false, false, nullptr,
                    create, nullptr, nullptr, 0);
}

TEST(NodeTypes, AreFoundByNameAndByAlias)
{
    auto const create = [](NodeType&, NodeNameSpace& nodes, char const*) -> Node* { return new Sink<SFFloat>(nodes); };
    NodeTypeNameSpace types;
    auto const find = [&types](char const* name, SearchCaseType how = searchExact) {
        return NodeTypeNameSpace::findType(&types, name, how);
    };
    NodeType concrete = makeType(types, "Concrete", "Abstract", "Abstract", create);
    EXPECT_EQ(find("Abstract"), &concrete) << "an alias answers while no type has the name";
    EXPECT_EQ(concrete.parent(), &concrete) << "a cycle of names";
    EXPECT_FALSE(concrete.isDerivedFrom(*NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), "TransCoder",
                                                                     searchExact)));
    {
        NodeType abstractType = makeType(types, "Abstract", "Root");
        EXPECT_EQ(find("Abstract"), &abstractType);
        EXPECT_EQ(concrete.parent(), &abstractType);
        EXPECT_TRUE(concrete.isDerivedFrom(abstractType));
        EXPECT_FALSE(abstractType.isDerivedFrom(concrete));
        EXPECT_EQ(abstractType.creatableType(), &concrete);
        EXPECT_EQ(concrete.creatableType(), &concrete);
        EXPECT_EQ(find("abstract"), nullptr);
        EXPECT_EQ(find("abstract", searchIgnoreCase), &abstractType);
    }
    EXPECT_EQ(find("Abstract"), &concrete);
    EXPECT_EQ(find(""), nullptr);
    EXPECT_EQ(NodeTypeNameSpace::findType(nullptr, "Concrete", searchExact), nullptr);
}

TEST(Nodes, FieldsAreFoundWithAndWithoutSetAndChanged)
{
    Scene scene;
    NodePartDesc descs[3] = {{0, 1, inputOnly, SFFloatType, 1, "set_a", nullptr, nullptr, nullptr, "", 0},
                             {1, 2, outputOnly, SFFloatType, 1, "b_changed", nullptr, nullptr, nullptr, "", 0},
                             {2, 4, inputOutput, SFFloatType, 1, "c", nullptr, nullptr, nullptr, "", 0}};
    NodeTypeNameSpace types;
    NodeType type(types, "T", "", nullptr, nullptr, nullptr, "", nullptr, "", "", "", false, false, nullptr, nullptr,
                  nullptr, descs, 3);
    Sink<SFFloat> node(scene._nodes);
    SFFloat a, b, c, none;
    node.regField(a, type, 0, true);
    node.regField(b, type, 1, true);
    node.regField(c, type, 2, true);
    node.regField(none, type, 7, true);
    EXPECT_EQ(none._desc, nullptr) << "an index the type does not describe";
    struct {
        char const* name;
        Node::FieldSearchOrder order;
        Field* expected;
    } const cases[] = {
        {"set_a", Node::asInput, &a}, {"a", Node::asInput, &a},     {"a", Node::exactName, nullptr},
        {"b", Node::asOutput, &b},    {"c", Node::asInput, &c},     {"b_changed", Node::asOutput, &b},
        {"set_c", Node::asInput, &c}, {"c", Node::asOutput, &c},    {"c_changed", Node::asOutput, &c},
        {"c_changed", Node::asInput, nullptr}, {"set_a", Node::asOutput, &a}, {"d", Node::asInput, nullptr},
    };
    for (auto const& test : cases)
        EXPECT_EQ(node.findField(test.name, test.order), test.expected) << test.name << ' ' << test.order;
    for (unsigned index : {0u, 1u, 2u, 9u})
        node.unregField(index);
    EXPECT_EQ(node.findField("c"), nullptr);
}

} // namespace
} // namespace Zelvan
