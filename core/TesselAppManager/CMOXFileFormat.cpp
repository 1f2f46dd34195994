#include "CMOXFileFormat.h"

#include <algorithm>
#include <cstring>

namespace {

bool sameFormat(const CPropFileFormat& a, const CPropFileFormat& b)
{
    return a.header.type == b.header.type && a.mediaKind == b.mediaKind &&
           std::memcmp(a.extension, b.extension, sizeof a.extension) == 0;
}

} // namespace

bool CMOXFileFormat::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    if (id == kIID_IFxBase || id == kIID_IEnum || id == kIID_IFileFormat) {
        *out = static_cast<IFileFormat*>(this);
        AddRef();
        return true;
    }
    *out = nullptr;
    return false;
}

long CMOXFileFormat::AddRef()
{
    return m_refCount.fetch_add(1) + 1;
}

long CMOXFileFormat::Release()
{
    const long count = m_refCount.fetch_sub(1) - 1;
    if (count == 0)
        delete this;
    return count;
}

FxResult CMOXFileFormat::Reset()
{
    m_cursor = 0;
    return kFxOk;
}

FxResult CMOXFileFormat::GetFormatCount(unsigned long& count)
{
    count = m_formats.size();
    return kFxOk;
}

FxResult CMOXFileFormat::ClearFormatList()
{
    m_formats.clear();
    return kFxOk;
}

FxResult CMOXFileFormat::SetFormat(CPropFileFormat& record)
{
    if (!record.header.is<CPropFileFormat>())
        return kFxErrInvalidArg;
    try {
        const bool held = std::any_of(m_formats.begin(), m_formats.end(),
                                      [&](const CPropFileFormat& f) { return sameFormat(f, record); });
        // The host's code for a duplicate.
        if (held)
            return kFxErrNoBuffer;
        m_formats.push_back(record);
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CMOXFileFormat::GetFormat(CPropFileFormat& record)
{
    if (!record.header.is<CPropFileFormat>())
        return kFxErrInvalidArg;
    if (m_cursor >= m_formats.size())
        return kFxEndOfEnum;
    const CPropFileFormat& held = m_formats[m_cursor++];
    std::memcpy(record.extension, held.extension, sizeof record.extension);
    record.mediaKind = held.mediaKind;
    return kFxOk;
}

FxResult CMOXFileFormat::SetMultipleFormat(CPropFileFormat*& records, unsigned long count, unsigned long& done)
{
    if (count == 0)
        return kFxErrInvalidArg;
    try {
        done = 0;
        for (unsigned long i = 0; i < count; ++i)
            done += SetFormat(records[i]) == kFxOk;
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CMOXFileFormat::GetMultipleFormat(CPropFileFormat*& records, unsigned long count, unsigned long& done)
{
    if (count == 0)
        return kFxErrInvalidArg;
    done = 0;
    for (unsigned long i = 0; i < count; ++i)
        done += GetFormat(records[done]) == kFxOk;
    return kFxOk;
}
