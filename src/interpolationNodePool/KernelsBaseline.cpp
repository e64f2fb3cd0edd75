#include "interpolationNodePool/KernelsBody.inl"

namespace Zelvan {

Kernels const Kernels::baseline = kernels<Sse2>("baseline");

} // namespace Zelvan
