// Hands a byte buffer to the host in chunks (CPropArbitraryData). The object
// keeps its own copy of the bytes; its count is atomic, so the host may
// release it from any thread.
#pragma once

#include <atomic>
#include <vector>

#include <skiff/SourceInterfaces.h>

class CBuffEnumArbitraryData final : public IEnumArbitraryData {
public:
    // Copies `size` bytes of `buffer`; the object starts with a count of 0.
    CBuffEnumArbitraryData(const void* buffer, std::size_t size);

    // Answers kFxOk (false) and yields nothing: the object is only ever
    // reached through the pointer its creator hands out.
    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    long Release() override;

    // Always -1: the number of chunks depends on the caller's chunk size.
    FxResult GetCount(long* count) override;
    FxResult Next(CProp* record) override;
    FxResult Reset() override;

private:
    std::vector<unsigned char> m_buffer;
    std::size_t m_position = 0;
    std::atomic<std::int32_t> m_refCount{0};
};
