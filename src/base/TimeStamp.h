#pragma once

namespace Zelvan {

/// The time of an event, in seconds.
using TimeStamp = double;

} // namespace Zelvan
