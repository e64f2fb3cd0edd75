#include "base/NodeProc.h"
#include "interpolationNodePool/Interpolator.h"
#include "interpolationNodePool/InterpolatorProc.h"
#include "tests/Scene.h"

#include <cstddef>
#include <vector>

// What the framework and the pool, compiled apart, have to agree on.

namespace Zelvan {
namespace {

template <class... Members>
std::vector<unsigned> slotsOf(Members... members)
{
    return {test::slotOf(members)...};
}

TEST(Slots, OfFrameworkOperations)
{
    using Parts = bool (NodeProc::*)(NodePartDesc const&, BitVector<unsigned int>*);
    using NewPart = bool (NodeProc::*)(NodePartType, NodePartDataType, char const*, char const*, char const*,
                                       char const*, bool, bool, bool, char const*);
    for (std::vector<unsigned> const& slots :
         {slotsOf(&Field::findName, &Field::dataType, &Field::assignValue, &Field::type, &Field::typeName,
                  &Field::setValueByStr, &Field::setAndValidateValueByStr, &Field::getValueAsStr,
                  &Field::get1ValueAsStr, &Field::setValueByBin, &Field::setToDefault, &Field::set1ValueByStr,
                  &Field::elementSize, &Field::getValueAsBin, &Field::get1ValueAsBin, &Field::addValueByStr,
                  &Field::set1ValueByBin, &Field::cardinality, &Field::size, &Field::empty, &Field::resize,
                  &Field::reserve, &Field::clear, &Field::free, &Field::equalValue,
                  &XField<float, false>::addValueFieldDep),
          slotsOf(static_cast<void (NodeProc::*)() const>(&NodeProc::shutdown), &NodeProc::setup,
                  &NodeProc::initialize, &NodeProc::attach, &NodeProc::detach,
                  static_cast<void (NodeProc::*)(TimeStamp const&)>(&NodeProc::shutdown), &NodeProc::dispose,
                  &NodeProc::childChanged, &NodeProc::nodeChanged, &NodeProc::childAdded, &NodeProc::childRemoved,
                  &NodeProc::parentAdded, &NodeProc::parentRemoved, &NodeProc::fieldAdded, &NodeProc::fieldRemoved,
                  &NodeProc::routeAdded, &NodeProc::routeRemoved, static_cast<NewPart>(&NodeProc::addNodePart),
                  static_cast<Parts>(&NodeProc::addNodePart), &NodeProc::removeNodePart, &NodeProc::findField,
                  &NodeProc::mergeNode, &NodeProc::nameSpace, &NodeProc::childNameSpace,
                  &NodeProc::setChildNameSpace, &NodeProc::getInfoStr)}) {
        ASSERT_EQ(slots.size(), 26u);
        for (unsigned i = 0; i < slots.size(); ++i)
            EXPECT_EQ(slots[i], i + 2) << "after the two destructors";
    }
}

// Members that are read without a call. (No class here has a virtual base, so offsets are what they seem.)
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(Node, _type) == 16 && offsetof(Node, _nameSpace) == 24 && offsetof(Node, _name) == 32
              && offsetof(Node, _proc) == 64 && offsetof(Node, _isChangingMask) == 72
              && offsetof(Node, _changedMask) == 80 && offsetof(Node, _state) == 88 && offsetof(Node, _flags) == 92
              && offsetof(Node, _traceFlags) == 96 && sizeof(Node) == 152);
static_assert(offsetof(TransCoder, _metadata) == 152 && offsetof(TransCoder, _enabled) == 232
              && offsetof(TransCoder, _description) == 288 && sizeof(TransCoder) == 368);
static_assert(offsetof(Field, _node) == 8 && offsetof(Field, _desc) == 16 && offsetof(Field, _routesOut) == 24
              && offsetof(Field, _routesIn) == 32 && offsetof(Field, _flags) == 40
              && offsetof(SFFloat, _value) == 48);
static_assert(offsetof(NodeProc, _type) == 16 && offsetof(NodeProc, _node) == 24
              && offsetof(NodeProc, _context) == 32 && sizeof(TransCoderProc) == 48 && offsetof(InterpolatorProc, _lastIndex) == 48
              && sizeof(InterpolatorProc) == 56);
static_assert(offsetof(NodePartDesc, _index) == 8 && offsetof(NodePartDesc, _mask) == 16
              && offsetof(NodePartDesc, _type) == 24 && offsetof(NodePartDesc, _dataType) == 28
              && offsetof(NodePartDesc, _flags) == 32 && offsetof(NodePartDesc, _name) == 40
              && offsetof(NodePartDesc, _defaultValue) == 56 && offsetof(NodePartDesc, _allowedValues) == 64
              && offsetof(NodePartDesc, _description) == 72 && sizeof(NodePartDesc) == 88);
static_assert(offsetof(NodeType, _nameSpace) == 0 && offsetof(NodeType, _name) == 8
              && offsetof(NodeType, _isType) == 264 && offsetof(NodeType, _createNode) == 272
              && offsetof(NodeType, _createProc) == 280 && offsetof(NodeType, _parts) == 288
              && offsetof(NodeType, _ownPartCount) == 296 && sizeof(NodeType) == 304);
// The nine words of a rotation.
static_assert(sizeof(Rotation) == 36 && offsetof(Rotation, _quaternion) == 0 && offsetof(Rotation, _axis) == 16
              && offsetof(Rotation, _angle) == 28 && offsetof(Rotation, _state) == 32);

} // namespace
} // namespace Zelvan
