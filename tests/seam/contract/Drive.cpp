// Drives all node types of the pool through their records, in both searches, and prints every value that is sent and
// every message. Linked with one framework or another; what is printed must be the same.

#include "Host.h"

#include "interpolationNodePool/NodeTypes.h"

#include <OpenSG/OSGLog.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <random>
#include <vector>

namespace Zelvan {

bool initInterpolationNodePool();

void Host::sent(char const* field, double time, std::string const& bin)
{
    std::printf("%s %.17g", field, time);
    for (std::size_t i = 0; i + 4 <= bin.size(); i += 4) {
        unsigned word;
        std::memcpy(&word, bin.data() + i, 4);
        std::printf(" %08x", word);
    }
    std::putchar('\n');
}

namespace {

struct Case {
    std::string type;
    unsigned list;  ///< index of the values
    unsigned width; ///< floats of one value
    bool blocks;    ///< several values for each key
};

// A type as its class describes it.
template <class Class>
void addCase(std::vector<Case>& cases)
{
    if constexpr (requires(Class node) { node._keyValue; })
        cases.push_back({Class::_type._name, Class::keyValueIndex, sizeof(std::declval<Class&>()._keyValue._value[0]) / sizeof(float),
                         requires(Class node) { node._value_changed._value.size();
}
} // namespace
);
else if constexpr (requires(Class node) { node._easeInEaseOut; })
    cases.push_back({Class::_type._name, Class::easeInEaseOutIndex, 2, false});
} // namespace Zelvan
template <class... Classes>
std::vector<Case> allCases()
{
    std::vector<Case> cases;
    (addCase<Classes>(cases), ...);
    return cases;
}

constexpr unsigned fractionIndex = 3, keyIndex = 4, modeIndex = 7;

std::mt19937 random;
float number()
{
    return static_cast<float>(random() % 4001) / 1000 - 2;
}
template <class T>
std::string words(std::vector<T> const& values)
{
    return {reinterpret_cast<char const*>(values.data()), values.size() * sizeof(T)};
}

std::string value(unsigned width)
{
    std::vector<float> floats(width);
    for (float& f : floats)
        f = number();
    std::string bin = words(floats);
    if (width == 9) { // the quaternion is derived from axis and angle
        unsigned const axisAngleOnly = 1;
        std::memcpy(bin.data() + 32, &axisAngleOnly, 4);
    } else if (width == 16) {
        for (int i : {3, 7, 11, 15})
            floats[static_cast<std::size_t>(i)] = i == 15;
        for (std::size_t i : {0, 5, 10})
            floats[i] += 5;
        bin = words(floats);
    }
    return bin;
}

void drive(Host& host, Case const& c, unsigned keys)
{
    std::vector<float> key(keys);
    for (unsigned i = 0; i < keys; ++i)
        key[i] = static_cast<float>(i) / static_cast<float>(keys > 1 ? keys - 1 : 1);
    if (keys > 5)
        key[4] = key[3];
    std::string list;
    for (unsigned i = 0; i < keys * (c.blocks ? 5 : 1); ++i)
        list += value(c.width);
    host.change(keyIndex, words(key), 0);
    host.change(c.list, list, 0);
    std::vector<float> fractions = key;
    for (float const f : {-1.f, 2.f, NAN, -0.f})
        fractions.push_back(f);
    for (int i = 0; i < 60; ++i)
        fractions.push_back(i < 40 ? static_cast<float>(i) / 39 : std::abs(number()) / 2);
    for (std::size_t i = 0; i < fractions.size(); ++i)
        host.change(fractionIndex, words(std::vector{fractions[i]}), static_cast<double>(i) / 7);
}

} // namespace
} // namespace Zelvan

int main()
{
    using namespace Zelvan;
    osg::osgLog().setLogLevel(osg::LOG_INFO);
    osg::osgLog().setStream(std::cout);
    std::cout << std::boolalpha << initInterpolationNodePool() << std::endl;
    std::vector<Case> const cases = allCases<ZELVAN_NODE_TYPES>();
    for (bool const binary : {false, true}) {
        Host host(binary);
        for (Case const& c : cases)
            for (unsigned const keys : {0u, 1u, 2u, 7u, 40u}) {
                std::printf("%s %u %d\n", c.type.c_str(), keys, binary);
                std::fflush(stdout);
                host.create(c.type.c_str());
                drive(host, c, keys);
                if (c.type == "TransformationInterpolator" && keys > 0) {
                    host.change(modeIndex, "component", 0);
                    drive(host, c, keys);
                }
                std::fflush(stdout);
            }
    }
}
