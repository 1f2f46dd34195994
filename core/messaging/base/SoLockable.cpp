#include "SoLockable.h"

namespace ScObjects {

SoLockable::SoLockable()
    : m_lock(new SoLock)
{
}

SoLockable::SoLockable(const SoLockable&)
    : SoHeap()
    , m_lock(new SoLock)
{
}

SoLockable::~SoLockable()
{
    delete m_lock;
}

} // namespace ScObjects
