#include "CAppMediaHandler.h"

bool CAppMediaHandler::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    if (id == kIID_IFxBase || id == kIID_ISinkMediaHandler) {
        *out = static_cast<ISinkMediaHandler*>(this);
        AddRef();
        return true;
    }
    *out = nullptr;
    return false;
}

long CAppMediaHandler::AddRef()
{
    return long(++m_refCount);
}

long CAppMediaHandler::Release()
{
    const long count = long(--m_refCount);
    if (count == 0)
        delete this;
    return count;
}

FxResult CAppMediaHandler::GetThumbnailSize(unsigned long&)
{
    return kFxErrNotImplemented;
}

FxResult CAppMediaHandler::GetThumbnailData(const FxChar*, unsigned char*&, unsigned long)
{
    return kFxErrNotSupported;
}
