// Vector of pointers; SoVector<T> owns its elements.
//
// When the count reaches the capacity the array grows by exactly 32
// elements; a fresh vector has no array. Removal keeps the order of the
// remaining elements and never deletes. Not thread-safe: the owning
// object's ObjectLock guards it.
#pragma once

#include "SoHeap.h"

namespace ScObjects {

class SoVectorBase : public SoHeap {
public:
    static constexpr long kGrowStep = 32;

    SoVectorBase() = default;
    SoVectorBase(const SoVectorBase&) = delete;
    SoVectorBase& operator=(const SoVectorBase&) = delete;
    // Frees the array only; SoVector deletes the elements.
    ~SoVectorBase();

    // Throws std::bad_alloc when the array cannot grow; nothing changes then.
    void append(void* element);
    // Removes the first element equal by pointer; absent pointers do nothing.
    void remove(void* element);
    // The removed pointer, or null when index is negative or >= count.
    void* removeAt(long index);
    // The element at index, or null when out of range.
    void* at(long index) const;

    long count() const { return m_count; }
    long capacity() const { return m_capacity; }
    bool isEmpty() const { return m_count == 0; }

private:
    void** m_elements = nullptr;
    long m_count = 0;
    long m_capacity = 0;
};

template <typename T>
class SoVector : public SoVectorBase {
public:
    SoVector() = default;
    ~SoVector()
    {
        for (long i = 0; i < count(); ++i)
            delete static_cast<T*>(SoVectorBase::at(i));
    }

    void append(T* element) { SoVectorBase::append(element); }
    void remove(T* element) { SoVectorBase::remove(element); }
    T* removeAt(long index) { return static_cast<T*>(SoVectorBase::removeAt(index)); }
    T* at(long index) const { return static_cast<T*>(SoVectorBase::at(index)); }
    T* operator[](long index) const { return at(index); }
};

} // namespace ScObjects
