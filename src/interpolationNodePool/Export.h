#pragma once

/// Marks what libzelvanInterpolationNodePool offers to other libraries; everything else stays hidden.
#define ZELVAN_INTERPOLATION_API __attribute__((visibility("default")))
/// Marks, in a class that is offered, a member function that only the library itself calls.
#define ZELVAN_INTERPOLATION_LOCAL __attribute__((visibility("hidden")))
