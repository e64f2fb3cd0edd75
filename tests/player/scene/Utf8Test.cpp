#include "player/scene/Utf8.h"
#include "player/scene/Diagnostics.h"

#include <gtest/gtest.h>
#include <sstream>

namespace Zelvan::play::test {
namespace {

TEST(Utf8, AStrangersTextActsOnNothing)
{
    struct Case {
        std::string text, shown;
        std::size_t characters;
    };
    Case const cases[] = {
        {"Ball\u00A0é 球 \xF0\x9F\x8E\xB1", "Ball\u00A0é 球 \xF0\x9F\x8E\xB1", 10},
        {"a\nb\rc\td", "a\\nb\\rc\\td", 7},
        {"\x1b[31m\x7f\a", "\\x1b[31m\\x7f\\x07", 7},
        {"\xC2\x9B"
         "2J\xC2\x85",
         "\\u009b2J\\u0085", 4},                                                                              // C1
        {"\u202Egnp.\u2066x\u2069\u200F\u061C\u2028", "\\u202egnp.\\u2066x\\u2069\\u200f\\u061c\\u2028", 11}, // bidi
        {"\xff\x9b\xc3", "\\xff\\x9b\\xc3", 3}, // no beginning, cut off
        {"\xC0\xAF\xE0\x80\xAF\xED\xA0\x80\xED\xBF\xBF", "\\xc0\\xaf\\xe0\\x80\\xaf\\xed\\xa0\\x80\\xed\\xbf\\xbf",
         11},                                                                            // overlong, surrogate
        {"\xF4\x90\x80\x80\xF4\x8F\xBF\xBF", "\\xf4\\x90\\x80\\x80\xF4\x8F\xBF\xBF", 5}, // beyond Unicode, its end
        {std::string(1, '\0'), "\\x00", 1},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(printable(c.text), c.shown);
        EXPECT_EQ(characters(c.text), c.characters) << c.shown;
    }
    // Every code point by the arithmetic, and every byte of it cut off.
    for (char32_t c = 1; c <= 0x110000; c += c < 0x3000 ? 1 : 255) {
        bool const valid = c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
        unsigned const length = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
        std::string text(1, static_cast<char>(length == 1 ? c : (0xF00 >> length & 0xFF) | c >> 6 * (length - 1)));
        for (unsigned i = length - 1; i-- > 0;)
            text += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
        CodePoint const found = decodeUtf8(text + "x");
        ASSERT_EQ(found.valid, valid) << std::hex << std::uint32_t(c);
        if (valid) {
            ASSERT_EQ(std::uint32_t(found.value), std::uint32_t(c));
            ASSERT_EQ(found.length, length);
        }
        if (length > 1) {
            ASSERT_FALSE(decodeUtf8(text.substr(0, length - 1)).valid);
        }
    }
}

TEST(Utf8, TakesTheColumnsOfATerminal)
{
    EXPECT_EQ(displayWidth("Ball"), 4u);
    EXPECT_EQ(displayWidth("球 é e\u0301\xff"), 7u);
    EXPECT_EQ(fitted("a球球", 5), "a球球");
    EXPECT_EQ(fitted("a球球", 4), "a球…");
    EXPECT_EQ(fitted("a球球", 3), "a…");
    EXPECT_EQ(fitted("e\u0301xyz", 2), "e\u0301…");
}

TEST(Diagnostics, CannotBeForgedByAName)
{
    std::ostringstream out;
    Diagnostics diagnostics(out);
    diagnostics.warning({"a\nb.x3d", 3, 1}, "kind", "X\ngood.x3d:1:1: error: forged\x1b[2J\u202E");
    EXPECT_EQ(out.str(), "a\\nb.x3d:3:1: warning: X\\ngood.x3d:1:1: error: forged\\x1b[2J\\u202e [kind]\n");
}

} // namespace
} // namespace Zelvan::play::test
