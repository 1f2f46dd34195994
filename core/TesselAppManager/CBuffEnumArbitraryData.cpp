#include "CBuffEnumArbitraryData.h"

#include <algorithm>
#include <cstring>

CBuffEnumArbitraryData::CBuffEnumArbitraryData(const void* buffer, std::size_t size)
    : m_buffer(static_cast<const unsigned char*>(buffer), static_cast<const unsigned char*>(buffer) + size)
{
}

bool CBuffEnumArbitraryData::QueryInterface(long, void**)
{
    return false;
}

long CBuffEnumArbitraryData::AddRef()
{
    return m_refCount.fetch_add(1) + 1;
}

long CBuffEnumArbitraryData::Release()
{
    const std::int32_t count = m_refCount.fetch_sub(1) - 1;
    if (count == 0)
        delete this;
    return count;
}

FxResult CBuffEnumArbitraryData::GetCount(long* count)
{
    if (count)
        *count = -1;
    return kFxOk;
}

FxResult CBuffEnumArbitraryData::Next(CProp* record)
{
    if (!record || record->size != sizeof(CPropArbitraryData))
        return kFxErrInvalidArg;
    if (m_position >= m_buffer.size())
        return kFxEndOfEnum;
    auto& chunk = fxRecord<CPropArbitraryData>(*record);
    std::size_t remaining = m_buffer.size() - m_position;
    const std::size_t n = std::min<std::size_t>(remaining, chunk.length);
    if (n > 0 && !chunk.data)
        return kFxErrNoBuffer;
    if (n > 0)
        std::memcpy(chunk.data, m_buffer.data() + m_position, n);
    m_position += n;
    remaining -= n;
    if (remaining < chunk.length)
        chunk.length = remaining;
    return kFxOk;
}

FxResult CBuffEnumArbitraryData::Reset()
{
    m_position = 0;
    return kFxOk;
}
