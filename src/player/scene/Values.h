#pragma once

#include "base/Field.h"

#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

/// What stands between the values of a list. XML has only the first five; old classic files end with control-Z.
inline constexpr std::string_view blanksOfLists = " \t\r\n,\f\v\x1a";

/// How the values of a data type are written as numbers: "x y z" for SFVec3f and for each element of MFVec3f.
struct Components {
    unsigned count;           ///< numbers per element; 0 for a type without numbers (SFString)
    char const* const* names; ///< `count` short names: "x", "y", "z"; "red" ...; "m0" to "m15" for matrices
};
Components componentsOf(NodePartDataType type);
bool isList(NodePartDataType type);

/// Appends the numbers of a field's value, element by element; a rotation as axis x y z and angle in radians.
/// Times are the only doubles and keep their precision.
void appendNumbers(Field const& field, std::vector<double>& numbers);

/// Shortest decimal that reads back to the same float.
std::string shortNumber(float value);
std::string shortNumber(double value);
/// At most `digits` significant digits, for people.
std::string roundNumber(double value, int digits = 5);
/// "a TimeSensor", "an Inline".
std::string withArticle(std::string const& noun);

} // namespace Zelvan::play
