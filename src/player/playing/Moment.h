#pragma once

#include <optional>
#include <string_view>

namespace Zelvan::play {

/// Seconds since 1970 of a number of them, or of an ISO 8601 date and time: "2026-11-25", "2026-11-25T14:30",
/// "2026-11-25T14:30:15.5Z", "2026-11-25 14:30+01:00"; UTC where no zone is given. Nothing when it is neither.
std::optional<double> momentOf(std::string_view text);

} // namespace Zelvan::play
