#include "player/checking/Check.h"

namespace Zelvan::play {

// A name stays what it is once it has been out: scripts wait for it.
std::vector<CheckCode> const& checkCodes()
{
    constexpr Severity note = Severity::note, warning = Severity::warning, error = Severity::error;
    static std::vector<CheckCode> const codes = {
        // The file.
        {"bad-xml", error,
         "The file could not be read as a scene: it is not X3D, or larger than the limits allow.",
         "<X3D><Scene><Transform></Scene></X3D>"},
        {"bad-value", error, "A value that does not fit its field. The field keeps its default.",
         "<PositionInterpolator DEF='Path' key='0 1' keyValue='0 0 0 1 2'/>"},
        {"unknown-attribute", warning, "The node has no such field, or none that a file can set.",
         "<PositionInterpolator DEF='Path' keys='0 1'/>"},
        {"bad-route", warning, "A ROUTE between nodes or fields that do not exist or do not fit.",
         "<TimeSensor DEF='Clock'/>\n"
         "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Pth' toField='set_fraction'/>"},
        {"duplicate-def", warning, "Two nodes with one DEF name. ROUTEs lead to the last one.",
         "<Transform DEF='Box'/>\n"
         "<Transform DEF='Box'/>"},
        {"unknown-use", warning, "A USE of a name that no node before it has.", "<Transform USE='Box'/>"},
        {"bad-proto", warning, "A PROTO that cannot be found or expanded as it is used.",
         "<ProtoInstance name='Door'/>"},
        {"bad-inline", warning, "An Inline or IMPORT whose file or node cannot be read.",
         "<Inline url='\"missing.x3d\"'/>"},
        // Keys, and how many values there are.
        {"no-keys", error, "An interpolator without keys. It never sends a value.",
         "<ScalarInterpolator keyValue='0 1'/>"},
        {"no-values", error, "An interpolator without values. It never sends one.",
         "<ScalarInterpolator key='0 1'/>"},
        {"too-few-values", error,
         "Fewer values than keys. Keys without a value do not count, and the animation ends early. An "
         "EaseInEaseOut needs a pair for each key, also for the last one.",
         "<ScalarInterpolator key='0 0.5 1' keyValue='0 1'/>"},
        {"too-many-values", warning, "More values than keys. Values without a key do not count.",
         "<ScalarInterpolator key='0 1' keyValue='0 1 2'/>"},
        {"uneven-blocks", error, "The number of values is not a multiple of the number of keys.",
         "<CoordinateInterpolator key='0 1' keyValue='0 0 0 1 0 0 2 0 0'/>"},
        {"one-key", note, "An interpolator with one key. It always sends the same value.",
         "<ScalarInterpolator key='0' keyValue='1'/>"},
        {"key-order", error, "A key below the one before it. Fractions around it give no value or a wrong one.",
         "<ScalarInterpolator key='0 0.8 0.5 1' keyValue='0 1 2 3'/>"},
        {"key-equal", note, "Two equal keys. The value jumps there, which is the usual way to write a step.",
         "<ScalarInterpolator key='0 0.5 0.5 1' keyValue='0 0 1 1'/>"},
        {"key-range", warning, "A key outside 0 to 1, in an interpolator that nothing but TimeSensors drive.",
         "<ScalarInterpolator key='0 50 100' keyValue='0 1 0'/>"},
        {"key-span", note, "Keys that begin after 0 or end before 1. The first or the last value holds there.",
         "<ScalarInterpolator key='0.2 0.8' keyValue='0 1'/>"},
        {"not-finite", error, "A key or a value that is infinite or not a number.",
         "<ScalarInterpolator key='0 1' keyValue='0 nan'/>"},
        // Values.
        {"zero-axis", warning,
         "A rotation about no axis. It plays as no rotation at all; a note when its angle is 0 too.",
         "<OrientationInterpolator key='0 1' keyValue='0 1 0 0 0 0 0 1.57'/>"},
        {"long-turn", warning,
         "A step of more than half a turn between two keys with one axis. The shorter arc is played: another "
         "way than the angles say, or no turn at all. Steps over the end of the circle that only continue "
         "what their neighbours do are left alone.",
         "<OrientationInterpolator key='0 1' keyValue='0 1 0 0 0 1 0 6.2832'/>"},
        {"half-turn", note,
         "A step of half a turn. Rounding decides which way it goes, here and in other players.",
         "<OrientationInterpolator key='0 1' keyValue='0 1 0 0 0 1 0 3.14159'/>"},
        {"color-range", warning, "A colour with a component outside 0 to 1.",
         "<ColorInterpolator key='0 1' keyValue='255 0 0 0 0 0'/>"},
        {"hue-long-way", warning,
         "Two colours whose hues lie more than 180 degrees apart. The hue runs straight from one number to "
         "the other, the long way round the circle.",
         "<ColorInterpolator key='0 1' keyValue='0 0 1 1 0 0'/>"},
        {"grey-hue", note,
         "Grey and black have hue 0, red. From there to another colour the hue runs through all between them.",
         "<ColorInterpolator key='0 1' keyValue='0 0 0 0 0 1'/>"},
        {"zero-normal", warning, "A normal of length 0.",
         "<NormalInterpolator key='0 1' keyValue='0 0 1 0 0 0'/>"},
        {"opposite-normals", warning, "A normal that turns into its opposite. Half way it is zero.",
         "<NormalInterpolator key='0 1' keyValue='0 0 1 0 0 -1'/>"},
        {"matrix-mirrored", error,
         "A mirroring matrix. It has no real logarithm, and so no blend in mode 'matrix'. In mode 'component' "
         "a warning, where the matrix next to it does not mirror.",
         "<TransformationInterpolator key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 -1 0 0 0 0 1 0 0 0 "
         "0 1 0 0 0 0 1'/>"},
        {"matrix-no-log", error,
         "A matrix without a real logarithm, in mode 'matrix'. The values around it are no numbers.",
         "<TransformationInterpolator key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1 0 0 0 0 1 0 0 0 0 "
         "0 0 0 0 0 1'/>"},
        {"matrix-projective", warning,
         "A matrix with a projective part. Often it was written row by row; a translation is the 13th to 15th "
         "number.",
         "<TransformationInterpolator key='0 1' keyValue='1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1 0 0 5 0 1 0 0 0 0 "
         "1 0 0 0 0 1'/>"},
        {"matrix-long-turn", warning,
         "Two rotations whose logarithms are more than half a turn apart, in mode 'matrix'.",
         "<TransformationInterpolator key='0 1' keyValue='-0.98 0.17 0 0 -0.17 -0.98 0 0 0 0 1 0 0 0 0 1 "
         "-0.98 -0.17 0 0 0.17 -0.98 0 0 0 0 1 0 0 0 0 1'/>"},
        {"matrix-rough", warning,
         "A rotation written with so few decimals that their rounding stretches it visibly: it bends the way to "
         "the next key by more than 1 %.",
         "<TransformationInterpolator mode='component' key='0 1' keyValue='0.79 0.17 0.59 0 -0.59 0.47 0.65 0 "
         "-0.17 -0.87 0.47 0 0 0 0 1 2.362 0.504 1.779 0 -0.593 0.469 0.655 0 -0.168 -0.867 0.469 0 0 0 0 1'/>"},
        {"ease-range", warning, "An ease share outside 0 to 1.",
         "<EaseInEaseOut key='0 1' easeInEaseOut='0 2 1 0'/>"},
        {"no-effect", note, "The closed and normalizeVelocity fields of splines change nothing.",
         "<SplineScalarInterpolator closed='true' key='0 1' keyValue='0 0'/>"},
        // Where a loop begins again.
        {"loop-jump", note, "The last value is not the first one, and the TimeSensor loops: the value jumps.",
         "<TimeSensor DEF='Clock' loop='true'/>\n"
         "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n"
         "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/>"},
        {"loop-kink", note,
         "The values meet where the TimeSensor loops, but the speed changes there, and nowhere else as much.",
         "<TimeSensor DEF='Clock' loop='true'/>\n"
         "<ScalarInterpolator DEF='Hop' key='0 0.2 0.4 0.6 0.8 1' keyValue='0 8 12 12 8 0'/>\n"
         "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Hop' toField='set_fraction'/>"},
        // Where events come from and go to.
        {"undriven", warning, "No ROUTE leads to the set_fraction of an interpolator.",
         "<ScalarInterpolator key='0 1' keyValue='0 1'/>"},
        {"unrouted", warning, "An interpolator is driven, but no ROUTE takes its output anywhere.",
         "<TimeSensor DEF='Clock'/>\n"
         "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n"
         "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/>"},
        {"route-loop", warning,
         "ROUTEs that lead an interpolator's output back to it. The event is dropped there.",
         "<ScalarInterpolator DEF='A' key='0 1' keyValue='0 1'/>\n"
         "<ScalarInterpolator DEF='B' key='0 1' keyValue='0 1'/>\n"
         "<ROUTE fromNode='A' fromField='value_changed' toNode='B' toField='set_fraction'/>\n"
         "<ROUTE fromNode='B' fromField='value_changed' toNode='A' toField='set_fraction'/>"},
        {"foreign-driver", note,
         "An interpolator depends on a node that zelvan-play does not run: a Script, a sensor, an unread "
         "PROTO.",
         "<Script DEF='Brain'><field accessType='outputOnly' type='SFFloat' name='mood'/></Script>\n"
         "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n"
         "<ROUTE fromNode='Brain' fromField='mood' toNode='Fade' toField='set_fraction'/>"},
        {"cycle-interval", error, "A TimeSensor whose cycleInterval is not above 0. It never runs.",
         "<TimeSensor cycleInterval='0'/>"},
        {"idle-sensor", note, "A TimeSensor that does not run from the opening on, with what it waits for.",
         "<TimeSensor DEF='Clock'/>\n"
         "<ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/>\n"
         "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/>"},
    };
    return codes;
}

} // namespace Zelvan::play
