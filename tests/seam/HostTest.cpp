#include "base/NodeProc.h"
#include "tests/Scene.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <malloc.h>

#include <map>
#include <tuple>

// A host that knows the framework's interface alone: it includes and links nothing of the pool, has a node type of its
// own, loads the pool by its path, and finds what there is in the records.

namespace Zelvan {
namespace {

/// Takes values of every type that interpolators send, and sends fractions.
class Probe : public Node {
public:
    static NodePartDesc _desc[10];
    static NodeType _type;

    Probe(NodeType& type, NodeNameSpace& nameSpace, char const* name) : Node(type, nameSpace, name)
    {
        unsigned index = 0;
        for (Field* const field : std::initializer_list<Field*>{&_fraction_changed, &_float, &_floats, &_color, &_vec2, &_vec2s,
                                                                &_vec3, &_vec3s, &_rotation, &_matrix})
            regField(*field, _type, index++, true);
    }
    ~Probe() override
    {
        for (NodePartDesc const& desc : _desc)
            unregField(desc._index);
    }
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override;

    SFFloat _fraction_changed{*this}, _float{*this};
    MFFloat _floats{*this};
    SFColor _color{*this};
    SFVec2f _vec2{*this};
    MFVec2f _vec2s{*this};
    SFVec3f _vec3{*this};
    MFVec3f _vec3s{*this};
    SFRotation _rotation{*this};
    SFMatrix4f _matrix{*this};
};

/// Keeps what arrives.
class ProbeProc : public SceneBaseNodeProc {
public:
    using Event = std::tuple<Field*, TimeStamp, std::string>;

    using SceneBaseNodeProc::SceneBaseNodeProc;
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from)
    {
        _events.emplace_back(from, timeStamp, field.getValueAsStr());
    }

    std::vector<Event> _events;
};

void Probe::fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from)
{
    static_cast<ProbeProc*>(_proc)->fieldChanged(field, timeStamp, from);
}

/// Inputs are named after their types.
NodePartDesc part(unsigned index, NodePartDataType type, NodePartType access = inputOnly, char const* name = nullptr)
{
    return {index, 1ul << index, access, type, 1, name ? name : dataTypeName(type), nullptr, nullptr, nullptr, "", 0};
}
NodePartDesc Probe::_desc[10] = {part(0, SFFloatType, outputOnly, "fraction_changed"),
                                 part(1, SFFloatType),
                                 part(2, MFFloatType),
                                 part(3, SFColorType),
                                 part(4, SFVec2fType),
                                 part(5, MFVec2fType),
                                 part(6, SFVec3fType),
                                 part(7, MFVec3fType),
                                 part(8, SFRotationType),
                                 part(9, SFMatrix4fType)};
NodeType Probe::_type(
    theSceneNodeTypeFactory(), "Probe", "HostPool", nullptr, nullptr, nullptr, "Tests", nullptr, "stable", "", "Host", false,
    false, [](Node* node) { return dynamic_cast<Probe*>(node) != nullptr; },
    [](NodeType& type, NodeNameSpace& nameSpace, char const* name) -> Node* { return new Probe(type, nameSpace, name); },
    [](NodeType& type, Node& node) -> NodeProc* { return new ProbeProc(type, node); }, Probe::_desc, 10);

class LoadedPool {
public:
    LoadedPool() : _library(::dlopen(POOL_FILE, RTLD_NOW | RTLD_LOCAL))
    {
        if (_library == nullptr)
            throw std::runtime_error(::dlerror());
        auto const entry = reinterpret_cast<bool (*)()>(::dlsym(_library, "_ZN6Zelvan25initInterpolationNodePoolEv"));
        if (entry == nullptr || !entry())
            throw std::runtime_error("the pool does not begin");
    }
    ~LoadedPool() { EXPECT_EQ(::dlclose(_library), 0); }
    static bool isThere(char const* file)
    {
        void* const library = ::dlopen(file, RTLD_NOW | RTLD_NOLOAD);
        return library != nullptr && ::dlclose(library) == 0;
    }

    std::vector<NodeType*> creatableTypes() const
    {
        std::vector<NodeType*> types;
        for (NodeType* const type : theSceneNodeTypeFactory().types())
            if (type->_poolName == "InterpolationNodePool" && type->_createNode != nullptr)
                types.push_back(type);
        return types;
    }

private:
    void* _library;
};

/// Values for the keys 0 and 1, which arrive to the bit there.
std::map<NodePartDataType, std::pair<char const*, char const*>> const values = {
    {MFColorType, {"1 0 0", "0 1 0"}},
    {MFFloatType, {"0.1", "4.3"}},
    {MFMatrix4fType, {"1 0 0 0 0 1 0 0 0 0 1 0 0.1 2 3 1", "1 0 0 0 0 1 0 0 0 0 1 0 4 5 6.1 1"}},
    {MFRotationType, {"0 0 1 0.1", "0 0 1 1.3"}},
    {MFVec2fType, {"0.1 2", "3 4.1"}},
    {MFVec3fType, {"1 0 0", "0 1 0"}},
};

/// One interpolator between the probe's output and its input of the same type.
void play(NodeType& type)
{
    test::Scene scene;
    auto& probe = dynamic_cast<Probe&>(scene.add("Probe"));
    auto& proc = dynamic_cast<ProbeProc&>(*probe._proc);
    Node& node = scene.add(type._name);
    EXPECT_TRUE(type._isType(&node));
    EXPECT_FALSE(type._isType(&probe));
    Field *fraction = nullptr, *list = nullptr, *output = nullptr;
    unsigned index = 0;
    for (NodePartDesc const* const desc : type.allParts()) {
        EXPECT_EQ(desc->_index, index++);
        Field* const field = node.findField(desc->_name);
        ASSERT_NE(field, nullptr) << desc->_name;
        if (desc->_type == inputOnly && desc->_dataType == SFFloatType)
            fraction = field;
        else if (desc->_type == outputOnly)
            output = field;
        else if (field->cardinality() == Field::multiple && desc->_name != std::string("key"))
            list = field;
    }
    ASSERT_TRUE(fraction && list && output);
    Field* const input = probe.findField(dataTypeName(output->dataType()));
    ASSERT_NE(input, nullptr);
    test::Scene::route(probe._fraction_changed, *fraction);
    test::Scene::route(*output, *input);
    test::Scene::send(node, "key", "0 1");
    bool const eases = type._name == "EaseInEaseOut"; // the only one whose list is not what it sends
    auto const [first, last] = eases ? std::pair("0", "1") : values.at(list->dataType());
    test::Scene::send(node, list->findName(), eases ? "0 0 0 0" : std::string(first) + ' ' + last);
    for (TimeStamp const time : {0., 0.5, 1.}) {
        proc._events.clear();
        probe._fraction_changed._value = static_cast<float>(time);
        probe._fraction_changed.processValueChange(time, Field::byProcessor);
        ASSERT_EQ(proc._events.size(), 1u);
        auto const& [from, timeStamp, text] = proc._events[0];
        EXPECT_EQ(from, output);
        EXPECT_EQ(timeStamp, time);
        // What lies between is the type's own affair.
        EXPECT_TRUE(time != 0 || text == first) << text;
        EXPECT_EQ(text == last, time == 1) << text;
    }
}

TEST(Host, DrivesEveryTypeThroughTheRecordsAndUnloadsThePoolAgainAndAgain)
{
    unsigned const objects = BaseObject::_objCount;
    ASSERT_THAT(theSceneNodeTypeFactory().types(), testing::ElementsAre(&Probe::_type));
    std::size_t settled = 0;
    constexpr int rounds = 300, settling = 100;
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        {
            LoadedPool const pool;
            std::vector<NodeType*> const types = pool.creatableTypes();
            ASSERT_FALSE(types.empty());
            for (NodeType* const type : types) {
                SCOPED_TRACE(type->_name);
                play(*type);
            }
        }
        EXPECT_FALSE(LoadedPool::isThere(POOL_FILE));
        EXPECT_FALSE(LoadedPool::isThere("libzelvanCoreNodePool.so.0"));
        EXPECT_EQ(BaseObject::_objCount, objects);
        EXPECT_THAT(theSceneNodeTypeFactory().types(), testing::ElementsAre(&Probe::_type));
        EXPECT_EQ(Context::params().size(), 1u) << "declared anew under the same number";
        if (round == settling)
            settled = ::mallinfo2().uordblks;
    }
    // A few freed blocks of each size count as live, the allocator keeps them at hand; losing the smallest there is in
    // every round, 32 bytes, would show. (The sanitizers' allocator counts nothing and has its own check.)
    EXPECT_LT(::mallinfo2().uordblks, settled + (rounds - settling) * 16);
}

TEST(Host, KeepsAPoolThatIsClosedUntilTheLastOfItsNodesIsGone)
{
    auto scene = std::make_unique<test::Scene>();
    Node* node = nullptr;
    {
        LoadedPool const pool;
        node = &scene->add("ScalarInterpolator");
    }
    EXPECT_TRUE(LoadedPool::isThere(POOL_FILE));
    for (auto const& [field, value] : {std::pair("key", "0 1"), {"keyValue", "0 8"}, {"set_fraction", "0.5"}})
        test::Scene::send(*node, field, value);
    EXPECT_EQ(node->findField("value_changed")->getValueAsStr(), "4");
    scene.reset();
    EXPECT_FALSE(LoadedPool::isThere(POOL_FILE));
}

} // namespace
} // namespace Zelvan
