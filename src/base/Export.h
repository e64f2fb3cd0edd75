#pragma once

/// Marks what libzelvanBase offers to other libraries; everything else stays hidden.
#define ZELVAN_BASE_API __attribute__((visibility("default")))
