// The items of a finished download as the host hands them to the sink, and
// the function through which the sink deletes an item's original.
#pragma once

#include <QString>

#include <vector>

#include <skiff/Skiff.h>

#include "CopyVerify.h"

// One item that was copied and verified.
struct DownloadedItem {
    QString sourcePath;      // the original on the card
    QString cardRoot;        // the card folder; its absence means the card is gone
    QString destinationPath; // the verified copy
    FileDigest digest;       // of the bytes copied
    bool deleted = false;    // set by deleteVerifiedOriginal
    QString keptBecause;     // why deleteVerifiedOriginal refused, when it did
};

// The delete function of every item record: `item.hostContext` is the
// DownloadedItem. Removes the original only when the copy, read back now,
// and the original, read again, both still match the digest taken at copy
// time. Returns 0 when deleted, CPropSinkMediaItem::kDeviceNotAvailable when
// the card is gone, 1 for every other refusal (the reason in keptBecause).
int deleteVerifiedOriginal(const CPropSinkMediaItem& item);

class MediaEnumerator final : public ISinkEnumMediaItem {
public:
    // `items` is borrowed and must neither move nor grow while the
    // enumerator lives. Created with a count of 1, owned by the creator.
    MediaEnumerator(const QString& destinationFolder, std::vector<DownloadedItem>& items);
    MediaEnumerator(const MediaEnumerator&) = delete;
    MediaEnumerator& operator=(const MediaEnumerator&) = delete;

    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    long Release() override;

    FxResult GetSessionRecord(CProp& record) override;
    FxResult GetCount(unsigned long& count) override;
    FxResult Reset() override;
    FxResult Next(CProp& record) override;

private:
    ~MediaEnumerator() = default;

    QString m_destinationFolder;
    std::vector<DownloadedItem>& m_items;
    std::size_t m_cursor = 0;
    long m_count = 1;
};

// Fills `record` for `item`: folder, name and path of the copy, its size,
// and deleteVerifiedOriginal with the item as its context.
void fillItemRecord(CPropSinkMediaItem& record, DownloadedItem& item);

// Copies `text` into a fixed field of `size` units, cut to leave room for
// the terminator.
void toFxField(FxChar* field, std::size_t size, const QString& text);
