#include "interpolationNodePool/InterpolationNodePool.h"
#include "tests/interpolationNodePool/MuseumRunner.h"
#include "tests/interpolationNodePool/PoolNodes.h"

#include <fstream>
#include <sstream>

namespace Zelvan {
namespace {

using test::LogCapture;
using test::Scene;

/// The pool's records in the order they were registered.
std::vector<NodeType*> poolTypes()
{
    std::vector<NodeType*> types;
    for (NodeType* const type : theSceneNodeTypeFactory().types())
        if (type->_poolName == "InterpolationNodePool")
            types.push_back(type);
    return types;
}

NodeType* find(std::string const& name)
{
    return NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), name, searchExact);
}

TEST(Registry, HoldsTheDocumentedRecords)
{
    std::ostringstream records;
    for (NodeType const* const type : poolTypes()) {
        EXPECT_EQ(&type->_nameSpace, &theSceneNodeTypeFactory());
        EXPECT_EQ(type->_componentName, "Interpolation");
        EXPECT_EQ(type->_createNode == nullptr, type->_createProc == nullptr) << type->_name;
        EXPECT_EQ(type->_parts == nullptr, type->_ownPartCount == 0) << type->_name;
        records << type->_name << " < " << type->_parentName
                << (type->_aliasName.empty() ? "" : " alias " + type->_aliasName) << ", " << type->_status << ", "
                << type->_standard << ", " << (type->_createNode ? "creatable" : "abstract") << "\n    "
                << type->_description << '\n';
        for (unsigned i = 0; i < type->_ownPartCount; ++i) {
            NodePartDesc const& part = type->_parts[i];
            EXPECT_EQ(part._mask.bits(), 1ul << part._index) << type->_name << '.' << part._name;
            EXPECT_EQ(part._hint, nullptr);
            EXPECT_EQ(part._reserved, 0u);
            records << "  " << part._index << ' ' << part._name << ' ' << dataTypeName(part._dataType) << '('
                    << part._dataType << ") " << accessName(part._type) << '(' << part._type << ") flags "
                    << part._flags;
            if (part._defaultValue)
                records << " default " << part._defaultValue;
            if (part._allowedValues)
                records << " of " << part._allowedValues;
            records << "\n    " << part._description << '\n';
        }
    }
    std::ifstream file(TEST_SOURCE_DIR "/records.txt");
    std::stringstream documented;
    documented << file.rdbuf();
    ASSERT_TRUE(file);
    EXPECT_EQ(records.str(), documented.str());
}

TEST(Registry, InitAsksEveryClassAndAnswersForTheLast)
{
    std::vector<std::string> const order = {
        "ColorInterpolator", "CoordinateInterpolator2D", "CoordinateInterpolator3D", "CoordinateInterpolator",
        "EaseInEaseOut", "Interpolator", "LinearInterpolator", "NonlinearInterpolator", "NormalInterpolator",
        "OrientationInterpolator", "PositionInterpolator2D", "PositionInterpolator3D", "PositionInterpolator",
        "ScalarInterpolator", "SplineInterpolator", "SplinePositionInterpolator2D", "SplinePositionInterpolator3D",
        "SplinePositionInterpolator", "SplineScalarInterpolator", "SquadOrientationInterpolator",
        "TransformationInterpolator", "VectorInterpolator"};
    // A record whose name is lost is not found again.
    for (std::string const lost : {"", "ScalarInterpolator", "VectorInterpolator"}) {
        NodeType* const hidden = find(lost);
        if (hidden)
            hidden->_name.clear();
        LogCapture log(osg::LOG_INFO);
        EXPECT_EQ(initInterpolationNodePool(), lost != "VectorInterpolator");
        ASSERT_EQ(log.size(), order.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            std::string const& name = order[i];
            EXPECT_EQ(log[i].text, name == lost ? "Init : FAILED\n" : "Init " + name + ": OK\n");
            EXPECT_EQ(log[i].level, osg::LOG_INFO);
            EXPECT_EQ(log[i].file, "interpolationNodePool/" + name);
            EXPECT_GT(log[i].line, 0u);
            EXPECT_EQ(log[i].function, "static bool Zelvan::" + name + "::init()");
            EXPECT_EQ(log._modules[i], LogModuleName);
        }
        if (hidden)
            hidden->_name = lost;
    }
    LogCapture log(osg::LOG_NOTICE);
    EXPECT_TRUE(initInterpolationNodePool());
    EXPECT_EQ(log.size(), 0u);
}

TEST(Registry, IsTypeFollowsTheClasses)
{
    Scene scene;
    for (NodeType* const ancestor : poolTypes()) {
        EXPECT_FALSE(ancestor->_isType(nullptr)) << ancestor->_name;
        test::Sink<SFFloat> stranger(scene._nodes);
        EXPECT_FALSE(ancestor->_isType(&stranger)) << ancestor->_name;
        for (NodeType* const type : poolTypes()) {
            if (type->_createNode == nullptr)
                continue;
            bool derived = false;
            for (NodeType const* t = type; t != nullptr && !derived; t = find(t->_parentName))
                derived = t == ancestor;
            EXPECT_EQ(ancestor->_isType(&scene.add(type->_name)), derived) << type->_name << " a " << ancestor->_name;
        }
    }
}

TEST(Registry, AbstractTypesStandForTheirAliasOrForNothing)
{
    for (NodeType* const type : poolTypes()) {
        EXPECT_EQ(find(type->_name), type) << "an alias hides no type";
        std::string expected = type->_createNode ? type->_name : "";
        if (type->_name == "PositionInterpolator" || type->_name == "CoordinateInterpolator"
            || type->_name == "SplinePositionInterpolator")
            expected = type->_name + "3D";
        NodeType const* const created = type->creatableType();
        EXPECT_EQ(created ? created->_name : "", expected) << type->_name;
    }
}

/// Goes last when a node is destroyed, and finds no field any more.
class LastToGo : public NodeProc {
public:
    using NodeProc::NodeProc;
    ~LastToGo() override
    {
        for (Field const* const field : node().fields())
            EXPECT_EQ(field, nullptr);
    }
};

template <class NodeClass>
class EveryNode : public testing::Test {};
TYPED_TEST_SUITE(EveryNode, test::CreatableNodes);

TYPED_TEST(EveryNode, IsBuiltAsItsRecordSays)
{
    NodeType& own = TypeParam::_type;
    unsigned const before = BaseObject::_objCount;
    {
        Context context;
        NodeNameSpace nodes(context);
        NodeType& given = ScalarInterpolator::_type; // any other type
        std::unique_ptr<Node> const node(own._createNode(given, nodes, "built"));
        Node const& made = *node;
        EXPECT_EQ(typeid(made), typeid(TypeParam));
        EXPECT_EQ(&node->type(), &given);
        EXPECT_EQ(node->name(), "built");
        EXPECT_EQ(BaseObject::_objCount, before + 1 + node->fields().size());
        ASSERT_EQ(node->fields().size(), own.partCount());
        for (NodeType const* declaring = &own; declaring != nullptr; declaring = declaring->parent()) {
            for (unsigned i = 0; i < declaring->_ownPartCount; ++i) {
                NodePartDesc const& part = declaring->_parts[i];
                Field const* const field = node->fields()[part._index];
                ASSERT_NE(field, nullptr) << part._name;
                EXPECT_EQ(field->_desc, &part) << "described by the class that declares it";
                EXPECT_EQ(field->_node, node.get());
                EXPECT_EQ(field->dataType(), part._dataType) << part._name;
                bool const isList = field->cardinality() == Field::multiple;
                EXPECT_EQ(field->empty(), isList) << part._name;
            }
        }
        TypeParam twoArguments(nodes, nullptr);
        EXPECT_EQ(&twoArguments.type(), &own);
        EXPECT_EQ(twoArguments._proc, nullptr);
        twoArguments.fieldChanged(twoArguments._set_fraction, 1, nullptr); // nobody is there to handle it
        twoArguments.setProc(new LastToGo(own, twoArguments));
        NodeProc* const proc = own._createProc(own, *node);
        EXPECT_EQ(std::string(typeid(*proc).name()).find(std::to_string(own._name.size() + 4) + own._name + "Proc"),
                  std::string("N6Zelvan").size());
        EXPECT_EQ(&proc->node(), node.get());
        EXPECT_EQ(&proc->_type, &own);
        node->setProc(proc);
    }
    EXPECT_EQ(BaseObject::_objCount, before);
}

TYPED_TEST(EveryNode, SendsOnFractionsWhileItIsEnabled)
{
    LogCapture quiet(osg::LOG_LOG);
    Scene scene;
    auto& node = scene.add<TypeParam>();
    test::Sink<test::OutputOf<TypeParam>> sink(scene._nodes);
    Scene::route(test::outputOf(node), sink._in);
    node._key._value = {0, 1};
    test::listOf(node).resize(2);
    node._set_fraction._value = 0.5f;
    for (bool const enabled : {true, false}) {
        node._enabled._value = enabled;
        for (Field* const field : node.fields()) {
            node._changedMask = {};
            sink._received.clear();
            node.fieldChanged(*field, 2.5, nullptr);
            bool const sends = enabled && field == &node._set_fraction;
            EXPECT_EQ(sink._received.size(), sends ? 1u : 0u) << field->findName() << (enabled ? "" : ", disabled");
            EXPECT_EQ(node._changedMask.bits(), sends ? test::outputOf(node)._desc->_mask.bits() : 0);
            EXPECT_EQ(node._isChangingMask.bits(), 0u);
        }
    }
    node._enabled._value = true;
    node._state = Node::initialized;
    sink._changedMask = {};
    node.fieldChanged(node._set_fraction, 2.5, nullptr);
    EXPECT_TRUE(sink._received.empty()) << "a node that is not live only records";
    EXPECT_EQ(sink._changedMask.bits(), sink._desc._mask.bits());
}

TYPED_TEST(EveryNode, BreaksTheLoopWhenAFieldComesBack)
{
    Scene scene;
    auto& node = scene.add<TypeParam>();
    LogCapture log(osg::LOG_INFO);
    for (Field* const field : node.fields()) {
        node._isChangingMask = field->_desc->_mask;
        node.fieldChanged(*field, 1, nullptr);
        ASSERT_EQ(log.size(), 1u);
        std::string const& name = TypeParam::_type._name;
        EXPECT_EQ(log[0].level, osg::LOG_INFO);
        EXPECT_EQ(log[0].file, "interpolationNodePool/" + name);
        EXPECT_THAT(log[0].function, testing::StartsWith("virtual void Zelvan::" + name + "::fieldChanged("));
        EXPECT_EQ(log[0].text,
                  "Field " + name + "/node." + field->findName() + " is already changing; break loop\n");
        EXPECT_EQ(node._isChangingMask, field->_desc->_mask) << "the bit belongs to the outer change";
        log.clear();

        osg::osgLogP->setLogLevel(osg::LOG_LOG);
        node._isChangingMask = ~0ul & ~field->_desc->_mask.bits();
        node.fieldChanged(*field, 1, nullptr);
        EXPECT_EQ(node._isChangingMask.bits(), ~field->_desc->_mask.bits()) << "other fields may nest";
        osg::osgLogP->setLogLevel(osg::LOG_INFO);
        log.clear();
    }
    // A field without a description has no bit and belongs to nobody.
    SFFloat bare{node};
    node._isChangingMask = ~0ul;
    node.fieldChanged(bare, 1, nullptr);
    EXPECT_EQ(log.size(), 0u);
    EXPECT_EQ(node._isChangingMask.bits(), ~0ul);
}

} // namespace
} // namespace Zelvan
