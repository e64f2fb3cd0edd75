#include "player/scene/Values.h"

#include "base/Fields.h"

#include <charconv>

namespace Zelvan::play {

namespace {

constexpr char const* value[] = {"value"};
constexpr char const* rgb[] = {"red", "green", "blue"};
constexpr char const* xyz[] = {"x", "y", "z"};
constexpr char const* rotation[] = {"axisX", "axisY", "axisZ", "angle"};
constexpr char const* matrix[] = {"m0", "m1", "m2",  "m3",  "m4",  "m5",  "m6",  "m7",
                                  "m8", "m9", "m10", "m11", "m12", "m13", "m14", "m15"};

void append(float v, std::vector<double>& numbers)
{
    numbers.push_back(v);
}
void append(bool v, std::vector<double>& numbers)
{
    numbers.push_back(v ? 1 : 0);
}
void append(double v, std::vector<double>& numbers)
{
    numbers.push_back(v);
}
void append(Rotation const& v, std::vector<double>& numbers)
{
    osg::Vec3f const& axis = v.axis();
    numbers.insert(numbers.end(), {axis[0], axis[1], axis[2], v.angle()});
}
void append(osg::Color3<float> const& v, std::vector<double>& numbers)
{
    numbers.insert(numbers.end(), {v[0], v[1], v[2]});
}
template <osg::UInt32 size>
void append(osg::Vector<float, size> const& v, std::vector<double>& numbers)
{
    for (osg::UInt32 c = 0; c < size; ++c)
        numbers.push_back(v[c]);
}
void append(osg::Matrix const& v, std::vector<double>& numbers)
{
    for (osg::UInt32 c = 0; c < 4; ++c)
        append(v[c], numbers);
}
template <class E>
void append(std::vector<E> const& list, std::vector<double>& numbers)
{
    for (E const& element : list)
        append(element, numbers);
}

template <class Real>
std::string shortest(Real number)
{
    char buffer[32];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

} // namespace

Components componentsOf(NodePartDataType type)
{
    switch (type) {
    case SFStringType: return {0, nullptr};
    case SFColorType:
    case MFColorType: return {3, rgb};
    case SFRotationType:
    case MFRotationType: return {4, rotation};
    case SFVec2fType:
    case MFVec2fType: return {2, xyz};
    case SFVec3fType:
    case MFVec3fType: return {3, xyz};
    case SFMatrix4fType:
    case MFMatrix4fType: return {16, matrix};
    default: return {1, value};
    }
}

bool isList(NodePartDataType type)
{
    return std::string_view(dataTypeName(type)).starts_with("MF");
}

void appendNumbers(Field const& field, std::vector<double>& numbers)
{
    auto const as = [&]<class FieldClass>(FieldClass const*) { append(static_cast<FieldClass const&>(field)._value, numbers); };
    switch (field.dataType()) {
    case SFBoolType: return as(static_cast<SFBool*>(nullptr));
    case SFColorType: return as(static_cast<SFColor*>(nullptr));
    case MFColorType: return as(static_cast<MFColor*>(nullptr));
    case SFFloatType: return as(static_cast<SFFloat*>(nullptr));
    case MFFloatType: return as(static_cast<MFFloat*>(nullptr));
    case SFMatrix4fType: return as(static_cast<SFMatrix4f*>(nullptr));
    case MFMatrix4fType: return as(static_cast<MFMatrix4f*>(nullptr));
    case SFRotationType: return as(static_cast<SFRotation*>(nullptr));
    case MFRotationType: return as(static_cast<MFRotation*>(nullptr));
    case SFTimeType: return as(static_cast<SFTime*>(nullptr));
    case SFVec2fType: return as(static_cast<SFVec2f*>(nullptr));
    case MFVec2fType: return as(static_cast<MFVec2f*>(nullptr));
    case SFVec3fType: return as(static_cast<SFVec3f*>(nullptr));
    case MFVec3fType: return as(static_cast<MFVec3f*>(nullptr));
    case SFStringType: return;
    }
}

std::string shortNumber(float number)
{
    return shortest(number);
}

std::string shortNumber(double number)
{
    return shortest(number);
}

std::string roundNumber(double number, int digits)
{
    char buffer[32];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, digits).ptr};
}

std::string withArticle(std::string const& noun)
{
    return (noun.find_first_of("AEIOaeio") == 0 ? "an " : "a ") + noun;
}

} // namespace Zelvan::play
