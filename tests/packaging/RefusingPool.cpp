// Looks like a node pool to the dynamic linker, and says that it is not ready.
namespace Zelvan {

__attribute__((visibility("default"))) bool initInterpolationNodePool();
bool initInterpolationNodePool()
{
#ifdef THROWING
    throw "nothing is ready";
#endif
    return false;
}

} // namespace Zelvan
