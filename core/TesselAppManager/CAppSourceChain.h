// The source object's face for Tessel's sink-chain extension. It lives
// inside the source object and shares its reference count: QueryInterface,
// AddRef and Release go to the owner.
#pragma once

#include <skiff/SinkChain.h>

class CAppSource;

class CAppSourceChain final : public ISkiffSinkChain {
public:
    explicit CAppSourceChain(CAppSource& owner) : m_owner(owner) {}
    CAppSourceChain(const CAppSourceChain&) = delete;
    CAppSourceChain& operator=(const CAppSourceChain&) = delete;

    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    long Release() override;
    FxResult SetNextSink(ISkiffPostProcessing* next) override;

private:
    CAppSource& m_owner;
};
