// The list of file formats that the sink accepts, one CPropFileFormat per
// extension, as handed to the host by GetSupportedFileFormatList.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include <skiff/SourceInterfaces.h>

class CMOXFileFormat final : public IFileFormat {
public:
    // Starts with a count of 1, owned by the creator.
    CMOXFileFormat() = default;
    CMOXFileFormat(const CMOXFileFormat&) = delete;
    CMOXFileFormat& operator=(const CMOXFileFormat&) = delete;

    // Answers 0, 8 and 12 with the object itself.
    bool QueryInterface(long id, void** out) override;
    // The count changes atomically; the host may release from any thread.
    long AddRef() override;
    long Release() override;

    FxResult Reset() override;
    FxResult GetFormatCount(unsigned long& count) override;
    // Removes every record; the cursor stays where it was.
    FxResult ClearFormatList() override;
    // kFxErrInvalidArg unless type 4 and size 40; kFxErrNoBuffer for a record
    // already held (same type, extension and kind).
    FxResult SetFormat(CPropFileFormat& record) override;
    // Copies extension and kind at the cursor and advances; kFxEndOfEnum at the end.
    FxResult GetFormat(CPropFileFormat& record) override;
    // Offers each of `count` records to SetFormat; `done` counts those taken.
    FxResult SetMultipleFormat(CPropFileFormat*& records, unsigned long count, unsigned long& done) override;
    // Reads up to `count` records into consecutive slots; `done` counts them.
    FxResult GetMultipleFormat(CPropFileFormat*& records, unsigned long count, unsigned long& done) override;

private:
    ~CMOXFileFormat() = default;

    std::atomic<std::int32_t> m_refCount{1};
    std::vector<CPropFileFormat> m_formats;
    std::size_t m_cursor = 0;
};
