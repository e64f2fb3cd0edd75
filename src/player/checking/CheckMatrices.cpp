#include "player/checking/CheckRules.h"

#include "base/Fields.h"
#include "interpolationNodePool/DecomposableMatrix.h"
#include "interpolationNodePool/Slerp.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

namespace Zelvan::play {

namespace {

constexpr double pi = std::numbers::pi;

using Vector = std::array<double, 3>;

// Axis times angle of the rotation in a logarithm.
Vector rotationOf(osg::Matrix const& log)
{
    return {(log[1][2] - log[2][1]) / 2.0, (log[2][0] - log[0][2]) / 2.0, (log[0][1] - log[1][0]) / 2.0};
}

/// A key that is a turn and a uniform scale but for the rounding of its decimals.
struct Rounded {
    int decimals;
    int enough;      ///< decimals whose rounding would be told from a stretch
    osg::Matrix key; ///< without the rounding
};

/// Nothing when the key has decimals enough, or is more than a turn and a uniform scale.
std::optional<Rounded> roundedTurn(osg::Matrix const& matrix)
{
    DecomposableMatrix linear = matrix, turn, stretch;
    for (osg::UInt32 c = 0; c < 3; ++c)
        linear[3][c] = linear[c][3] = 0;
    float side;
    linear.polarDecompose(turn, stretch, side);
    double const scale = (static_cast<double>(stretch[0][0]) + stretch[1][1] + stretch[2][2]) / 3;
    if (!(scale > 0) || !std::isfinite(scale))
        return {};
    auto const fits = [&](double unit) {
        for (osg::UInt32 c = 0; c < 3; ++c)
            for (osg::UInt32 r = 0; r < 3; ++r)
                if (double const steps = matrix[c][r] / unit; !(std::abs(steps - std::round(steps)) < 1e-4))
                    return false;
        return true;
    };
    // With fewer decimals than two it could as well be meant so.
    Rounded result{2, 2, matrix};
    double unit = 0.01;
    for (; result.decimals < 6 && !fits(unit); ++result.decimals)
        unit /= 10;
    result.enough = std::max(result.enough, static_cast<int>(std::ceil(-std::log10(2e-3 * scale))));
    if (result.decimals >= result.enough)
        return {};
    for (osg::UInt32 c = 0; c < 3; ++c)
        for (osg::UInt32 r = 0; r < 3; ++r) {
            result.key[c][r] = static_cast<float>(scale * turn[c][r]);
            if (!(std::abs(result.key[c][r] - matrix[c][r]) < unit))
                return {};
        }
    return result;
}

/// The largest difference, as a share of the largest element of the upper 3x3 part.
double bend(osg::Matrix const& a, osg::Matrix const& b)
{
    double difference = 0, size = 0;
    for (osg::UInt32 c = 0; c < 3; ++c)
        for (osg::UInt32 r = 0; r < 3; ++r) {
            difference = std::max(difference, std::abs(static_cast<double>(a[c][r]) - b[c][r]));
            size = std::max(size, std::abs(static_cast<double>(b[c][r])));
        }
    return difference / size;
}

osg::Matrix halfByLogarithm(osg::Matrix const& matrix, float half)
{
    osg::Matrix log, result;
    log.logOf(matrix);
    log.scale(half);
    result.expOf(log);
    return result;
}

osg::Matrix halfWayByComponents(osg::Matrix const& from, osg::Matrix const& to)
{
    osg::Quaternion turns[2], axes[2];
    osg::Vec3f factors[2];
    for (int i : {0, 1}) {
        DecomposableMatrix linear = i == 0 ? from : to, turn, stretch, orientation;
        for (osg::UInt32 c = 0; c < 3; ++c)
            linear[3][c] = linear[c][3] = 0;
        float side;
        linear.polarDecompose(turn, stretch, side);
        turn.scale(side);
        stretch.spectralDecompose(orientation, factors[i]);
        factors[i] *= side;
        turns[i].setValue(turn);
        axes[i].setValue(orientation);
    }
    KeptAngle none, neither;
    osg::Matrix result;
    result.setTransform({}, slerp(turns[0], turns[1], 0.5f, none), (factors[0] + factors[1]) * 0.5f,
                        slerp(axes[0], axes[1], 0.5f, neither));
    return result;
}

void reportRough(KeyedValues const& values, std::size_t i, Rounded const& rounded, double bent, FindingCollector& findings)
{
    findings.add(
        "matrix-rough", values.node, values.valueField,
        [&] {
            return values.valueName(i) + " has " + std::to_string(rounded.decimals)
                + " decimals: what their rounding makes of a turn is stretched, which bends the way to the "
                  "next key by up to "
                + roundNumber(100 * std::min(bent, 1.0), 2) + " %";
        },
        "write " + std::to_string(rounded.enough) + " decimals or more");
}

constexpr double visible = 0.01; // of bend

void checkProjection(KeyedValues const& values, std::size_t i, bool byComponents, FindingCollector& findings)
{
    Numbers const m = values.value(i);
    if (m[3] == 0 && m[7] == 0 && m[11] == 0 && (byComponents || m[15] == 1))
        return;
    bool const byRows = m[12] == 0 && m[13] == 0 && m[14] == 0 && m[15] == 1;
    findings.add(
        "matrix-projective", values.node, values.valueField,
        [&] {
            return values.valueName(i) + " is projective: its 4th, 8th, 12th and 16th numbers are "
                + listed(std::vector<double>{m[3], m[7], m[11], m[15]}) + ", not (0 0 0 1)";
        },
        byRows ? "write matrices column by column: a translation is the 13th to 15th number"
               : "leave the projection to the camera");
}

void checkComponents(KeyedValues const& values, std::vector<osg::Matrix> const& matrices, std::size_t i,
                     FindingCollector& findings)
{
    auto const mirrors = [&](std::size_t k) { return matrices[k].det3() < 0; };
    if (i > 0 && values.blends(i - 1) && mirrors(i - 1) != mirrors(i))
        findings.add(
            "matrix-mirrored", values.node, values.valueField,
            [&] { return step(values, i - 1) + ": one mirrors and the other does not: the scale passes through zero"; },
            "let both mirror or neither", Severity::warning);
    std::optional<Rounded> const rounded = roundedTurn(matrices[i]);
    if (!rounded)
        return;
    auto const bentTowards = [&](std::size_t k) {
        return bend(halfWayByComponents(matrices[i], matrices[k]), halfWayByComponents(rounded->key, matrices[k]));
    };
    double const before = i > 0 && values.blends(i - 1) ? bentTowards(i - 1) : 0;
    double const after = i + 1 < values.count && values.blends(i) ? bentTowards(i + 1) : 0;
    if (double const bent = std::max(before, after); bent > visible)
        reportRough(values, i, *rounded, bent, findings);
}

/// The rotation in the key's logarithm; nothing when there is none, or one that rounding has bent.
std::optional<Vector> checkLogarithm(KeyedValues const& values, osg::Matrix const& matrix, std::size_t i,
                                     FindingCollector& findings)
{
    std::optional<Rounded> const rounded = roundedTurn(matrix);
    osg::Matrix log;
    if (!log.logOf(matrix)) {
        bool const mirrors = matrix.det3() < 0;
        findings.add(
            mirrors ? "matrix-mirrored" : "matrix-no-log", values.node, values.valueField,
            [&] {
                return values.valueName(i)
                    + (mirrors                  ? " mirrors: it"
                           : matrix.det3() == 0 ? " is singular: it"
                                                : "")
                    + " has no real logarithm, so that the values around it are not numbers";
            },
            mirrors       ? "mode 'component' blends mirrored matrices"
                : rounded ? "written with " + std::to_string(rounded->enough) + " decimals it has one"
                          : "mode 'component' does without logarithms");
        return {};
    }
    if (rounded) {
        // Of a half turn, rounding may decide which way it goes.
        osg::Matrix const half = halfByLogarithm(matrix, 0.5f);
        double const bent =
            std::min(bend(half, halfByLogarithm(rounded->key, 0.5f)), bend(half, halfByLogarithm(rounded->key, -0.5f)));
        if (bent > visible) {
            reportRough(values, i, *rounded, bent, findings);
            return {};
        }
    }
    return rotationOf(log);
}

} // namespace

void checkMatrices(KeyedValues const& values, FindingCollector& findings)
{
    auto const& matrices = static_cast<MFMatrix4f const*>(values.valueField)->_value;
    auto const* const mode = static_cast<SFString const*>(fieldOf(values.node, "mode"));
    bool const byComponents = mode->_value == "component";
    std::optional<Vector> turn; // of the matrix before
    for (std::size_t i = 0; i < values.count; ++i) {
        checkProjection(values, i, byComponents, findings);
        if (byComponents) {
            checkComponents(values, matrices, i, findings);
            continue;
        }
        std::optional<Vector> const before = std::exchange(turn, checkLogarithm(values, matrices[i], i, findings));
        if (!before || !turn || !values.blends(i - 1))
            continue;
        double const way = std::hypot((*turn)[0] - (*before)[0], (*turn)[1] - (*before)[1], (*turn)[2] - (*before)[2]);
        if (way > pi * 1.01)
            findings.add(
                "matrix-long-turn", values.node, values.valueField,
                [&] {
                    return step(values, i - 1) + ": the blend of the logarithms turns by " + degrees(way)
                        + " degrees, the long way round";
                },
                "mode 'component' turns the shorter way");
    }
}

} // namespace Zelvan::play
