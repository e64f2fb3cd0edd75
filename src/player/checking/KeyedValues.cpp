#include "player/checking/CheckRules.h"

#include "base/Fields.h"
#include "player/playing/Turning.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Zelvan::play {

KeyedValues::KeyedValues(SceneNode const& sceneNode)
    : node(sceneNode),
      keyField(fieldOf(node, "key")),
      valueField(fieldOf(node, eases() ? "easeInEaseOut" : "keyValue")),
      keys(static_cast<MFFloat const*>(keyField)->_value),
      size(valueField->size()),
      blocks(isList(outputOf(node)->dataType())),
      count(std::min(keys.size(), size)),
      perKey(blocks && count > 0 ? size / count : 1),
      width(componentsOf(valueField->dataType()).count)
{
    appendNumbers(*valueField, numbers);
}

std::string KeyedValues::valueName(std::size_t i) const
{
    return '.' + std::string(valueField->findName()) + '[' + std::to_string(i) + ']';
}

double KeyedValues::turn(std::size_t from, std::size_t to) const
{
    return angleBetween(UnitQuaternion::ofAxisAngle(at(from).data()), UnitQuaternion::ofAxisAngle(at(to).data()));
}

bool KeyedValues::same(std::size_t a, std::size_t b) const
{
    constexpr double rounding = 0.01;
    return valueField->dataType() == MFRotationType ? turn(a, b) < rounding : std::ranges::equal(at(a), at(b));
}

std::string step(KeyedValues const& values, std::size_t i)
{
    return values.valueName(i) + " to [" + std::to_string(i + 1) + ']';
}

double dot(Numbers a, Numbers b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double length(Numbers v)
{
    return std::sqrt(dot(v.first(3), v.first(3)));
}

std::string countOf(std::size_t count, char const* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string listed(Numbers numbers)
{
    constexpr std::size_t most = 4;
    std::string text;
    for (std::size_t i = 0; i < std::min(numbers.size(), most); ++i)
        text += (i ? " " : "") + roundNumber(numbers[i], 4);
    return numbers.size() == 1 ? text : '(' + text + (numbers.size() > most ? " ...)" : ")");
}

std::string degrees(double radians)
{
    return roundNumber(std::abs(radians) * (180 / std::numbers::pi), 4);
}

} // namespace Zelvan::play
