#include "interpolationNodePool/InterpolationNodePool.h"
#include "tests/interpolationNodePool/MuseumRunner.h"
#include "tests/interpolationNodePool/PoolNodes.h"

#include <cstdlib>
#include <fstream>
#include <span>
#include <sstream>

namespace Zelvan {
namespace {

using test::LogCapture;
using test::Scene;

TEST(Registry, HoldsTheDocumentedRecords)
{
    std::ostringstream records, documented;
    for (NodeType const* const type : theSceneNodeTypeFactory().types()) {
        if (type->_poolName != "InterpolationNodePool")
            continue;
        records << type->_name << " < " << type->_parentName << (type->_aliasName.empty() ? "" : " alias " + type->_aliasName)
                << ", " << type->_status << ", " << type->_standard << ", " << (type->_createNode ? "creatable" : "abstract")
                << "\n    " << type->_description << '\n';
        for (NodePartDesc const& part : std::span(type->_parts, type->_ownPartCount)) {
            EXPECT_TRUE(part._mask.bits() == 1ul << part._index && part._hint == nullptr && part._reserved == 0);
            records << "  " << part._index << ' ' << part._name << ' ' << dataTypeName(part._dataType) << '(' << part._dataType
                    << ") " << accessName(part._type) << '(' << part._type << ") flags " << part._flags;
            if (part._defaultValue)
                records << " default " << part._defaultValue;
            if (part._allowedValues)
                records << " of " << part._allowedValues;
            records << "\n    " << part._description << '\n';
        }
    }
    if (std::getenv("ZELVAN_ACCEPT") != nullptr) // scripts/accept, which shows what has changed
        std::ofstream(ZELVAN_RECORDS) << records.str();
    documented << std::ifstream(ZELVAN_RECORDS).rdbuf();
    EXPECT_EQ(records.str(), documented.str());
}

template <class NodeClass>
class EveryNode : public testing::Test {};
TYPED_TEST_SUITE(EveryNode, test::CreatableNodes);

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
        EXPECT_EQ(log[0].text, "Field " + name + "/node." + field->findName() + " is already changing; break loop\n");
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
    node._isChangingMask = 0ul; // a node that is being handled would outlive its scene
}

} // namespace
} // namespace Zelvan
