#include "player/reading/Units.h"

#include "base/Fields.h"
#include "base/Node.h"
#include "base/NodeType.h"

#include <charconv>
#include <cmath>

namespace Zelvan::play {

namespace {

float scaled(float value, double factor)
{
    return static_cast<float>(value * factor);
}

void scale(Rotation& rotation, double factor)
{
    rotation = Rotation(rotation.axis(), scaled(rotation.angle(), factor));
}

template <osg::UInt32 size>
void scale(osg::Vector<float, size>& vector, double factor)
{
    for (osg::UInt32 c = 0; c < size; ++c)
        vector[c] = scaled(vector[c], factor);
}

template <class E>
void scale(std::vector<E>& list, double factor)
{
    for (E& element : list)
        scale(element, factor);
}

template <class FieldClass>
bool scaleValue(Field& field, double factor)
{
    if (factor == 1)
        return false;
    scale(static_cast<FieldClass&>(field)._value, factor);
    return true;
}

// Normals, colours and vectors of any kind have no unit.
bool isLength(Node const& node, Field const& field)
{
    std::string const& type = node.type()._name;
    std::string_view const name = field.findName();
    return (type.find("PositionInterpolator") != std::string::npos || type.find("CoordinateInterpolator") != std::string::npos)
        && name == "keyValue";
}

double factorOf(std::string_view text)
{
    double factor = 0;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n+"), text.size()));
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), factor);
    return error == std::errc() && std::isfinite(factor) && factor > 0 ? factor : 1;
}

} // namespace

Units Units::of(Element const* root)
{
    Units units;
    Element const* const head = findChild(*root, "head");
    if (head == nullptr)
        return units;
    for (Element const& unit : Children(*head, "unit")) {
        std::string_view const category = attributeValue(unit, "category");
        if (category == "angle" || category == "length")
            (category == "angle" ? units.angle : units.length) = factorOf(attributeValue(unit, "conversionFactor"));
    }
    return units;
}

bool Units::convert(Node const& node, Field& field) const
{
    switch (field.dataType()) {
    case SFRotationType: return scaleValue<SFRotation>(field, angle);
    case MFRotationType: return scaleValue<MFRotation>(field, angle);
    case MFVec2fType: return scaleValue<MFVec2f>(field, isLength(node, field) ? length : 1);
    case MFVec3fType: return scaleValue<MFVec3f>(field, isLength(node, field) ? length : 1);
    default: return false;
    }
}

} // namespace Zelvan::play
