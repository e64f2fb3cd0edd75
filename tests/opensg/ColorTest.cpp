#include <OpenSG/OSGColor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using osg::Color3f;

struct Triple {
    float a, b, c;
};

// The two conversions step by step, every step in the precision it is due.

Triple toHSV(Triple rgb)
{
    auto const [r, g, b] = rgb;
    // Equal largest components: green before red, blue only if it is larger than both.
    int const leader = b > r && b > g ? 2 : r > g ? 0 : 1;
    float const max = leader == 0 ? r : leader == 1 ? g : b;
    float const min = r < g && r < b ? r : g < b ? g : b;
    float const delta = max - min;
    float const saturation = max == 0.f ? 0.f : delta / max;
    if (saturation == 0.f)
        return {0.f, saturation, max};
    float const part = leader == 0 ? (g - b) / delta : leader == 1 ? (b - r) / delta : (r - g) / delta;
    float const hue = static_cast<float>((2.0 * leader + double(part)) * 60.0);
    return {hue < 0.f ? static_cast<float>(double(hue) + 360.0) : hue, saturation, max};
}

Triple fromHSV(Triple hsv)
{
    auto const [h, s, v] = hsv;
    if (s == 0.f)
        return {v, v, v};
    float const turn = h == 360.f ? 0.f : static_cast<float>(double(h) / 60.0);
    int const sector = static_cast<int>(turn);
    float const f = turn - static_cast<float>(sector);
    float const sf = s * f;
    float const p = static_cast<float>(double(v) * (1.0 - double(s)));
    float const q = static_cast<float>(double(v) * (1.0 - double(sf)));
    float const rest = s * (1 - f);
    float const t = static_cast<float>(double(v) * (1.0 - double(rest)));
    Triple const sectors[6] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    return sectors[sector];
}

bool same(Triple x, Triple y)
{
    return std::memcmp(&x, &y, sizeof x) == 0;
}
Triple values(Color3f const& c)
{
    return {c[0], c[1], c[2]};
}

TEST(Color, ConvertsToTheBit)
{
    std::vector<float> grid{0.f, 1e-30f, 0.1f, 1.f / 3, 0.5f, 0.7f, std::nextafter(1.f, 0.f), 1.f, 1.7f, -0.2f};
    for (int i = 1; i < 24; ++i)
        grid.push_back(static_cast<float>(i) / 24.f);
    for (float r : grid)
        for (float g : grid)
            for (float b : grid) {
                Triple hsv;
                Color3f const colour(r, g, b);
                colour.getValuesHSV(hsv.a, hsv.b, hsv.c);
                ASSERT_TRUE(same(hsv, toHSV({r, g, b}))) << r << ' ' << g << ' ' << b;
                if (!(hsv.a >= 0 && hsv.a <= 360))
                    continue;
                Color3f back;
                back.setValuesHSV(hsv.a, hsv.b, hsv.c);
                ASSERT_TRUE(same(values(back), fromHSV(hsv))) << r << ' ' << g << ' ' << b;
            }
    for (int i = -599; i <= 3600; ++i) // a hue just below 0 is in sector 0
        for (float s : grid) {
            float const hue = static_cast<float>(i) / 10;
            Color3f colour;
            colour.setValuesHSV(hue, s, 0.9f);
            ASSERT_TRUE(same(values(colour), fromHSV({hue, s, 0.9f}))) << hue << ' ' << s;
        }
}

// A NaN decides by its place: comparisons with it are false, and it counts as true.
TEST(Color, OfNaNComponentsTheOrderDecides)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    struct {
        Triple rgb;
        float saturation, value; // NaN: is one
    } const cases[] = {{{nan, 0.5f, 0.2f}, 0.6f, 0.5f},
                       {{0.5f, nan, 0.2f}, nan, nan},
                       {{0.5f, 0.2f, nan}, 0.6f, 0.5f},
                       {{nan, nan, nan}, nan, nan},
                       {{0.2f, 0.5f, nan}, 0.6f, 0.5f}};
    for (auto const& c : cases) {
        Triple hsv;
        Color3f(c.rgb.a, c.rgb.b, c.rgb.c).getValuesHSV(hsv.a, hsv.b, hsv.c);
        auto const equal = [](float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); };
        EXPECT_TRUE(equal(hsv.b, c.saturation) && equal(hsv.c, c.value))
            << c.rgb.a << ' ' << c.rgb.b << ' ' << c.rgb.c << ": " << hsv.b << ' ' << hsv.c;
    }
}

} // namespace
