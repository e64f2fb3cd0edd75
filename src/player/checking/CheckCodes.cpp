#include "player/checking/Check.h"

#include "player/scene/DidYouMean.h"

#include <algorithm>

namespace Zelvan::play {

namespace {

// What the examples share.
std::string const looping = "<TimeSensor DEF='Clock' cycleInterval='4' loop='true'/>\n";
std::string const ball = "<Transform DEF='Ball'/>\n";

std::string route(std::string const& from, std::string const& field, std::string const& to, std::string const& toField)
{
    return "<ROUTE fromNode='" + from + "' fromField='" + field + "' toNode='" + to + "' toField='" + toField + "'/>\n";
}

std::string drive(std::string const& name)
{
    return route("Clock", "fraction_changed", name, "set_fraction");
}

std::string moveBall(std::string const& name, std::string const& field)
{
    return route(name, "value_changed", "Ball", field);
}

// An interpolator named Fade, between a clock and what it moves.
std::string fading(std::string const& fade)
{
    return looping + "<Material DEF='Ball'/>\n" + fade + '\n' + drive("Fade") + moveBall("Fade", "transparency");
}

} // namespace

// A name stays what it is once it has been out: scripts wait for it.
std::vector<CheckCode> const& checkCodes()
{
    constexpr Severity hint = Severity::hint, note = Severity::note, warning = Severity::warning, error = Severity::error;
    // clang-format off
    static std::vector<CheckCode> const codes = {
        // The file.
        {.code = "loose-syntax", .severity = warning, .title = "Text that is not as its syntax asks",
         .meaning = "Text that VRML does not have but that can only mean one thing: DEF or ROUTE in small letters, a name in "
                    "quotes, several nodes without brackets, a bracket that closes nothing, a field of a PROTO without a "
                    "value, a word where a value is expected, a field that is given twice.",
         .why = "It is read as it was meant; other programs may end there.",
         .bad = "<ScalarInterpolator key='0 1' key='0 1' keyValue='0 1'/>", .good = "<ScalarInterpolator key='0 1' keyValue='0 1'/>",
         .fix = Fix::none, .how = "Write it as the message says."},
        {.code = "not-utf8", .severity = warning, .title = "A file that is no UTF-8",
         .meaning = "VRML with a byte that UTF-8 does not have: the whole file is read as Latin-1.",
         .why = "X3D and VRML are UTF-8: other programs show other letters in its texts and names, or refuse it.",
         .bad = "", .good = "",
         .fix = Fix::none, .how = "Save the file as UTF-8."},
        {.code = "bad-xml", .severity = error, .title = "The file is no scene",
         .meaning = "The file could not be read as a scene: it is not X3D or VRML, or larger than the limits allow.",
         .why = "Nothing of it is played.",
         .bad = "<X3D><Scene><Transform></Scene></X3D>",
         .good = "<X3D><Scene><Transform/></Scene></X3D>",
         .fix = Fix::none, .how = "The place is where reading stopped; what is wrong often stands just before it."},
        {.code = "not-checked", .severity = error, .title = "A file that could not be checked",
         .meaning = "The file could not be opened or read, or the process that checked it died.",
         .why = "Nothing is known of it: that the others are fine says nothing about this one.",
         .bad = "", .good = "",
         .fix = Fix::none, .how = "The message has the system's reason."},
        {.code = "unknown-node", .severity = warning, .title = "A node type in wrong capitals",
         .meaning = "A node with a name whose type would be known if it were written in other capitals.",
         .why = "X3D tells capitals from small letters: nothing runs it, here or elsewhere.",
         .bad = "<scalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>", .good = "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>",
         .fix = Fix::none, .how = "Write the type as X3D does."},
        {.code = "unused-ignore", .severity = warning, .title = "A comment that ignores nothing",
         .meaning = "A comment \"zelvan: ignore CODE\" where check finds nothing of that code, or that names no code.",
         .why = "It would hide what goes wrong there later.",
         .bad = "<!-- zelvan: ignore key-order - meant -->\n<ScalarInterpolator key='0 1' keyValue='0 1'/>",
         .good = "<!-- zelvan: ignore key-order - meant -->\n<ScalarInterpolator key='0 1 0.5' keyValue='0 1 2'/>",
         .fix = Fix::none, .how = "Take it away, or put it on the line of what it is for, or the one above."},
        {.code = "bad-value", .severity = error, .title = "A value that does not fit its field",
         .meaning = "A value cannot be read as what its field holds. The field keeps its default.",
         .why = "One wrong number costs a whole list: an interpolator without its values sends nothing.",
         .bad = "<PositionInterpolator DEF='Path' key='0 1' keyValue='0 0 0 1 2'/>",
         .good = "<PositionInterpolator DEF='Path' key='0 1' keyValue='0 0 0 1 2 0'/>",
         .fix = Fix::none, .how = "The place is that of the number that is wrong, or missing."},
        {.code = "unknown-attribute", .severity = warning, .title = "An attribute that the node does not have",
         .meaning = "The node has no such field, or none that a file can set. A note where the name is like no "
                    "field's.",
         .why = "What was misspelled is not set, and the default holds.",
         .bad = "<PositionInterpolator DEF='Path' keys='0 1'/>",
         .good = "<PositionInterpolator DEF='Path' key='0 1'/>",
         .fix = Fix::none, .how = "The message names the field that was probably meant."},
        {.code = "bad-route", .severity = warning, .title = "A ROUTE that connects nothing",
         .meaning = "A ROUTE between nodes that do not exist, or fields that do not exist or do not fit, as far as that is known: "
                    "of the nodes that are run, of PROTOs and Scripts.",
         .why = "No event passes: what it should move stands still.",
         .bad = looping + "<PositionInterpolator DEF='Path' key='0 1' keyValue='0 0 0 0 3 0'/>\n" + drive("Pth"),
         .good = looping + ball + "<PositionInterpolator DEF='Path' key='0 1' keyValue='0 0 0 0 3 0'/>\n" + drive("Path")
             + moveBall("Path", "translation"),
         .fix = Fix::none, .how = "The message names the node or field that was probably meant."},
        {.code = "duplicate-def", .severity = note, .title = "One DEF name for two nodes",
         .meaning = "Two nodes have one DEF name. A USE or ROUTE means the nearest one before it. A warning in X3D XML where a "
                    "ROUTE uses the name: there a name stands for one node.",
         .why = "A copied node keeps the name of the first, and takes the ROUTEs behind it away.",
         .bad = "<Transform DEF='Box'/>\n<Transform DEF='Box'/>",
         .good = "<Transform DEF='Box'/>\n<Transform DEF='Box2'/>",
         .fix = Fix::none, .how = "Which of the two a ROUTE means is known to its author only."},
        {.code = "unknown-use", .severity = warning, .title = "USE of a name that is not there",
         .meaning = "A USE of a name that no node before it has.",
         .why = "The node is missing where it should appear.",
         .bad = "<Transform USE='Box'/>\n<Transform DEF='Box'/>",
         .good = "<Transform DEF='Box'/>\n<Transform USE='Box'/>",
         .fix = Fix::none, .how = "DEF comes before USE, in the same file or PROTO body."},
        {.code = "bad-proto", .severity = warning, .title = "A PROTO that cannot be used",
         .meaning = "A PROTO that cannot be found or expanded as it is used.",
         .why = "Its nodes, and the animation in them, are missing.",
         .bad = "<ProtoInstance name='Door'/>",
         .good = "<ProtoDeclare name='Door'><ProtoBody><Group/></ProtoBody></ProtoDeclare>\n"
                 "<ProtoInstance name='Door'/>",
         .fix = Fix::none, .how = "Nothing is fetched from a network: keep a copy of the file beside the scene."},
        {.code = "bad-inline", .severity = warning, .title = "An Inline that cannot be read",
         .meaning = "An Inline or IMPORT whose file or node cannot be read. A note where it may well be there: it would have "
                    "to be fetched, or lies outside the scene's folder. A hint where there is no url.",
         .why = "Its nodes, and the animation in them, are missing.",
         .bad = "<Inline url='\"missing.x3d\"'/>",
         .good = "<Inline load='false' url='\"missing.x3d\"'/>",
         .fix = Fix::none, .how = "Nothing is fetched from a network: keep a copy of the file beside the scene."},
        // Keys, and how many values there are.
        {.code = "no-keys", .severity = error, .title = "No keys",
         .meaning = "An interpolator without keys. A note where nothing drives it: it may be a place to be filled.",
         .why = "It never sends a value.",
         .bad = fading("<ScalarInterpolator DEF='Fade' keyValue='0 1'/>"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>"),
         .fix = Fix::none, .how = "Keys are the author's."},
        {.code = "no-values", .severity = error, .title = "No values",
         .meaning = "An interpolator without values. A note where nothing drives it.",
         .why = "It never sends one.",
         .bad = fading("<ScalarInterpolator DEF='Fade' key='0 1'/>"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>"),
         .fix = Fix::none, .how = "Values are the author's."},
        {.code = "too-few-values", .severity = error, .title = "Fewer values than keys",
         .meaning = "Fewer values than keys. An EaseInEaseOut needs a pair for each key, also for the last one.",
         .why = "Keys without a value do not count, and the animation ends early.",
         .bad = "<EaseInEaseOut DEF='Soft' key='0 0.5 1' easeInEaseOut='0 0.5 0.5 0'/>",
         .good = "<EaseInEaseOut DEF='Soft' key='0 0.5 1' easeInEaseOut='0 0.5 0.5 0 0 0'/>",
         .fix = Fix::unsafe, .how = "Only of an EaseInEaseOut: the pair 0 0 is added for the last key."},
        {.code = "too-many-values", .severity = warning, .title = "More values than keys",
         .meaning = "More values than keys.",
         .why = "Values without a key do not count. Most often a key was forgotten.",
         .bad = "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1 2'/>",
         .good = "<ScalarInterpolator DEF='Fade' key='0 0.5 1' keyValue='0 1 2'/>",
         .fix = Fix::safe, .how = "The values that do not count are taken out."},
        {.code = "uneven-blocks", .severity = error, .title = "Blocks of unequal size",
         .meaning = "The number of values is not a multiple of the number of keys.",
         .why = "Every key owns equally many values: from the second key on they are taken from the wrong places.",
         .bad = "<CoordinateInterpolator DEF='Flag' key='0 1' keyValue='0 0 0 1 0 0 2 0 0'/>",
         .good = "<CoordinateInterpolator DEF='Flag' key='0 1' keyValue='0 0 0 1 0 0 2 0 0 3 0 0'/>",
         .fix = Fix::none, .how = "Which values are missing is known to the author only."},
        {.code = "one-key", .severity = hint, .title = "One key only",
         .meaning = "A TimeSensor drives an interpolator with one key.",
         .why = "Whatever the fraction, the value is the same. Some send a constant this way.",
         .bad = fading("<ScalarInterpolator DEF='Fade' key='0' keyValue='1'/>"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='1 0'/>"),
         .fix = Fix::none, .how = "A key for each value that shall be passed."},
        {.code = "key-order", .severity = error, .title = "Keys out of order",
         .meaning = "A key is smaller than the one before it.",
         .why = "Keys shall never fall. Fractions around this one give no value or a wrong one, and players differ.",
         .bad = "<ScalarInterpolator DEF='Fade' key='0 0.8 0.5 1' keyValue='0 1 2 3'/>",
         .good = "<ScalarInterpolator DEF='Fade' key='0 0.5 0.8 1' keyValue='0 2 1 3'/>",
         .fix = Fix::unsafe, .how = "The keys are sorted, and their values with them; equal keys stay in their order."},
        {.code = "key-equal", .severity = hint, .title = "Equal keys",
         .meaning = "Two equal keys, the usual way to write a step. A note where three or more are equal and a value "
                    "in between is never reached.",
         .why = "The value jumps there.",
         .bad = "<ScalarInterpolator DEF='Fade' key='0 0.5 0.5 1' keyValue='0 0 1 1'/>",
         .good = "<ScalarInterpolator DEF='Fade' key='0 0.5 0.6 1' keyValue='0 0 1 1'/>",
         .fix = Fix::none, .how = "Fine where a step is meant."},
        {.code = "key-range", .severity = warning, .title = "A key outside 0 to 1",
         .meaning = "A key outside 0 to 1, in an interpolator that nothing but TimeSensors drive. A note where it is "
                    "off by less than 0.01.",
         .why = "A TimeSensor's fraction runs from 0 to 1: what lies beyond is never reached.",
         .bad = fading("<ScalarInterpolator DEF='Fade' key='0 50 100' keyValue='0 1 0'/>"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 0.5 1' keyValue='0 1 0'/>"),
         .fix = Fix::unsafe, .how = "All keys are divided by the largest one, where none is negative."},
        {.code = "key-span", .severity = hint, .title = "Keys that do not reach 0 or 1",
         .meaning = "Keys that begin after 0 or end before 1, in an interpolator that a TimeSensor drives.",
         .why = "The first value holds before them and the last one after them, which is mostly what is meant.",
         .bad = fading("<ScalarInterpolator DEF='Fade' key='0.2 0.8' keyValue='0 1'/>"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 0.2 0.8 1' keyValue='0 0 1 1'/>"),
         .fix = Fix::none, .how = "Fine where the hold is meant."},
        {.code = "not-finite", .severity = error, .title = "A number that is none",
         .meaning = "A key or a value is infinite or not a number.",
         .why = "All that is blended with it is lost, too.",
         .bad = "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 nan'/>",
         .good = "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>",
         .fix = Fix::none, .how = "What number was meant is known to the author only."},
        // Values.
        {.code = "zero-axis", .severity = warning, .title = "A rotation about no axis",
         .meaning = "A rotation whose axis has length 0. A hint where its angle is 0 or a full turn, too.",
         .why = "It plays as no rotation at all: the angle is lost. Some players send numbers that are none.",
         .bad = "<OrientationInterpolator DEF='Spin' key='0 1' keyValue='0 1 0 0 0 0 0 1.57'/>",
         .good = "<OrientationInterpolator DEF='Spin' key='0 1' keyValue='0 1 0 0 0 1 0 1.57'/>",
         .fix = Fix::safe, .how = "Only with the angle 0: the axis 0 0 1 is written, which plays the same. At the ends, which are sent as "
                                  "they are written, it takes --unsafe-fixes."},
        {.code = "long-turn", .severity = warning, .title = "A step of more than half a turn",
         .meaning = "A step of more than half a turn between two keys with one axis. Steps over the end of the circle "
                    "that only continue what their neighbours do, and quick ones back to where they began, are left alone.",
         .why = "Between two rotations the shorter arc is played: another way than the angles say, or no turn at all.",
         .bad = "<OrientationInterpolator DEF='Spin' key='0 1' keyValue='0 1 0 0 0 1 0 6.2832'/>",
         .good = "<OrientationInterpolator DEF='Spin' key='0 0.333 0.667 1'\n"
                 " keyValue='0 1 0 0 0 1 0 2.0944 0 1 0 4.1888 0 1 0 6.2832'/>",
         .fix = Fix::unsafe, .how = "Keys are put in between, so that no step is half a turn and all of the angle is "
                                    "played."},
        {.code = "half-turn", .severity = note, .title = "A step of half a turn",
         .meaning = "A step of half a turn between two keys.",
         .why = "Both ways are equally long. Rounding decides which one it goes, here and in other players.",
         .bad = "<OrientationInterpolator DEF='Spin' key='0 1' keyValue='0 1 0 0 0 1 0 3.14159'/>",
         .good = "<OrientationInterpolator DEF='Spin' key='0 0.5 1' keyValue='0 1 0 0 0 1 0 1.5708 0 1 0 3.14159'/>",
         .fix = Fix::none, .how = "A key in between says which way."},
        {.code = "color-range", .severity = warning, .title = "A colour outside 0 to 1",
         .meaning = "A colour with a component outside 0 to 1.",
         .why = "Colours are shares of full light, not bytes; what is above 1 looks like 1, or plays as another hue.",
         .bad = "<ColorInterpolator DEF='Glow' key='0 1' keyValue='255 128 0 0 0 0'/>",
         .good = "<ColorInterpolator DEF='Glow' key='0 1' keyValue='1 0.502 0 0 0 0'/>",
         .fix = Fix::unsafe, .how = "All colours of the node are divided by 255 where the largest number is above 2 and not above "
                                    "255, else by that number; where one is below 0, by their author."},
        {.code = "hue-long-way", .severity = note, .title = "Hues more than half a circle apart",
         .meaning = "Two colours whose hues lie more than 180 degrees apart.",
         .why = "Colours are blended as hue, saturation and value. Here the hue runs straight from one number to the "
                "other, the long way round the circle; some players go the shorter way, others blend red, green and "
                "blue.",
         .bad = "<ColorInterpolator DEF='Glow' key='0 1' keyValue='0 0 1 1 0 0'/>",
         .good = "<ColorInterpolator DEF='Glow' key='0 1' keyValue='0 0 1 1 0 0.001'/>",
         .fix = Fix::unsafe, .how = "The red end is written as hue 360, or red is crossed with two equal keys."},
        {.code = "grey-hue", .severity = note, .title = "A grey that brings red in",
         .meaning = "A step between grey or black and a colour far from red.",
         .why = "Grey has no hue; its number is 0, that of red. On the way to another colour all hues between show.",
         .bad = "<ColorInterpolator DEF='Glow' key='0 1' keyValue='0 0 0 0 0 1'/>",
         .good = "<ColorInterpolator DEF='Glow' key='0 1' keyValue='0 0 0.001 0 0 1'/>",
         .fix = Fix::none, .how = "A trace of the neighbour's colour gives the grey its hue."},
        {.code = "zero-normal", .severity = note, .title = "A normal of length 0",
         .meaning = "A normal of length 0.",
         .why = "It has no direction: the surface cannot be lit there.",
         .bad = "<NormalInterpolator DEF='Shine' key='0 1' keyValue='0 0 1 0 0 0'/>",
         .good = "<NormalInterpolator DEF='Shine' key='0 1' keyValue='0 0 1 0 1 0'/>",
         .fix = Fix::none, .how = "Programs write it for triangles without an area, where it does no harm."},
        {.code = "opposite-normals", .severity = note, .title = "A normal that turns over",
         .meaning = "A normal that turns into its opposite.",
         .why = "There is no one way round, and half way it is zero.",
         .bad = "<NormalInterpolator DEF='Shine' key='0 1' keyValue='0 0 1 0 0 -1'/>",
         .good = "<NormalInterpolator DEF='Shine' key='0 0.5 1' keyValue='0 0 1 0 1 0 0 0 -1'/>",
         .fix = Fix::none, .how = "A key in between, with a normal to pass by."},
        {.code = "matrix-mirrored", .severity = error, .title = "A mirroring matrix",
         .meaning = "A mirroring matrix in mode 'matrix'. In mode 'component' a warning, where the matrix next to it "
                    "does not mirror.",
         .why = "It has no real logarithm, and so no blend. In mode 'component' the scale passes through zero.",
         .bad = "<TransformationInterpolator DEF='Warp' key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1\n"
                " -1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1'/>",
         .good = "<TransformationInterpolator DEF='Warp' mode='component' key='0 1'\n"
                 " keyValue='-1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 -2 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1'/>",
         .fix = Fix::none, .how = "Mode 'component' blends matrices that all mirror."},
        {.code = "matrix-no-log", .severity = error, .title = "A matrix without a logarithm",
         .meaning = "A matrix without a real logarithm, in mode 'matrix'.",
         .why = "The values around it are no numbers.",
         .bad = "<TransformationInterpolator DEF='Warp' key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1\n"
                " 1 0 0 0 0 1 0 0 0 0 0 0 0 0 0 1'/>",
         .good = "<TransformationInterpolator DEF='Warp' mode='component' key='0 1'\n"
                 " keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1 0 0 0 0 1 0 0 0 0 0 0 0 0 0 1'/>",
         .fix = Fix::none, .how = "Mode 'component' does without logarithms."},
        {.code = "matrix-projective", .severity = warning, .title = "A projective matrix",
         .meaning = "A matrix with a projective part.",
         .why = "Often it was written row by row. A translation is the 13th to 15th number.",
         .bad = "<TransformationInterpolator DEF='Warp' key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1\n"
                " 1 0 0 5 0 1 0 0 0 0 1 0 0 0 0 1'/>",
         .good = "<TransformationInterpolator DEF='Warp' key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1\n"
                 " 1 0 0 0 0 1 0 0 0 0 1 0 5 0 0 1'/>",
         .fix = Fix::none, .how = "Matrices are written column by column."},
        {.code = "matrix-long-turn", .severity = warning, .title = "Matrices that turn the long way",
         .meaning = "Two rotations whose logarithms are more than half a turn apart, in mode 'matrix'.",
         .why = "The blend of the logarithms goes the long way round.",
         .bad = "<TransformationInterpolator DEF='Warp' key='0 1'\n"
                " keyValue='-0.98 0.17 0 0 -0.17 -0.98 0 0 0 0 1 0 0 0 0 1\n"
                " -0.98 -0.17 0 0 0.17 -0.98 0 0 0 0 1 0 0 0 0 1'/>",
         .good = "<TransformationInterpolator DEF='Warp' mode='component' key='0 1'\n"
                 " keyValue='-0.98 0.17 0 0 -0.17 -0.98 0 0 0 0 1 0 0 0 0 1\n"
                 " -0.98 -0.17 0 0 0.17 -0.98 0 0 0 0 1 0 0 0 0 1'/>",
         .fix = Fix::none, .how = "Mode 'component' turns the shorter way."},
        {.code = "matrix-rough", .severity = warning, .title = "A rotation of too few decimals",
         .meaning = "A rotation written with so few decimals that their rounding stretches it, and bends the way to the "
                    "next key by more than 1 %.",
         .why = "Between the keys it is sheared, although neither key is.",
         .bad = "<TransformationInterpolator DEF='Warp' mode='component' key='0 1'\n"
                " keyValue='0.79 0.17 0.59 0 -0.59 0.47 0.65 0 -0.17 -0.87 0.47 0 0 0 0 1\n"
                " 2.362 0.504 1.779 0 -0.593 0.469 0.655 0 -0.168 -0.867 0.469 0 0 0 0 1'/>",
         .good = "<TransformationInterpolator DEF='Warp' mode='component' key='0 1'\n"
                 " keyValue='0.787 0.168 0.593 0 -0.593 0.469 0.655 0 -0.168 -0.867 0.469 0 0 0 0 1\n"
                 " 2.362 0.504 1.779 0 -0.593 0.469 0.655 0 -0.168 -0.867 0.469 0 0 0 0 1'/>",
         .fix = Fix::none, .how = "The message says how many decimals are enough: three for a rotation without scale."},
        {.code = "ease-range", .severity = warning, .title = "An ease share outside 0 to 1",
         .meaning = "An ease share outside 0 to 1.",
         .why = "The two numbers are shares of an interval: how much of it is spent on speeding up and slowing down.",
         .bad = "<EaseInEaseOut DEF='Soft' key='0 1' easeInEaseOut='0 2 1 0'/>",
         .good = "<EaseInEaseOut DEF='Soft' key='0 1' easeInEaseOut='0 0.5 0.5 0'/>",
         .fix = Fix::none, .how = "What share was meant is known to the author only."},
        {.code = "no-effect", .severity = note, .title = "A field that changes nothing here",
         .meaning = "closed, normalizeVelocity or keyVelocity of a spline is set. X3D has them; they change nothing "
                    "here.",
         .why = "Other players bend the curve by them, so that it differs from what is played here.",
         .bad = "<SplineScalarInterpolator DEF='Wave' closed='true' key='0 0.5 1' keyValue='0 1 0'/>",
         .good = "<SplineScalarInterpolator DEF='Wave' key='0 0.5 1' keyValue='0 1 0'/>",
         .fix = Fix::none, .how = "Keep it for the players that know it."},
        // Where a loop begins again.
        {.code = "loop-jump", .severity = note, .title = "A loop that jumps",
         .meaning = "The last value is not the first one, and the TimeSensor loops. A hint where the curve jumps "
                    "on its way, too, or a ROUTE may end the loop.",
         .why = "The value jumps back whenever a cycle ends.",
         .bad = looping + ball + "<PositionInterpolator DEF='Hop' key='0 0.5 1' keyValue='0 0 0 0 3 0 0 1 0'/>\n" + drive("Hop")
             + moveBall("Hop", "translation"),
         .good = looping + ball + "<PositionInterpolator DEF='Hop' key='0 0.5 1' keyValue='0 0 0 0 3 0 0 0 0'/>\n"
             + drive("Hop") + moveBall("Hop", "translation"),
         .fix = Fix::unsafe, .how = "The last value is replaced by the first one, unless nothing would move then."},
        {.code = "loop-kink", .severity = hint, .title = "A loop with a kink",
         .meaning = "The values meet where the TimeSensor loops, but the speed changes there, and nowhere else as "
                    "much.",
         .why = "A smooth motion shows a jerk once in every cycle.",
         .bad = looping + ball + "<PositionInterpolator DEF='Hop' key='0 0.2 0.4 0.6 0.8 1'\n keyValue='0 0 0 0 8 0 0 12 0 0 12 0 0 8 0 0 0 0'/>\n"
             + drive("Hop") + moveBall("Hop", "translation"),
         .good = looping + ball + "<PositionInterpolator DEF='Hop' key='0 0.2 0.4 0.6 0.8 1'\n keyValue='0 0 0 0 2 0 0 10 0 0 10 0 0 2 0 0 0 0'/>\n"
             + drive("Hop") + moveBall("Hop", "translation"),
         .fix = Fix::none, .how = "The last step like the first one, where a smooth loop is meant."},
        // Where events come from and go to.
        {.code = "undriven", .severity = warning, .title = "Nothing drives it",
         .meaning = "An interpolator's output is routed on, but no ROUTE leads to its set_fraction. A note where its "
                    "output goes nowhere either, and in a PROTO or an Inline, which may leave it to its user; what EXPORT "
                    "offers is left alone.",
         .why = "It never sends a value.",
         .bad = ball + "<PositionInterpolator DEF='Hop' key='0 1' keyValue='0 0 0 0 3 0'/>\n"
             + moveBall("Hop", "translation"),
         .good = looping + ball + "<PositionInterpolator DEF='Hop' key='0 1' keyValue='0 0 0 0 3 0'/>\n" + drive("Hop")
             + moveBall("Hop", "translation"),
         .fix = Fix::none, .how = "A ROUTE from a TimeSensor's fraction_changed to its set_fraction."},
        {.code = "unrouted", .severity = warning, .title = "Its values go nowhere",
         .meaning = "An interpolator is driven, but no ROUTE takes its output anywhere. A note in a PROTO or an "
                    "Inline, which may leave it to its user; what EXPORT offers is left alone.",
         .why = "What it should move stands still.",
         .bad = looping + "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n" + drive("Fade"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>"),
         .fix = Fix::none, .how = "A ROUTE from its value_changed to the field that it shall move."},
        {.code = "route-loop", .severity = warning, .title = "ROUTEs in a circle",
         .meaning = "ROUTEs that lead an interpolator's output back to it. A note where other nodes lie on the way.",
         .why = "An event that comes round again is dropped.",
         .bad = "<ScalarInterpolator DEF='A' key='0 1' keyValue='0 1'/>\n"
                "<ScalarInterpolator DEF='B' key='0 1' keyValue='0 1'/>\n"
                "<ROUTE fromNode='A' fromField='value_changed' toNode='B' toField='set_fraction'/>\n"
                "<ROUTE fromNode='B' fromField='value_changed' toNode='A' toField='set_fraction'/>",
         .good = "<ScalarInterpolator DEF='A' key='0 1' keyValue='0 1'/>\n"
                 "<ScalarInterpolator DEF='B' key='0 1' keyValue='0 1'/>\n"
                 "<ROUTE fromNode='A' fromField='value_changed' toNode='B' toField='set_fraction'/>",
         .fix = Fix::none, .how = "One of the ROUTEs goes."},
        {.code = "foreign-driver", .severity = note, .title = "It depends on what is not run",
         .meaning = "A node that zelvan-play does not run (a Script, a follower, a sequencer, a sensor, an unread "
                    "PROTO) stands between the nodes that it runs, or holds an interpolator, which it may fill and "
                    "drive.",
         .why = "What the node would have moved stands still here, and moves in a player that runs it.",
         .bad = "<Script DEF='Brain'><field accessType='outputOnly' type='SFFloat' name='mood'/></Script>\n"
                "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n"
                "<ROUTE fromNode='Brain' fromField='mood' toNode='Fade' toField='set_fraction'/>",
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>"),
         .fix = Fix::none, .how = "--inject NODE.field=VALUE plays the part of the node."},
        {.code = "cycle-interval", .severity = error, .title = "A cycle without time",
         .meaning = "A TimeSensor whose cycleInterval is not above 0. A note where it drives nothing.",
         .why = "It never runs.",
         .bad = "<TimeSensor DEF='Clock' cycleInterval='0' loop='true'/>\n"
                "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n" + drive("Fade"),
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>"),
         .fix = Fix::none, .how = "The seconds that a cycle lasts."},
        {.code = "idle-sensor", .severity = hint, .title = "A TimeSensor that waits",
         .meaning = "A TimeSensor does not run from the opening on; what it waits for is said. A note where nothing in "
                    "the scene can start it.",
         .why = "What it drives stands still until then.",
         .bad = "<TouchSensor DEF='Touch'/>\n<TimeSensor DEF='Clock'/>\n"
                "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n" + drive("Fade")
             + "<ROUTE fromNode='Touch' fromField='touchTime' toNode='Clock' toField='startTime'/>",
         .good = fading("<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>"),
         .fix = Fix::none, .how = "--start NAME starts it; loop='true' lets it run from the opening on."},
    };
    // clang-format on
    return codes;
}

CheckCode const& codeNamed(std::string_view code)
{
    auto const& codes = checkCodes();
    auto const found = std::ranges::find(codes, code, [](CheckCode const& c) { return std::string_view(c.code); });
    return found != codes.end() ? *found : codes.back();
}

std::string unknownCode(std::string_view code)
{
    DidYouMean meant(code);
    for (CheckCode const& known : checkCodes()) {
        if (code == known.code)
            return "";
        meant.offer(known.code);
    }
    return "there is no code \"" + std::string(code) + '"'
        + (meant.nearest().empty() ? " (zelvan-play check --codes lists them)" : meant.text());
}

char const* fixName(Fix fix)
{
    constexpr char const* names[] = {"none", "safe", "unsafe"};
    return names[static_cast<unsigned>(fix)];
}

} // namespace Zelvan::play
