// Enumerator of the sources a manager offers; the manager fills it, the host
// walks it with Next and Reset and releases it.
#pragma once

#include <vector>

#include <skiff/SourceInterfaces.h>

class CEnumSource final : public IEnumSource {
public:
    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    long Release() override;

    FxResult GetCount(long* count) override;
    // Copies the record at the cursor into a zeroed CPropSource and advances.
    FxResult Next(CProp* record) override;
    FxResult Reset() override;

    void append(const CPropSource& source);

private:
    std::vector<CPropSource> m_sources;
    std::size_t m_cursor = 0;
    long m_refCount = 0;
};
