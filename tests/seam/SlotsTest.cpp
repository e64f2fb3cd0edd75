#include "interpolationNodePool/EaseInEaseOut.h"
#include "interpolationNodePool/EaseInEaseOutProc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace Zelvan {
namespace {

// A pointer to a virtual member holds its place in the table (Itanium C++ ABI).
template <class Member>
unsigned slot(Member member)
{
    std::uintptr_t words[2];
    static_assert(sizeof words == sizeof member);
    std::memcpy(words, &member, sizeof words);
    return static_cast<unsigned>((words[0] - 1) / sizeof(void*));
}
template <class Class>
unsigned timed(void (Class::*member)(TimeStamp const&))
{
    return slot(member);
}
template <class Class>
unsigned plain(void (Class::*member)() const)
{
    return slot(member);
}

TEST(Slots, AreThoseThatPluginsWereCompiledFor)
{
    using Proc = EaseInEaseOutProc;
    using Single = XField<float, false>;
    using AddByText = bool (NodeProc::*)(NodePartType, NodePartDataType, char const*, char const*, char const*, char const*,
                                         bool, bool, bool, char const*);
    using AddByDesc = bool (NodeProc::*)(NodePartDesc const&, BitVector<unsigned int>*);
    struct {
        unsigned is, expected;
    } const slots[] = {
        {plain(&EaseInEaseOut::shutdown), 2},
        {slot(&EaseInEaseOut::fieldChanged), 3},
        {plain(&Proc::shutdown), 2},
        {slot(&Proc::setup), 3},
        {slot(&Proc::initialize), 4},
        {slot(&Proc::attach), 5},
        {slot(&Proc::detach), 6},
        {timed<NodeProc>(&NodeProc::shutdown), 7},
        {slot(&Proc::dispose), 8},
        {slot(&Proc::childChanged), 9},
        {slot(&Proc::nodeChanged), 10},
        {slot(&Proc::childAdded), 11},
        {slot(&Proc::childRemoved), 12},
        {slot(&Proc::parentAdded), 13},
        {slot(&Proc::parentRemoved), 14},
        {slot(&Proc::fieldAdded), 15},
        {slot(&Proc::fieldRemoved), 16},
        {slot(&Proc::routeAdded), 17},
        {slot(&Proc::routeRemoved), 18},
        {slot<AddByText>(&NodeProc::addNodePart), 19},
        {slot<AddByDesc>(&NodeProc::addNodePart), 20},
        {slot(&Proc::removeNodePart), 21},
        {slot(&Proc::findField), 22},
        {slot(&Proc::mergeNode), 23},
        {slot<NodeNameSpace* (NodeProc::*)()>(&Proc::nameSpace), 24},
        {slot(&Proc::childNameSpace), 25},
        {slot(&Proc::setChildNameSpace), 26},
        {slot(&Proc::getInfoStr), 27},
        {slot(&Single::findName), 2},
        {slot(&Single::type), 5},
        {slot(&Single::typeName), 6},
        {slot(&Single::setValueByStr), 7},
        {slot(&Single::setAndValidateValueByStr), 8},
        {slot(&Single::setValueByBin), 11},
        {slot(&Single::getValueAsBin), 15},
        {slot(&Single::get1ValueAsBin), 16},
        {slot(&Single::addValueByStr), 17},
        {slot(&Single::set1ValueByBin), 18},
        {slot(&Single::cardinality), 19},
        {slot(&Single::size), 20},
        {slot(&Single::empty), 21},
        {slot(&Single::resize), 22},
        {slot(&Single::reserve), 23},
        {slot(&Single::clear), 24},
        {slot(&Single::free), 25},
        {slot(&Single::equalValue), 26},
        {slot(&Single::addValueFieldDep), 27},
    };
    for (auto const& s : slots)
        EXPECT_EQ(s.is, s.expected);
}

} // namespace
} // namespace Zelvan
