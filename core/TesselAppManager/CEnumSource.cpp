#include "CEnumSource.h"

#include <cstring>

#include "CAppManager.h"

bool CEnumSource::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    if (id == kIID_IFxBase || id == kIID_IEnum || id == kIID_IEnumSource) {
        *out = static_cast<IEnumSource*>(this);
        AddRef();
        return true;
    }
    *out = nullptr;
    return false;
}

long CEnumSource::AddRef()
{
    return ++m_refCount;
}

long CEnumSource::Release()
{
    const long count = --m_refCount;
    if (count == 0)
        delete this;
    return count;
}

FxResult CEnumSource::GetCount(long* count)
{
    if (!count)
        return kFxErrInvalidArg;
    *count = long(m_sources.size());
    return kFxOk;
}

FxResult CEnumSource::Next(CProp* record)
{
    try {
        if (!record || !record->is<CPropSource>())
            return kFxErrInvalidArg;
        if (m_cursor >= m_sources.size())
            return kFxEndOfEnum;
        const CPropSource& from = m_sources[m_cursor];
        auto& to = fxRecord<CPropSource>(*record);
        std::memset(reinterpret_cast<char*>(&to) + sizeof(CProp), 0, sizeof(CPropSource) - sizeof(CProp));
        std::memcpy(to.displayName, from.displayName, sizeof to.displayName);
        std::memcpy(to.appName, from.appName, sizeof to.appName);
        std::memcpy(to.appPath, from.appPath, sizeof to.appPath);
        std::memcpy(to.appName2, from.appName2, sizeof to.appName2);
        std::memcpy(to.pluginUID, CAppManager::m_appManagerUID, sizeof to.pluginUID);
        to.sourceKind = from.sourceKind;
        to.sourceFlags = from.sourceFlags;
        ++m_cursor;
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CEnumSource::Reset()
{
    m_cursor = 0;
    return kFxOk;
}

void CEnumSource::append(const CPropSource& source)
{
    m_sources.push_back(source);
}
