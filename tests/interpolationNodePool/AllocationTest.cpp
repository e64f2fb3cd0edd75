#include "tests/interpolationNodePool/MuseumRunner.h"
#include "tests/interpolationNodePool/PoolNodes.h"

#include <cstdlib>
#include <new>

// A program of its own: every allocation in it is counted, those of the libraries included. Not inlined, because
// compilers know which of the two kinds of block each function gives back.

static std::size_t allocations = 0;

[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++allocations;
    if (void* const block = std::malloc(size))
        return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept
{
    std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace Zelvan {
namespace {

using test::OutputOf;
using test::Scene;

template <class FieldClass>
struct Counter : test::Sink<FieldClass> {
    using test::Sink<FieldClass>::Sink;
    void fieldChanged(Field&, TimeStamp const&, Field*) override { ++_arrived; }
    unsigned _arrived = 0;
};

template <class NodeClass>
class Allocations : public testing::Test {
protected:
    static constexpr unsigned keys = 12;
    static constexpr bool blocks = requires(typename OutputOf<NodeClass>::ValueType output) { output.size(); };

    Allocations()
    {
        Scene::route(test::outputOf(node), counter._in);
        for (unsigned k = 0; k < keys; ++k)
            node._key._value.push_back(static_cast<float>(k));
    }
    void giveValues(unsigned perKey)
    {
        std::mt19937 random(1);
        test::listOf(node)._value.resize(keys * perKey);
        for (auto& value : test::listOf(node)._value)
            value = test::anyValue<test::ElementOf<NodeClass>>(random, false);
        node.fieldChanged(test::listOf(node), 0, nullptr);
    }
    /// Allocations of events all over the keys and beyond them, forwards and then backwards.
    std::size_t ofPlayback()
    {
        std::size_t const before = allocations;
        unsigned const arrived = counter._arrived;
        for (int step = -9; step < 9; ++step) {
            node._set_fraction._value = 6 + static_cast<float>(step) * 0.77f * (step % 2 ? 1 : -1);
            node.fieldChanged(node._set_fraction, step, nullptr);
        }
        EXPECT_EQ(counter._arrived, arrived + 18);
        return allocations - before;
    }

    Scene scene;
    NodeClass& node = scene.add<NodeClass>();
    Counter<OutputOf<NodeClass>> counter{scene._nodes};
};
TYPED_TEST_SUITE(Allocations, test::CreatableNodes);

TYPED_TEST(Allocations, AreNotMadeByEvents)
{
    for (char const* const mode : {"matrix", "component"}) {
        if constexpr (requires { this->node._mode; })
            Scene::send(this->node, "mode", mode);
        this->giveValues(3);
        this->ofPlayback();
        for (bool const binary : {false, true}) {
            this->scene._context.setBValue(InterpolatorProc::_binSearchKeyIndexID, binary);
            EXPECT_EQ(this->ofPlayback(), 0u) << mode;
        }
    }
    if (this->blocks) {
        this->giveValues(5);
        EXPECT_EQ(this->ofPlayback(), 2u) << "the output and what it is sent to grow once";
        this->giveValues(1);
        EXPECT_EQ(this->ofPlayback(), 0u);
        this->giveValues(5);
        EXPECT_EQ(this->ofPlayback(), 0u);
    }
}

} // namespace
} // namespace Zelvan
