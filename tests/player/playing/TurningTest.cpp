#include "player/playing/Derived.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace Zelvan::play {
namespace {

constexpr double radians = std::numbers::pi / 180;
using Numbers = std::array<double, 4>;

/// Axis and angle in degrees, in the form that comes out of a quaternion: an angle from 0 to 180.
Numbers shortForm(Numbers const& turn)
{
    double angle = std::remainder(turn[3], 360.);
    double const sign = angle < 0 ? -1 : 1;
    return {turn[0] * sign, turn[1] * sign, turn[2] * sign, angle * sign};
}

std::vector<Numbers> followed(std::vector<Numbers> const& turns)
{
    Turning turning;
    std::vector<Numbers> result;
    for (Numbers turn : turns) {
        turn[3] *= radians;
        turning.next(UnitQuaternion::ofAxisAngle(turn.data()), result.emplace_back().data());
    }
    return result;
}

TEST(Turning, RunsOnWhateverFormTheSamplesHave)
{
    struct Case {
        char const* name;
        Numbers axis; // of any length
        std::vector<double> degrees;
    };
    for (Case const& c : {Case{"past half a turn", {0, 1, 0}, {0, 60, 120, 179, 181, 240, 300, 360, 400, 700, 730}},
                          Case{"there and back through nothing", {1, 2, -2}, {40, 20, 0, -20, -40, 0, 30}},
                          Case{"backwards", {0, 0, 5}, {10, -100, -250, -360, -500}},
                          Case{"half a turn, held", {1, 0, 0}, {90, 180, 180, 180, 90}}}) {
        SCOPED_TRACE(c.name);
        double const length = std::hypot(c.axis[0], c.axis[1], c.axis[2]);
        std::vector<Numbers> turns;
        for (std::size_t i = 0, last = 0; i < c.degrees.size(); last = i++)
            for (int part = 1; part <= 8; ++part) { // no step is half a turn
                double const degrees = std::lerp(c.degrees[last], c.degrees[i], part / 8.);
                turns.push_back({c.axis[0], c.axis[1], c.axis[2], degrees});
            }
        std::vector<Numbers> shorter;
        for (Numbers const& turn : turns)
            shorter.push_back(shortForm(turn));
        std::vector<Numbers> const result = followed(shorter);
        for (std::size_t i = 0; i < turns.size(); ++i) {
            EXPECT_NEAR(result[i][3], turns[i][3], 1e-9) << i;
            for (int a = 0; a < 3; ++a)
                if (std::abs(std::remainder(turns[i][3], 360.)) > 1e-3) {
                    EXPECT_NEAR(result[i][a], c.axis[a] / length, 1e-9) << i;
                } else {
                    EXPECT_TRUE(std::isnan(result[i][a]) || std::abs(result[i][a] - c.axis[a] / length) < 1e-6) << i;
                }
        }
    }
}

TEST(Turning, BeginsAgainWithEachCycleAndSkipsHoles)
{
    Turning turning;
    double quantity[4];
    for (int cycle = 0; cycle < 3; ++cycle) {
        for (double degrees = 0; degrees <= 360; degrees += 30) {
            double const number[] = {0, 1, 0, degrees * radians};
            turning.next(UnitQuaternion::ofAxisAngle(number), quantity);
            EXPECT_NEAR(quantity[3], degrees, 1e-9) << cycle;
        }
        double const hole[] = {0, 1, 0, std::nan("")};
        turning.next(UnitQuaternion::ofAxisAngle(hole), quantity);
        EXPECT_TRUE(std::isnan(quantity[3]));
        turning.restart();
    }
}

TEST(Turning, AMatrixTurnsLikeItsRotation)
{
    // Columns by Rodrigues' formula, scaled, moved and mirrored.
    for (double const degrees : {0.01, 30., 90., 150., 179.9, 180.})
        for (Numbers const& axis : {Numbers{1, 0, 0}, Numbers{0, 0.6, -0.8}, Numbers{-2 / 3., 2 / 3., 1 / 3.}})
            for (double const side : {1., -1.}) {
                double const c = std::cos(degrees * radians), s = std::sin(degrees * radians), scale[] = {2, 2, 2};
                double matrix[16] = {};
                for (int column = 0; column < 3; ++column)
                    for (int row = 0; row < 3; ++row) {
                        int const third = 3 - column - row;
                        double const across = row == column ? 0 : (row - column + 3) % 3 == 1 ? axis[third] : -axis[third];
                        matrix[4 * column + row] =
                            side * scale[column] * ((row == column) * c + axis[row] * axis[column] * (1 - c) + across * s);
                    }
                matrix[12] = 7, matrix[13] = 8, matrix[14] = 9, matrix[15] = 1;
                MatrixParts const parts = partsOf(matrix);
                Numbers turn{axis[0], axis[1], axis[2], degrees * radians};
                EXPECT_NEAR(angleBetween(parts.rotation, UnitQuaternion::ofAxisAngle(turn.data())), 0, 1e-4) << degrees;
                EXPECT_EQ(parts.mirrors, side < 0);
                EXPECT_NEAR(parts.factors[1], side * 2, 1e-5);
                EXPECT_EQ(parts.translation[2], 9);
            }
}

} // namespace
} // namespace Zelvan::play
