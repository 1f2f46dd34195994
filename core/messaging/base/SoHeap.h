// Allocation base of the messaging types.
//
// Every object of the family and every buffer it owns comes from
// mallocHeap/freeHeap, so one allocator can be swapped in for all of them.
#pragma once

#include <cstddef>

namespace ScObjects {

class SoHeap {
public:
    // Throws std::bad_alloc when the memory cannot be had.
    static void* operator new(std::size_t size);
    static void operator delete(void* ptr) noexcept;

    // Plain malloc and free; mallocHeap returns null on failure.
    static void* mallocHeap(std::size_t size) noexcept;
    static void freeHeap(void* ptr) noexcept;
};

} // namespace ScObjects
