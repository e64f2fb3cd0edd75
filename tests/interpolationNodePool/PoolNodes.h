#pragma once

// All node types of the pool.

#include "interpolationNodePool/NodeTypes.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace Zelvan::test {

template <class Class>
constexpr bool isCreatable = requires
{
    &Class::createNode;
};

template <class Kept, bool creatable, class... Classes>
struct ChosenNodes {
    using Type = Kept;
};
template <class... Kept, bool creatable, class Class, class... Classes>
struct ChosenNodes<testing::Types<Kept...>, creatable, Class, Classes...>
    : ChosenNodes<std::conditional_t<isCreatable<Class> == creatable, testing::Types<Kept..., Class>, testing::Types<Kept...>>,
                  creatable, Classes...> {};

using AbstractNodes = ChosenNodes<testing::Types<>, false, ZELVAN_NODE_TYPES>::Type;
using CreatableNodes = ChosenNodes<testing::Types<>, true, ZELVAN_NODE_TYPES>::Type;

} // namespace Zelvan::test
