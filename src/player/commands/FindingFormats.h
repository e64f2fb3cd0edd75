#pragma once

#include "player/checking/Check.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

struct FindingCounts {
    std::size_t errors = 0, warnings = 0, notes = 0, hints = 0;
    std::size_t fixable = 0, unsafe = 0; ///< by `check --fix`, and of these with --unsafe-fixes only
    std::size_t files = 0;
    // All but the files.
    static constexpr std::size_t FindingCounts::*sums[] = {&FindingCounts::errors,  &FindingCounts::warnings,
                                                           &FindingCounts::notes,   &FindingCounts::hints,
                                                           &FindingCounts::fixable, &FindingCounts::unsafe};
};
FindingCounts countsOf(std::vector<Finding> const& findings);
/// "1 error, 2 warnings, 3 notes"; hints, and how many `check --fix` can mend, where there are any.
std::string countsText(FindingCounts const& counts);

/// A way to write findings. What belongs to one file is made in the process that has checked it; beginning, end and what
/// stands between belong to the whole.
class FindingFormat {
public:
    virtual ~FindingFormat() = default;
    virtual void begin(std::ostream&) const {}
    /// The findings of one file; "" for none.
    virtual std::string file(std::vector<Finding> const& findings, CheckOptions const& options) const = 0;
    /// What separates two texts that are not empty.
    virtual std::string_view separator() const { return ""; }
    virtual void end(std::ostream&, FindingCounts const&) const {}
};

/// "text", "json", "sarif" or "github". `styled`: text in colours, with the source's line and a mark under the place.
std::unique_ptr<FindingFormat> findingFormat(std::string const& name, bool styled);

} // namespace Zelvan::play
