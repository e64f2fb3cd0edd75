#include "player/checking/CheckRules.h"

#include "base/Fields.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace Zelvan::play {

namespace {

constexpr double pi = std::numbers::pi;

// Axis times angle of the rotation in a logarithm.
std::vector<double> rotationOf(osg::Matrix const& log)
{
    return {(log[1][2] - log[2][1]) / 2.0, (log[2][0] - log[0][2]) / 2.0, (log[0][1] - log[1][0]) / 2.0};
}

} // namespace

void checkMatrices(KeyedValues const& values, FindingCollector& findings)
{
    auto const& matrices = static_cast<MFMatrix4f const*>(values.valueField)->_value;
    auto const* const mode = static_cast<SFString const*>(fieldOf(values.node, "mode"));
    bool const byComponents = mode->_value == "component";
    std::vector<double> turn; // of the matrix before; empty when it has none
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const m = values.value(i);
        osg::Matrix const& matrix = matrices[i];
        if (m[3] != 0 || m[7] != 0 || m[11] != 0 || (!byComponents && m[15] != 1)) {
            bool const byRows = m[12] == 0 && m[13] == 0 && m[14] == 0 && m[15] == 1;
            findings.add("matrix-projective", values.node, values.valueField,
                         [&] {
                             return values.valueName(i) + " is projective: its 4th, 8th, 12th and 16th numbers are "
                                 + listed(std::vector<double>{m[3], m[7], m[11], m[15]}) + ", not (0 0 0 1)";
                         },
                         byRows ? "write matrices column by column: a translation is the 13th to 15th number"
                                : "leave the projection to the camera");
        }
        if (byComponents) {
            auto const mirrors = [&](std::size_t k) { return matrices[k].det3() < 0; };
            if (i > 0 && values.blends(i - 1) && mirrors(i - 1) != mirrors(i))
                findings.add("matrix-mirrored", values.node, values.valueField,
                             [&] {
                                 return step(values, i - 1)
                                     + ": one mirrors and the other does not: the scale passes through zero";
                             },
                             "let both mirror or neither", Severity::warning);
            continue;
        }
        osg::Matrix log;
        std::vector<double> const before = std::exchange(turn, {});
        if (!log.logOf(matrix)) {
            bool const mirrors = matrix.det3() < 0;
            findings.add(mirrors ? "matrix-mirrored" : "matrix-no-log", values.node, values.valueField,
                         [&] {
                             return values.valueName(i)
                                 + (mirrors ? " mirrors: it" : matrix.det3() == 0 ? " is singular: it" : "")
                                 + " has no real logarithm, so that the values around it are not numbers";
                         },
                         mirrors ? "mode 'component' blends mirrored matrices"
                                 : "mode 'component' does without logarithms");
            continue;
        }
        turn = rotationOf(log);
        if (before.empty() || !values.blends(i - 1))
            continue;
        double const way = std::hypot(turn[0] - before[0], turn[1] - before[1], turn[2] - before[2]);
        if (way > pi * 1.01)
            findings.add("matrix-long-turn", values.node, values.valueField,
                         [&] {
                             return step(values, i - 1) + ": the blend of the logarithms turns by " + degrees(way)
                                 + " degrees, the long way round";
                         },
                         "mode 'component' turns the shorter way");
    }
}

} // namespace Zelvan::play
