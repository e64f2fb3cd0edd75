#pragma once

/// Marks what libzelvanCoreNodePool offers to other libraries; everything else stays hidden.
#define ZELVAN_CORE_API __attribute__((visibility("default")))
