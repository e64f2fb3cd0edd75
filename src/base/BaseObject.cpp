#include "base/BaseObject.h"

namespace Zelvan {

unsigned BaseObject::_objCount = 0;

RefCountObject::~RefCountObject() = default;

void RefCountObject::shutdown() const {}

void RefCountObject::unref() const
{
    if (--_refCount == 0) {
        shutdown();
        delete this;
    }
}

} // namespace Zelvan
