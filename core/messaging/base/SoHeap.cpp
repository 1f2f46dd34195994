#include "SoHeap.h"

#include <cstdlib>
#include <new>

namespace ScObjects {

void* SoHeap::operator new(std::size_t size)
{
    void* ptr = mallocHeap(size);
    if (!ptr)
        throw std::bad_alloc();
    return ptr;
}

void SoHeap::operator delete(void* ptr) noexcept
{
    freeHeap(ptr);
}

void* SoHeap::mallocHeap(std::size_t size) noexcept
{
    return std::malloc(size);
}

void SoHeap::freeHeap(void* ptr) noexcept
{
    std::free(ptr);
}

} // namespace ScObjects
