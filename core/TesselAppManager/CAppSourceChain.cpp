#include "CAppSourceChain.h"

#include "CAppSource.h"

bool CAppSourceChain::QueryInterface(long id, void** out)
{
    return m_owner.QueryInterface(id, out);
}

long CAppSourceChain::AddRef()
{
    return m_owner.AddRef();
}

long CAppSourceChain::Release()
{
    return m_owner.Release();
}

FxResult CAppSourceChain::SetNextSink(ISkiffPostProcessing* next)
{
    return m_owner.setNextSink(next);
}
