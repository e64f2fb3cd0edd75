#include "tests/LogCapture.h"
#include "tests/Scene.h"

#include <numeric>

namespace Zelvan {
namespace {

using test::LogCapture;
using test::Scene;
using test::Sink;

// A field of a node of its own, with a route to a sink that tells what was sent.
struct Sender {
    Sender(NodePartType access, unsigned flags, unsigned state) : node(scene._nodes, access, flags), receiver(scene._nodes)
    {
        node._state = state;
        receiver._state = Node::live;
        node._desc._type = inputOutput; // a route needs a field that sends
        Scene::route(node._in, receiver._in);
        node._desc._type = access;
        node._in._value = 7;
    }
    Scene scene;
    Sink<SFFloat> node, receiver;
};

TEST(ValueChange, DeliversByStateAccessAndCaller)
{
    struct Case {
        unsigned state;
        NodePartType access;
        unsigned flags;
        Field::CallerType caller;
        bool refuse;
        bool marked, sent;
    } const cases[] = {
        {Node::live, outputOnly, 1, Field::byProcessor, false, true, true},
        {Node::attached, outputOnly, 1, Field::byProcessor, true, true, true},
        {Node::live, initializeOnly, 1, Field::byProcessor, true, true, true},
        {Node::live, inputOnly, 1, Field::byProcessor, false, true, true},
        {Node::live, inputOnly, 1, Field::byProcessor, true, true, false},
        {Node::live, inputOutput, 1, Field::byProcessor, false, true, false},
        {Node::live, inputOutput, 1, Field::byHost, false, true, true},
        {Node::live, inputOutput, 9, Field::byProcessor, false, true, true},
        {Node::live, inputOutput, 9, Field::byHost, true, true, false},
        {Node::live, NodePartType(3), 9, Field::byHost, false, false, false},
        {Node::live, NodePartType(5), 9, Field::byHost, false, false, false},
        {Node::live, NodePartType(6), 9, Field::byHost, false, false, false},
    };
    for (Case const& c : cases) {
        Sender s(c.access, c.flags, c.state);
        s.node._in.refuseChanges(c.refuse);
        s.node._in.processValueChange(2.5, c.caller);
        auto const which = testing::Message() << "access " << c.access << " flags " << c.flags << " caller " << c.caller;
        EXPECT_EQ(s.node._changedMask.bits(), c.marked ? 8u : 0u) << which;
        ASSERT_EQ(s.receiver._received.size(), c.sent ? 1u : 0u) << which;
        if (c.sent) {
            EXPECT_EQ(s.receiver._received[0], std::make_pair(2.5, 7.f)) << which;
            EXPECT_EQ(s.receiver._from, &s.node._in) << which;
        }
    }
}

TEST(ValueChange, MarksTheNodesAboveOnce)
{
    Scene scene;
    Sink<SFFloat> child(scene._nodes), parent(scene._nodes), grandParent(scene._nodes), early(scene._nodes);
    child.addParent(early);
    child.addParent(parent);
    parent.addParent(grandParent);
    grandParent.addParent(child); // a cycle must not hang
    child._in.markChanged();
    EXPECT_TRUE(child._flags & Node::parentMarked);
    EXPECT_TRUE(parent._flags & grandParent._flags & Node::childMarked);
    parent._flags = 0;
    child._in.markChanged();
    EXPECT_EQ(parent._flags, 0u);
    child.removeParent(parent);
    child._flags = 0;
    child._in.markChanged();
    EXPECT_TRUE(child._flags != 0 && parent._flags == 0) << "no longer above";
    Sink<SFFloat> late(scene._nodes);
    {
        Sink<SFFloat> gone(scene._nodes);
        child.addParent(gone);
    }
    child.addParent(late);
    EXPECT_EQ(late._flags, Node::childMarked) << "marked as if it had been there";
    child.clearChanged();
    child._in.markChanged();
}

// A node that passes on what it receives, and can drop a route while it is being used.
class Relay : public Sink<SFFloat> {
public:
    explicit Relay(NodeNameSpace& nameSpace) : Sink(nameSpace, inputOutput) { _state = live; }
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override
    {
        Sink::fieldChanged(field, timeStamp, from);
        for (Route* const route : std::exchange(_toRemove, {}))
            Route::remove(*route);
        field.processValueChange(timeStamp, Field::byHost);
    }
    std::vector<Route*> _toRemove;
};

TEST(ValueChange, LogsFromFixedPlaces)
{
    std::string const function = "void Zelvan::Field::processValueChange(const TimeStamp&, Zelvan::Field::CallerType)";
    LogCapture log(osg::LOG_INFO);
    Sender s(outputOnly, 9, Node::live);
    s.node._traceFlags = Node::trace;
    s.node._isChangingMask |= s.node._desc._mask;
    s.node._in.processValueChange(1, Field::byProcessor);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], (test::LogEntry{osg::LOG_LOG, "base/Field", 152, function, "Sink/sink.in: processValueChange()\n"}));
    EXPECT_EQ(log[1],
              (test::LogEntry{osg::LOG_WARNING, "base/Field", 159, function,
                              "Sink/sink.in: processValueChange() && _isChangingMask set\n"}));
    EXPECT_EQ(s.receiver._received.size(), 1u);

    log.clear();
    s.node._desc._flags = 1;
    osg::osgLogP->setLogLevel(osg::LOG_LOG);
    s.node._in.processValueChange(1, Field::byProcessor);
    EXPECT_EQ(log.size(), 1u) << "the trace asks for no level, and only fields with flag 8 warn";

    log.clear();
    osg::osgLogP->setLogLevel(osg::LOG_INFO);
    SFFloat bare;
    bare.processValueChange(1, Field::byHost);
    EXPECT_EQ(log.size(), 0u);
    bare.markChanged();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0],
              (test::LogEntry{osg::LOG_INFO, "base/Field", 92, "void Zelvan::Field::markChanged()",
                              "Field without desc in XField::markChanged()\n"}));
}

TEST(ValueChange, ComparingDifferentTypesIsReported)
{
    LogCapture log(osg::LOG_FATAL);
    EXPECT_FALSE(SFFloat().equalValue(SFVec3f()));
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].level, osg::LOG_FATAL);
    EXPECT_EQ(log[0].file, "base/XField");
    EXPECT_EQ(log[0].line, 271u);
    EXPECT_EQ(log[0].text, "Type mismatch in XField::opperator==\n");
}

TEST(Routes, MayBeRemovedWhileTheyDeliver)
{
    Scene scene;
    Relay source(scene._nodes), first(scene._nodes), second(scene._nodes), third(scene._nodes);
    for (Relay* const target : {&first, &second, &third})
        Scene::route(source._in, target->_in);
    first._toRemove = {first._in._routesIn, second._in._routesIn};
    source._in._value = 1;
    source._in.processValueChange(1, Field::byHost);
    source._in.processValueChange(2, Field::byHost);
    EXPECT_EQ(first._received.size(), 1u);
    EXPECT_EQ(second._received.size(), 0u);
    EXPECT_EQ(third._received.size(), 2u);
    Scene::route(first._in, second._in);
    std::string error;
    Route* const added = Route::add(first._in, third._in, error);
    EXPECT_TRUE(added != nullptr && third._in._routesIn->nextIn() != nullptr);
    EXPECT_EQ(Route::add(first._in, third._in, error), added) << "once is enough";
    Route::removeAll(first._in);
    EXPECT_EQ(third._in._routesIn->nextIn(), nullptr) << "only the one from the source is left";
}

TEST(Routes, ChainsOfAnyLengthArrive)
{
    Scene scene;
    std::vector<std::unique_ptr<Relay>> chain;
    for (int i = 0; i < 200000; ++i) {
        chain.push_back(std::make_unique<Relay>(scene._nodes));
        if (i > 0)
            Scene::route(chain[static_cast<std::size_t>(i) - 1]->_in, chain.back()->_in);
    }
    chain.front()->_in._value = 5;
    chain.front()->_in.processValueChange(3, Field::byHost);
    ASSERT_EQ(chain.back()->_received.size(), 1u);
    EXPECT_EQ(chain.back()->_received[0], std::make_pair(3.0, 5.f));

    // Nodes without a guard of their own: the cycle ends where it comes back to a route in use.
    Scene::route(chain.back()->_in, chain.front()->_in);
    chain.front()->_in.processValueChange(4, Field::byHost);
    EXPECT_LT(chain.front()->_received.size(), 3u);
}

TEST(Routes, KeepEveryEventInOrderHoweverDeep)
{
    struct Thrice : Relay {
        using Relay::Relay;
        void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override
        {
            Sink::fieldChanged(field, timeStamp, from);
            for (float const value : {1.f, 2.f, 3.f}) {
                _in._value = value;
                _in.processValueChange(timeStamp, Field::byHost);
            }
        }
    };
    Scene scene;
    std::vector<std::unique_ptr<Relay>> chain;
    for (std::size_t i = 0; i < 5000; ++i) {
        chain.push_back(i == 4998 ? std::make_unique<Thrice>(scene._nodes) : std::make_unique<Relay>(scene._nodes));
        if (i > 0)
            Scene::route(chain[i - 1]->_in, chain[i]->_in);
    }
    chain.front()->_in.processValueChange(1, Field::byHost);
    ASSERT_EQ(chain.back()->_received.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(chain.back()->_received[i].second, static_cast<float>(i + 1));
}

TEST(Routes, NothingIsLeftOfACascadeThatAnObserverEnds)
{
    struct Stop : SendObserver {
        void sent(Field& field, TimeStamp const&) override { &field == _at ? throw 1 : void(); }
        Field* _at = nullptr;
    } stop;
    Scene scene;
    std::vector<std::unique_ptr<Relay>> nodes; // a chain deeper than deliveries nest, with a leaf at each node
    for (std::size_t i = 0; i < 4000; ++i) {
        nodes.push_back(std::make_unique<Relay>(scene._nodes));
        if (i > 1)
            Scene::route(nodes[i - 2 - i % 2]->_in, nodes[i]->_in);
    }
    stop._at = &nodes[3998]->_in;
    Field::observe(&stop);
    EXPECT_THROW(nodes[0]->_in.processValueChange(1, Field::byHost), int);
    Field::observe(nullptr);
    auto const received = [&nodes] {
        return std::accumulate(nodes.begin(), nodes.end(), 0u,
                               [](auto sum, auto& node) { return sum + node->_received.size(); });
    };
    auto const before = received();
    nodes[3996]->_in.processValueChange(2, Field::byHost);
    EXPECT_EQ(received(), before + 2);
}

} // namespace
} // namespace Zelvan
