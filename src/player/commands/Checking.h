#pragma once

#include "player/checking/Check.h"
#include "player/commands/Commands.h"
#include "player/commands/Settings.h"

#include <map>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Zelvan::play {

/// What reading a scene reports, as findings; of many of a kind the first ones, with how many more there are.
class ReaderFindings {
public:
    /// Also hands each message on to `shown` where that is not null.
    explicit ReaderFindings(Diagnostics* shown = nullptr);
    Diagnostics& diagnostics() { return _diagnostics; }
    void add(Finding finding);
    std::vector<Finding> take() { return std::move(_findings); }

private:
    Diagnostics _diagnostics;
    std::vector<Finding> _findings;
    std::map<std::string, std::pair<std::size_t, std::size_t>, std::less<>> _kinds; ///< how many, and where the last one is
    std::unordered_set<std::string> _told;
};

/// What there is to say about a file, sorted, with what its comments ask to ignore left out.
struct CheckedFile {
    std::vector<Finding> findings;
    std::vector<std::string> files; ///< that the scene was read from
    bool failed = false;            ///< the machine was at fault: it could not be read at all
};
CheckedFile checkFile(Session const& session, std::string const& file, ReadLimits const& limits, CheckOptions const& options);
/// What is wrong, and what to do.
std::string textOf(Finding const& finding);
/// The finding that a file could not be checked.
Finding notChecked(std::string const& file, std::string const& why);

} // namespace Zelvan::play
