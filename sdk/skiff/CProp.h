// Skiff plug-in SDK: property records.
//
// Every record starts with a CProp header: a 32-bit type word at byte 0 and a
// 64-bit size word (the record's full size in bytes) at byte 8; data starts at
// byte 16. A receiver checks both words before touching anything else and
// refuses a record whose header differs. Records are plain memory: the host
// allocates them, zeroes them and passes them by reference or pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "FxTypes.h"

struct CProp {
  std::uint32_t type;
  std::uint32_t reserved;
  std::uint64_t size;

  // True when the header names the record type `T` exactly.
  template <typename T>
  bool is() const { return type == T::kType && size == sizeof(T); }
};
static_assert(sizeof(CProp) == 16);
static_assert(offsetof(CProp, type) == 0 && offsetof(CProp, size) == 8);

// Views a checked header as the record it heads. Records are standard-layout
// structs whose first member is the header, so the addresses coincide.
template <typename T>
T& fxRecord(CProp& header) { return reinterpret_cast<T&>(header); }
template <typename T>
const T& fxRecord(const CProp& header) { return reinterpret_cast<const T&>(header); }

// Starts a record of type T: all bytes zero, then the header.
template <typename T>
void fxInitRecord(T& record) {
  std::memset(static_cast<void*>(&record), 0, sizeof(T));
  record.header.type = T::kType;
  record.header.size = sizeof(T);
}

// One source as enumerated by ISourceManager::EnumSources. Skiff also uses
// it as the session record of a download, with the destination folder in
// `appPath`.
struct CPropSource {
  static constexpr std::uint32_t kType = 2;
  CProp header;
  FxChar displayName[260];
  FxChar appName[260];
  FxChar appPath[1024];
  FxChar appName2[260];
  std::int32_t sourceKind;
  std::int32_t sourceFlags;
  unsigned char pluginUID[16];
};
static_assert(sizeof(CPropSource) == 3648);
static_assert(offsetof(CPropSource, displayName) == 16);
static_assert(offsetof(CPropSource, appName) == 536);
static_assert(offsetof(CPropSource, appPath) == 1056);
static_assert(offsetof(CPropSource, appName2) == 3104);
static_assert(offsetof(CPropSource, sourceKind) == 3624);
static_assert(offsetof(CPropSource, sourceFlags) == 3628);
static_assert(offsetof(CPropSource, pluginUID) == 3632);

// One accepted file extension, as listed by IFileFormat.
struct CPropFileFormat {
  static constexpr std::uint32_t kType = 4;
  CProp header;
  FxChar extension[8]; // without the dot, lower case; not terminated when 8 units long
  std::uint32_t mediaKind; // eFileFormatKind
  std::uint32_t reserved;
};
static_assert(sizeof(CPropFileFormat) == 40);
static_assert(offsetof(CPropFileFormat, extension) == 16);
static_assert(offsetof(CPropFileFormat, mediaKind) == 32);

struct CPropSinkMediaItem;

// Deletes the item's original on the device. Returns 0 on success, 2 when the
// device is not connected or busy, anything else for other failures.
using FxDeleteOriginalFunc = int (*)(const CPropSinkMediaItem& item);

// One downloaded item as the host hands it to the sink.
struct CPropSinkMediaItem {
  static constexpr std::uint32_t kType = 3;
  static constexpr int kDeviceNotAvailable = 2;
  CProp header;
  FxChar folder[260];          // folder that holds the copied item
  FxChar fileName[260];        // the item's file name in `folder`
  FxChar destinationPath[520]; // full path of the copied item
  FxDeleteOriginalFunc deleteOriginal; // null when the original cannot be deleted
  void* hostContext;           // the host's own data for deleteOriginal
  std::uint64_t itemSize;      // bytes of the item
};
static_assert(sizeof(CPropSinkMediaItem) == 2120);
static_assert(offsetof(CPropSinkMediaItem, folder) == 16);
static_assert(offsetof(CPropSinkMediaItem, fileName) == 536);
static_assert(offsetof(CPropSinkMediaItem, destinationPath) == 1056);
static_assert(offsetof(CPropSinkMediaItem, deleteOriginal) == 2096);

// The download preferences that Skiff shows and stores through the sink.
struct CPropAppPreferences3 {
  static constexpr std::uint32_t kType = 5;
  static constexpr std::size_t kTextSize = 1024;
  CProp header;
  FxChar location[260];          // download location
  std::int32_t dontShowAgainFlags;
  std::uint8_t option1Pref;      // 2 in a fresh record
  std::uint8_t option2Pref;
  std::uint8_t option3Pref;
  std::uint8_t pad0;
  char batchRenamePreference[kTextSize];
  std::int32_t createSubfoldersComboIndex;
  std::int32_t renameFilesComboIndex;
  std::uint8_t applyMetadataGroupOpen;
  std::uint8_t customGroupOpen;
  std::uint8_t pad1[2];
  std::int32_t quickViewerMode;
  char applyMetadataAuthorName[kTextSize];
  char applyMetadataCopyright[kTextSize];
  char applyMetadataTemplateName[kTextSize];
  char mobileFolderSetting[kTextSize];
  std::int32_t renameSequenceNumber;
  std::uint8_t preserveOriginalFilename;
  std::uint8_t pad2[3];
  std::int64_t gridFilter;
  std::uint32_t backgroundColor; // ARGB
  std::uint32_t textColor;       // ARGB
  std::int32_t fixedWord1;       // 1 in a fresh record
  std::int32_t fixedWord7;       // 7 in a fresh record
  std::uint8_t reserved[168];

  // The byte texts. A setter copies at most `length` bytes, cut to leave room
  // for a terminator, and zeroes the rest of the field; a null text or a
  // length below 1 empties it. A getter returns the text up to its first zero
  // byte or the field's end, whichever comes first: the host may hand over a
  // field that fills all its bytes.
  void setBatchRenamePreference(const char* text, unsigned long length);
  std::string_view getBatchRenamePreference() const { return boundedText(batchRenamePreference); }
  void setApplyMetadataAuthorName(const char* text, int length);
  std::string_view getApplyMetadataAuthorName() const { return boundedText(applyMetadataAuthorName); }
  void setApplyMetadataCopyright(const char* text, int length);
  std::string_view getApplyMetadataCopyright() const { return boundedText(applyMetadataCopyright); }
  void setApplyMetadataTemplateName(const char* text, int length);
  std::string_view getApplyMetadataTemplateName() const { return boundedText(applyMetadataTemplateName); }
  void SetMobileFolderSetting(const char* text, int length);
  std::string_view GetMobileFolderSetting() const { return boundedText(mobileFolderSetting); }

  // A fresh record: zeroed, the first option flag 2, the fixed words 1 and
  // 7, the panel's light grey background and dark grey text.
  static void initFresh(CPropAppPreferences3& record);

 private:
  static std::string_view boundedText(const char (&field)[kTextSize]) {
    return std::string_view(field, ::strnlen(field, kTextSize));
  }
};
static_assert(sizeof(CPropAppPreferences3) == 5880);
static_assert(offsetof(CPropAppPreferences3, location) == 16);
static_assert(offsetof(CPropAppPreferences3, batchRenamePreference) == 544);
static_assert(offsetof(CPropAppPreferences3, gridFilter) == 5688);
static_assert(offsetof(CPropAppPreferences3, backgroundColor) == 5696);

// One chunk of an IEnumArbitraryData stream. The caller sets `data` and the
// number of bytes it wants in `length`; Next copies at most that many and
// then lowers `length` to what remains in the stream when that is less.
struct CPropArbitraryData {
  static constexpr std::uint32_t kType = 6;
  CProp header;
  void* data;
  std::uint64_t length;
};
static_assert(sizeof(CPropArbitraryData) == 32);
