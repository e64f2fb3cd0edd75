#include "interpolationNodePool/KernelsBody.inl"

namespace Zelvan {

Kernels const Kernels::avx512 = kernels<Avx512>("avx512");

} // namespace Zelvan
