#include "base/NodeProc.h"
#include "tests/LogCapture.h"
#include "tests/Scene.h"

namespace Zelvan {
namespace {

using test::Scene;
using test::Sink;

NodeType makeType(NodeTypeNameSpace& types, char const* name, char const* parent, char const* alias = nullptr,
                  NodeType::CreateNode create = nullptr)
{
    return NodeType(types, name, "pool", parent, alias, nullptr, "c", nullptr, "", "", "", false, false, nullptr, create,
                    nullptr, nullptr, 0);
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
    NodeType other = makeType(types, "Other", "");
    EXPECT_FALSE(concrete.isDerivedFrom(other));
    EXPECT_EQ(other.creatableType(), nullptr);
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
    NodePartDesc descs[4] = {{0, 1, inputOnly, SFFloatType, 1, "set_a", nullptr, nullptr, nullptr, "", 0},
                             {1, 2, outputOnly, SFFloatType, 1, "b_changed", nullptr, nullptr, nullptr, "", 0},
                             {2, 4, inputOutput, SFFloatType, 1, "c", nullptr, nullptr, nullptr, "", 0},
                             {3, 8, outputOnly, SFFloatType, 1, "a", nullptr, nullptr, nullptr, "", 0}};
    NodeTypeNameSpace types;
    NodeType type(types, "T", "", nullptr, nullptr, nullptr, "", nullptr, "", "", "", false, false, nullptr, nullptr, nullptr,
                  descs, 4);
    Sink<SFFloat> node(scene._nodes);
    SFFloat a, b, c, other, none;
    node.regField(a, type, 0, true);
    node.regField(b, type, 1, true);
    node.regField(c, type, 2, true);
    node.regField(other, type, 3, true);
    node.regField(none, type, 7, true);
    EXPECT_EQ(none._desc, nullptr) << "an index the type does not describe";
    struct {
        char const* name;
        Node::FieldSearchOrder order;
        Field* expected;
    } const cases[] = {
        {"set_a", Node::asInput, &a},      {"a", Node::asInput, &a},
        {"a", Node::exactName, &other},    {"b", Node::asOutput, &b},
        {"c", Node::asInput, &c},          {"b_changed", Node::asOutput, &b},
        {"set_c", Node::asInput, &c},      {"c", Node::asOutput, &c},
        {"c_changed", Node::asOutput, &c}, {"c_changed", Node::asInput, nullptr},
        {"set_a", Node::asOutput, &a},     {"d", Node::asInput, nullptr},
    };
    for (auto const& test : cases)
        EXPECT_EQ(node.findField(test.name, test.order), test.expected) << test.name << ' ' << test.order;
    for (unsigned index : {0u, 1u, 2u, 3u, 9u})
        node.unregField(index);
    EXPECT_EQ(node.findField("c"), nullptr);
}

TEST(NodeTypes, ASecondOneOfANameIsRefused)
{
    test::LogCapture log(osg::LOG_FATAL);
    NodeTypeNameSpace types;
    NodeType first = makeType(types, "One", "");
    {
        NodeType second = makeType(types, "One", "");
        ASSERT_EQ(log.size(), 1u);
        EXPECT_EQ(log[0].text, "Type One of pool is refused: pool has registered that name\n");
        EXPECT_EQ(types.types().size(), 1u);
    }
    EXPECT_EQ(NodeTypeNameSpace::findType(&types, "One", searchExact), &first);
    EXPECT_FALSE(NodeType::takeFailure());
}

TEST(NameSpaces, ForgetNodesThatGo)
{
    Scene scene;
    auto* const first = new Sink<SFFloat>(scene._nodes);
    auto* const second = new Sink<SFFloat>(scene._nodes);
    scene._nodes.add(*first);
    scene._nodes.add(*second);
    EXPECT_EQ(scene._nodes.find("sink"), second);
    second->_in.markChanged();
    delete second;
    EXPECT_EQ(scene._nodes.find("sink"), first) << "the one before has its name back";
    scene._nodes.finishFrame(1);
    first->ref();
    scene._nodes.remove(*first);
    scene._nodes.remove(*first); // not there
    EXPECT_EQ(scene._nodes.find("sink"), nullptr);
    EXPECT_TRUE(scene._nodes.nodes().empty());
    first->unref();
}

// Every hook, where the thing happens.
TEST(Processors, AreToldWhatHappensToTheirNodes)
{
    struct Told : SceneBaseNodeProc {
        Told(NodeType& type, Node& node, std::string& log) : SceneBaseNodeProc(type, node), _log(log) {}
        void setup(TimeStamp const& t) override { _log += " setup" + std::to_string(int(t)); }
        void initialize(TimeStamp const&) override { _log += " initialize"; }
        void attach(TimeStamp const& t) override { _log += " attach", SceneBaseNodeProc::attach(t); }
        void detach(TimeStamp const& t) override { _log += " detach" + std::to_string(int(t)), SceneBaseNodeProc::detach(t); }
        void shutdown(TimeStamp const& t) override { _log += " shutdown" + std::to_string(int(t)); }
        void shutdown() const override { _log += " end"; }
        void dispose(TimeStamp const& t) override { _log += " dispose" + std::to_string(int(t)); }
        void childChanged(TimeStamp const&) override { _log += " childChanged"; }
        void nodeChanged(TimeStamp const& t, BitVector<unsigned long> const& changed) override
        {
            _log += " nodeChanged:" + std::to_string(changed.bits()), SceneBaseNodeProc::nodeChanged(t, changed);
            if (t == 3) // of the next frame
                static_cast<Sink<SFFloat>&>(_node)._in.markChanged();
        }
        void childAdded(NodeLink&) override { _log += " childAdded"; }
        void childRemoved(NodeLink&) override { _log += " childRemoved"; }
        void parentAdded(NodeLink&) override { _log += " parentAdded"; }
        void parentRemoved(NodeLink&) override { _log += " parentRemoved"; }
        void fieldAdded(Field&) override { _log += " fieldAdded"; }
        void fieldRemoved(Field&) override { _log += " fieldRemoved"; }
        void routeAdded(Route&) override { _log += " routeAdded"; }
        void routeRemoved(Route&) override { _log += " routeRemoved"; }
        std::string& _log;
    };
    std::string log;
    auto const told = [&log](char const* expected) { EXPECT_EQ(std::exchange(log, ""), expected); };
    Scene scene;
    auto* const node = new Sink<SFFloat>(scene._nodes, inputOutput);
    Sink<SFFloat> other(scene._nodes);
    scene._nodes.add(*node);
    node->setProc(new Told(node->type(), *node, log));
    told(" setup0");
    NodePartDesc desc(0, 1, inputOutput, SFFloatType, 1, "x", nullptr, nullptr, nullptr, "", 0);
    NodeTypeNameSpace types;
    NodeType type(types, "T", "", nullptr, nullptr, nullptr, "", nullptr, "", "", "", false, false, nullptr, nullptr, nullptr,
                  &desc, 1);
    SFFloat field{*node};
    node->regField(field, type, 0, true);
    Scene::route(field, other._in);
    node->addParent(other);
    other.addParent(*node);
    told(" fieldAdded routeAdded parentAdded childAdded");
    node->enter(0);
    node->leave(1);
    node->enter(2);
    told(" initialize attach detach1 attach");
    EXPECT_FALSE(node->_proc->addNodePart(desc, nullptr) || node->_proc->removeNodePart(0)); // has none of its own
    node->_in.markChanged();
    other._in.markChanged();
    scene._nodes.finishFrame(3);
    EXPECT_TRUE(log == " childChanged nodeChanged:8") << log;
    log.clear();
    scene._nodes.finishFrame(4);
    EXPECT_EQ(node->_changedMask.bits() + node->_flags, 0u);
    EXPECT_THAT(std::exchange(log, ""), testing::EndsWith(" nodeChanged:8"));
    scene._nodes.finishFrame(5);
    // Whoever forgets changes in between: a node is told once, and one that goes not at all.
    node->_in.markChanged();
    node->clearChanged();
    node->_in.markChanged();
    auto* const brief = new Sink<SFFloat>(scene._nodes);
    brief->_in.markChanged();
    brief->clearChanged();
    delete brief;
    scene._nodes.finishFrame(6);
    EXPECT_EQ(std::exchange(log, ""), " nodeChanged:8");
    other._in.markChanged();
    scene._nodes.finishFrame(7);
    told(" childChanged");
    field.markChanged();
    scene._nodes.finishFrame(8);
    told(" childChanged nodeChanged:1");
    node->removeParent(other);
    node->unregField(0);
    told(" parentRemoved fieldRemoved routeRemoved");
    delete node;
    told(" detach0 shutdown0 childRemoved dispose0 end");
}

} // namespace
} // namespace Zelvan
