#include "SoVector.h"

#include <cstring>
#include <new>

namespace ScObjects {

SoVectorBase::~SoVectorBase()
{
    freeHeap(m_elements);
}

void SoVectorBase::append(void* element)
{
    if (m_count == m_capacity) {
        const long capacity = m_count + kGrowStep;
        void** elements = static_cast<void**>(mallocHeap(sizeof(void*) * std::size_t(capacity)));
        if (!elements)
            throw std::bad_alloc();
        if (m_count)
            std::memcpy(elements, m_elements, sizeof(void*) * std::size_t(m_count));
        freeHeap(m_elements);
        m_elements = elements;
        m_capacity = capacity;
    }
    m_elements[m_count++] = element;
}

void SoVectorBase::remove(void* element)
{
    for (long i = 0; i < m_count; ++i) {
        if (m_elements[i] == element) {
            removeAt(i);
            return;
        }
    }
}

void* SoVectorBase::removeAt(long index)
{
    if (index < 0 || index >= m_count)
        return nullptr;
    void* element = m_elements[index];
    std::memmove(m_elements + index, m_elements + index + 1, sizeof(void*) * std::size_t(m_count - index - 1));
    --m_count;
    return element;
}

void* SoVectorBase::at(long index) const
{
    return index >= 0 && index < m_count ? m_elements[index] : nullptr;
}

} // namespace ScObjects
