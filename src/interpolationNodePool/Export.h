#pragma once

/// Marks what libzelvanInterpolationNodePool offers to other libraries; everything else stays hidden.
#define ZELVAN_INTERPOLATION_API __attribute__((visibility("default")))
