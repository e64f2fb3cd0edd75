#pragma once

#include "player/Scene.h"

#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Zelvan::play {

/// One thing that is wrong, or worth knowing, about a scene's animation.
struct Finding {
    Severity severity;
    std::string code;    ///< stable, e.g. "key-order"
    Place place;
    std::string node;    ///< name of the scene's node; "" when it is none
    std::string message; ///< what is wrong
    std::string advice;  ///< what to do
};

/// A code with its usual severity, its meaning and an example; the list is the documentation's source.
struct CheckCode {
    char const* code;
    Severity severity;
    char const* meaning;
    char const* example; ///< X3D that triggers it
};
std::vector<CheckCode> const& checkCodes();

struct CheckOptions {
    std::set<std::string> only, ignore;
    std::map<std::string, Severity> severities;
    unsigned perNode = 3; ///< findings shown in text per code and node; the rest is counted
};

/// Examines a scene that has been read and not run. `readerFindings` are what reading it reported.
std::vector<Finding> checkScene(Scene& scene, std::vector<Finding> readerFindings, CheckOptions const& options);
void writeFindings(std::ostream& out, std::vector<Finding> const& findings, CheckOptions const& options);
void writeFindingsJson(std::ostream& out, std::vector<Finding> const& findings);

} // namespace Zelvan::play
