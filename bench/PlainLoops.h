#pragma once

#include "interpolationNodePool/Kernels.h"

#include <span>

/// What the kernels are measured against: the same work as plain loops, left to the compiler to vectorise for each
/// instruction set. In the order of Kernels::supported(), as many of them.
std::span<Zelvan::Kernels const* const> plainLoops();

/// Those for the set of kernels in use.
Zelvan::Kernels const& activePlainLoops();
