#include "interpolationNodePool/KernelsBody.inl"

namespace Zelvan {

Kernels const Kernels::avx2 = kernels<Avx2>("avx2");

} // namespace Zelvan
