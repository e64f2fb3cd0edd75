#include "tests/LogCapture.h"
#include "tests/Scene.h"

#include <cmath>
#include <limits>
#include <random>

namespace Zelvan {
namespace {

using test::bits;

template <class FieldClass>
std::string reparsed(char const* text)
{
    FieldClass field;
    std::string const result = field.setValueByStr(text, Field::multiple) ? field.getValueAsStr() : "refused";
    field.setToDefault();
    EXPECT_EQ(field.getValueAsStr(), FieldClass().getValueAsStr()) << text;
    return result;
}

TEST(Fields, TextsAreReadAndWritten)
{
    EXPECT_EQ(reparsed<SFFloat>(" +.5 "), "0.5");
    EXPECT_EQ(reparsed<SFFloat>("-1.E-3"), "-0.001");
    EXPECT_EQ(reparsed<SFFloat>("16777217"), "16777216");
    EXPECT_EQ(reparsed<SFFloat>("1e-60"), "0");
    EXPECT_EQ(reparsed<SFFloat>("-1e-400"), "-0");
    EXPECT_EQ(reparsed<SFFloat>("-inf"), "-inf");
    EXPECT_EQ(reparsed<SFFloat>("-nan(0x7fffff)"), "-nan(0x7fffff)");
    EXPECT_EQ(reparsed<SFTime>("1e300"), "1e+300");
    EXPECT_EQ(reparsed<MFFloat>(" 0,,.5\n\t1 ,"), "0 0.5 1");
    EXPECT_EQ(reparsed<MFFloat>(" , "), "");
    EXPECT_EQ(reparsed<SFVec2f>("1 2"), "1 2");
    EXPECT_EQ(reparsed<MFVec3f>("1 2 3, 4 5 6"), "1 2 3 4 5 6");
    EXPECT_EQ(reparsed<MFColor>("0 .25 1"), "0 0.25 1");
    EXPECT_EQ(reparsed<SFRotation>("0 2 0 1.5"), "0 2 0 1.5");
    EXPECT_EQ(reparsed<MFRotation>("0 0 1 1  0 0 0 2"), "0 0 1 1 0 0 0 2");
    EXPECT_EQ(reparsed<SFBool>(" TRUE\n"), "true");
    EXPECT_EQ(reparsed<SFBool>("false"), "false");
    EXPECT_EQ(reparsed<SFString>(" as \"it\" is "), " as \"it\" is ");
    EXPECT_EQ(reparsed<SFMatrix4f>("1 0 0 0 0 1 0 0 0 0 1 0 7 8 9 1"), "1 0 0 0 0 1 0 0 0 0 1 0 7 8 9 1");
}

TEST(Fields, BadTextsAreRefusedWithPlaceAndExpectation)
{
    struct Case {
        NodePartDataType type;
        char const* text;
        std::size_t position;
        char const* expected;
        char const* found;
    } const cases[] = {
        {SFFloatType, "", 0, "a number", "end of text"},
        {SFFloatType, "1 2", 2, "no more than one number", "2"},
        {SFFloatType, "0x10", 0, "a number", "0x10"},
        {SFFloatType, "1e39", 0, "a number within the range of a float", "1e39"},
        {SFFloatType, "+-1", 0, "a number", "+-1"},
        {MFFloatType, "0 0.5 1,5x", 8, "a number", "5x"},
        {MFFloatType, "0 nan(0x) 1", 2, "a number", "nan(0x)"},
        {SFVec3fType, "nan 2", 5, "three numbers (x y z)", "2 numbers"},
        {SFRotationType, "0 0 1 2 3", 8, "no more than four numbers (axis x y z, angle)", "3"},
        {SFTimeType, "soon", 0, "a number", "soon"},
        {MFVec2fType, "1 2 3", 5, "a multiple of 2 numbers", "3 numbers"},
        {SFBoolType, " yes", 1, "true or false", "yes"},
        {SFFloatType, "nan(1)", 0, "a number", "nan(1)"},
        {SFFloatType, "nan(0x1", 0, "a number", "nan(0x1"},
        {SFFloatType, "nan(0x1g)", 0, "a number", "nan(0x1g)"},
        {SFFloatType, "infx567890123456789012345678901234567890", 0, "a number", "infx567890123456789012345678901234567890"},
        {SFFloatType, "-nan(0x800000)", 0, "a number", "-nan(0x800000)"},
        {SFFloatType, "x234567890123456789012345678901234567890x", 0, "a number",
         "x234567890123456789012345678901234567890..."},
        {SFFloatType, "x2345678901234567890123456789012345678\u00e9\u00e9\u00e9", 0, "a number",
         "x2345678901234567890123456789012345678\u00e9..."},
        {SFFloatType, "x23456789012345678901234567890123456789\u00e9\u00e9", 0, "a number",
         "x23456789012345678901234567890123456789..."},
    };
    for (Case const& c : cases) {
        SFFloat sfFloat;
        MFFloat mfFloat;
        SFVec3f sfVec3f;
        SFRotation sfRotation;
        MFVec2f mfVec2f;
        SFBool sfBool;
        for (Field* const field :
             {static_cast<Field*>(&sfFloat), static_cast<Field*>(&mfFloat), static_cast<Field*>(&sfVec3f),
              static_cast<Field*>(&sfRotation), static_cast<Field*>(&mfVec2f), static_cast<Field*>(&sfBool)}) {
            if (field->dataType() != c.type)
                continue;
            std::string const before = field->getValueAsBin(-1);
            EXPECT_FALSE(field->setValueByStr(c.text, Field::multiple)) << c.text;
            EXPECT_EQ(field->getValueAsBin(-1), before) << c.text;
            EXPECT_EQ(Field::textError().position, c.position) << c.text;
            EXPECT_EQ(Field::textError().expected, c.expected) << c.text;
            EXPECT_EQ(Field::textError().found, c.found) << c.text;
        }
    }
}

TEST(Fields, RefuseWhatIsNoValueOfTheirs)
{
    SFBool flag;
    EXPECT_FALSE(flag.setValueByBin("\2")) << "neither true nor false";
    EXPECT_FALSE(flag.setValueByBin(std::string(2, '\0')));
    MFRotation turns;
    EXPECT_FALSE(turns.setValueByBin(std::string(32, '\0') + std::string("\3\0\0", 4)) || !turns.empty()) << "no such state";
    EXPECT_TRUE(turns.setValueByBin(std::string(32, '\0') + std::string("\2\0\0", 4)));
    MFVec2f list;
    EXPECT_EQ(list.addValueByStr("1 2 3", Field::multiple), 0) << "nothing of a bad text";
    EXPECT_TRUE(list.setValueByStr("1 2", Field::single) && !list.setValueByStr("1", Field::single));
    EXPECT_FALSE(list.setValueByBin("1234567") || list.set1ValueByBin(1, "12345678") || list.set1ValueByStr(-1, "1 2"));
    EXPECT_EQ(list.getValueAsStr() + list.get1ValueAsStr(1) + list.get1ValueAsBin(1), "1 2");
}

TEST(Fields, TakeWhatTheirDescriptionAllows)
{
    NodePartDesc const desc(0, NodePart::_nullMask, inputOutput, SFStringType, 0, "mode", nullptr, "fast", "fast ,slow", "", 0);
    SFString field;
    EXPECT_TRUE(field.setAndValidateValueByStr("any", false)) << "without a description";
    EXPECT_EQ(field.findName(), std::string());
    EXPECT_EQ(field.type(), initializeOnly);
    field._desc = &desc;
    EXPECT_EQ(field.findName(), std::string("mode"));
    EXPECT_EQ(field.type(), inputOutput);
    for (char const* const text : {"slow", "fast"}) {
        EXPECT_TRUE(field.setAndValidateValueByStr(text, true));
        EXPECT_EQ(field._value, text);
    }
    for (char const* const text : {"", "fas", "fast ", "fast,slow"}) {
        EXPECT_FALSE(field.setAndValidateValueByStr(text, false)) << text;
        EXPECT_EQ(Field::textError().expected, "one of: fast ,slow");
    }
    test::Scene scene;
    test::Sink<SFString> node(scene._nodes);
    node._in._desc = &desc;
    test::LogCapture log(osg::LOG_WARNING);
    for (bool const report : {false, true})
        EXPECT_FALSE(node._in.setAndValidateValueByStr("no", report) || !node._in.setAndValidateValueByStr("slow", report));
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].text, "Sink/sink.mode: expected one of: fast ,slow at position 0, found \"no\"\n");
    field._value = "other";
    field.setToDefault();
    EXPECT_EQ(field._value, "fast");
    NodePartDesc const optional(0, NodePart::_nullMask, inputOutput, SFStringType, 0, "mode", nullptr, nullptr, "fast,", "", 0);
    field._desc = &optional;
    EXPECT_TRUE(field.setAndValidateValueByStr("", false)) << "an empty word is allowed there";
    field._desc = nullptr;
}

TEST(Fields, ListsGrowShrinkAndAppend)
{
    MFFloat list;
    list._value = {1};
    list.addValueFieldDep({7, 8}, false);
    EXPECT_EQ(list.getValueAsStr(), "1 7 8");
    list.addValueFieldDep(list._value, false);
    EXPECT_EQ(list.getValueAsStr(), "1 7 8 1 7 8");
    list.addValueFieldDep({5}, true);
    EXPECT_EQ(list.getValueAsStr(), "5");
    EXPECT_GE(list._value.capacity(), 6u);
    EXPECT_EQ(list.addValueByStr("6 7", Field::multiple), 2);
    EXPECT_EQ(list.addValueByStr("6 7", Field::single), 0);
    list.reserve(2);
    list.resize(5);
    EXPECT_EQ(list.getValueAsStr(), "5 6 7 0 0");
    EXPECT_FALSE(list.set1ValueByStr(5, "1"));
    EXPECT_EQ(Field::textError().expected + Field::textError().found, "an index below 55");
    EXPECT_TRUE(list.set1ValueByStr(4, "1"));
    EXPECT_EQ(list.get1ValueAsStr(0) + list.get1ValueAsStr(4), "51");
    EXPECT_EQ(list.getValueAsBin(0).size(), 4u);
    list.addValueFieldDep({}, true);
    EXPECT_TRUE(list.empty());
    list.free();
    EXPECT_EQ(list._value.capacity(), 0u);

    MFRotation rotations;
    rotations.resize(3);
    EXPECT_EQ(bits(rotations._value[2]), bits(Rotation()));
    MFMatrix4f matrices;
    matrices.resize(1);
    EXPECT_EQ(matrices.getValueAsStr(), "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");

    SFFloat single;
    single._value = 4;
    single.clear();
    single.resize(9);
    single.addValueFieldDep(5, true);
    EXPECT_EQ(single.addValueByStr("6", Field::multiple), 0);
    EXPECT_EQ(single._value, 6);
    EXPECT_EQ(single.size(), 1u);
    EXPECT_FALSE(single.empty());
}

template <class FieldClass>
bool equalTexts(char const* a, char const* b)
{
    FieldClass first, second;
    EXPECT_TRUE(first.setValueByStr(a, Field::multiple) && second.setValueByStr(b, Field::multiple));
    EXPECT_EQ(first.equalValue(second), second.equalValue(first));
    return first.equalValue(second);
}

TEST(Fields, EqualityFollowsTheValueType)
{
    EXPECT_FALSE(equalTexts<SFFloat>("0.5", "0.50000006"));
    EXPECT_TRUE(equalTexts<SFFloat>("0", "-0"));
    EXPECT_FALSE(equalTexts<SFFloat>("nan", "nan"));
    EXPECT_TRUE(equalTexts<SFVec3f>("0 0 0", "0 0 5e-7"));
    EXPECT_FALSE(equalTexts<SFVec3f>("0 0 0", "0 0 2e-6"));
    EXPECT_FALSE(equalTexts<SFVec2f>("0 nan", "0 nan"));
    EXPECT_TRUE(equalTexts<MFColor>("0 0 0", "1e-6 0 0"));
    EXPECT_FALSE(equalTexts<MFFloat>("1 2", "1 2 3"));
    EXPECT_TRUE(equalTexts<MFFloat>("", ""));
    EXPECT_TRUE(equalTexts<SFRotation>("0 0 0 9", "0 0 1 0"));
    EXPECT_FALSE(equalTexts<SFRotation>("0 0 1 0", "0 0 1 6.2831853"));
    EXPECT_TRUE(equalTexts<SFMatrix4f>("1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 5e-7 1"));
    EXPECT_TRUE(equalTexts<SFString>("a", "a"));

    SFRotation stale;
    stale._value = Rotation({0, 1, 0}, 0.f);
    EXPECT_TRUE(stale.equalValue(SFRotation()));
    EXPECT_EQ(stale._value._state, Rotation::both);
    EXPECT_EQ(stale._value._quaternion.w(), 1.f);
}

TEST(Fields, RotationFormsAreDerivedWhenRead)
{
    // Axis and angle of a quaternion: the identity, small and half turns, a quaternion that is not quite unit.
    struct Case {
        float q[4], axis[3], angle;
    } const cases[] = {
        {{0, 0, 0, 1}, {0, 0, 1}, 0},
        {{0, 1e-7f, 0, 1}, {0, 1, 0}, 2e-7f},
        {{0, 9e-13f, 0, 1}, {0, 0, 1}, 0},
        {{1, 0, 0, 0}, {1, 0, 0}, 3.14159265f},
        {{0, 0, 0.6f, 0.6f}, {0, 0, 1}, 1.57079633f},
        {{0, 0, 0.70710678f, -0.70710678f}, {0, 0, 1}, 4.71238898f},
    };
    for (Case const& c : cases) {
        osg::Quaternion quaternion;
        quaternion.setValueAsQuat(c.q[0], c.q[1], c.q[2], c.q[3]);
        Rotation const rotation(quaternion);
        EXPECT_FLOAT_EQ(rotation.angle(), c.angle);
        for (unsigned i = 0; i < 3; ++i)
            EXPECT_FLOAT_EQ(rotation.axis()[i], c.axis[i]);
        EXPECT_EQ(rotation._state, Rotation::both);
    }
    Rotation turned({0, 1, 0}, 2.f);
    turned.setQuaternion(osg::Quaternion());
    EXPECT_TRUE(turned.axis() == osg::Vec3f(0, 0, 1) && turned.angle() == 0) << "no old axis";
    turned._axis.setValues(0, 0, 1e-6f);
    turned._quaternion.setValueAsQuat(1, 0, 0, 0);
    turned._state = Rotation::axisAngleOnly;
    EXPECT_EQ(turned.quaternion(), osg::Quaternion()) << "too short an axis";
    osg::Quaternion broken;
    broken.setValueAsQuat(NAN, 0, 0, 1);
    EXPECT_TRUE(std::isnan(Rotation(broken).angle()));
}

} // namespace
} // namespace Zelvan
