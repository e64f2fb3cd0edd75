#pragma once

#include "player/scene/Scene.h"

#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

/// Whether `check --fix` can mend something. Safe: what is played stays the same bit for bit.
enum class Fix : unsigned char { none, safe, unsafe };
char const* fixName(Fix fix);

/// A piece of an author's text, and what is to stand there instead.
struct TextChange {
    struct Point {
        unsigned line = 0, column = 0; ///< from 1, as of a Place
    };
    std::string file;
    Point begin, end; ///< the same where text is put in between
    std::string with;
};

/// One thing that is wrong, or worth knowing, about a scene's animation.
struct Finding {
    Severity severity;
    std::string code;    ///< stable, e.g. "key-order"
    Place place;         ///< of the attribute that it is about, where there is one
    std::string node;    ///< name of the scene's node; "" for what reading the file reported
    std::string message; ///< what is wrong; elements of lists count from 0
    std::string advice;  ///< what to do; "" when the message says it
    /// How many more of this code there are at this node: counted, not kept.
    std::size_t more = 0;
    Fix fix = Fix::none; ///< whether this one can be mended; known once fixes have been proposed
    /// What mends it, and all else of its code at its node: that is one fix, which the first of them has.
    std::vector<TextChange> changes = {};
    std::optional<std::size_t> key = {}; ///< of an interpolator: which one it is about, or begins at
    bool mendable = true;                ///< false: the fix of its code does not apply to this one
    /// The node itself, as long as its scene is there: others may have its name. Null for what reading reported.
    SceneNode const* subject = nullptr;
};

/// All there is to know about a code. The table is the source of docs/check-codes.md and of all help on codes.
struct CheckCode {
    char const* code;    ///< stable
    Severity severity;   ///< usual one; a rule may report what does less harm below it
    char const* title;   ///< in a few words, without a full stop
    char const* meaning; ///< when it is reported
    char const* why;     ///< why it matters
    std::string bad,
        good; ///< content of a Scene element that triggers it, and that does not; of "bad-xml" whole files, or none
    Fix fix;
    char const* how; ///< what the fix does, and to which part; without one, what a person can do
};
std::vector<CheckCode> const& checkCodes();
/// The last one when there is none of that name.
CheckCode const& codeNamed(std::string_view code);
/// That there is no such code, with the one that may be meant; "" when there is.
std::string unknownCode(std::string_view code);
/// The table as Markdown: docs/check-codes.md.
void writeCodesMarkdown(std::ostream& out);

struct CheckOptions {
    std::set<std::string> only, ignore; ///< codes; an empty `only` takes all
    std::map<std::string, Severity> severities;
    bool hints = false;    ///< also what is below a note
    unsigned perNode = 3;  ///< findings kept per code and node, the rest is counted; 0 keeps all
    unsigned perCode = 50; ///< findings written as text per code; 0 writes all
};

/// Examines a scene that has been read and not run; opens it. `readerFindings` are what reading it reported.
/// The findings that the options let through, by file, line and column.
std::vector<Finding> checkScene(Scene& scene, std::vector<Finding> readerFindings, CheckOptions const& options);
/// Findings without a scene: it could not be read.
std::vector<Finding> checkUnread(std::vector<Finding> readerFindings, CheckOptions const& options);

} // namespace Zelvan::play
