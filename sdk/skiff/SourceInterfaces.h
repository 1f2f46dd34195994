// Skiff plug-in SDK: the plug-in, its source manager and enumerators.
//
// Operations are listed in slot order; the order is part of the binary
// interface and must not change.
#pragma once

#include "CProp.h"
#include "FxBase.h"

class ICallbackInterface;
class IEnumMediaItem;
class IFileFormat;

class IFxPlugin : public IFxBase {
 public:
  // Copies the plug-in's name into buf, at most min(size, 260) units. Nothing
  // happens when buf is null.
  virtual void GetPluginName(FxChar* buf, unsigned int size) = 0;
  virtual int GetPluginType() = 0;
  // The plug-in's 16-byte identifier, the one stamped into every CPropSource.
  virtual void GetPluginUID(unsigned char (&uid)[16]) = 0;
  virtual void OnLoad() = 0;
  virtual void OnUnload() = 0;

 protected:
  ~IFxPlugin() = default;
};

class IEnum : public IFxBase {
 public:
  // Number of elements, or -1 when unknown.
  virtual FxResult GetCount(long* count) = 0;
  // Copies the next element into *record (whose header must match) and
  // advances; kFxEndOfEnum after the last.
  virtual FxResult Next(CProp* record) = 0;
  // Back to the first element.
  virtual FxResult Reset() = 0;

 protected:
  ~IEnum() = default;
};

// Enumerates CPropSource records.
class IEnumSource : public IEnum {
 protected:
  ~IEnumSource() = default;
};

// Streams bytes into CPropArbitraryData chunks.
class IEnumArbitraryData : public IEnum {
 protected:
  ~IEnumArbitraryData() = default;
};

class ISource : public IFxBase {
 public:
  virtual FxResult EnumMediaItems(eMediaItemType type, IEnumMediaItem** out, bool refresh) = 0;
  virtual FxResult AcquireAllMediaItems(eMediaItemType type, const FxChar* target, unsigned long& count,
                                        bool deleteAfter, FxCancelCallback cancel) = 0;
  virtual FxResult DeleteAllMediaItems(eMediaItemType type, unsigned long& count, FxCancelCallback cancel) = 0;
  virtual FxResult ShowUI(void* parentWindow, IEnumMediaItem** out) = 0;

 protected:
  ~ISource() = default;
};

class ISourceManager : public IFxBase {
 public:
  // Prepares the manager; EnumSources refuses to run before it.
  virtual FxResult Init() = 0;
  // *out must be null on entry; receives an enumerator the caller releases.
  virtual FxResult EnumSources(IEnumSource** out) = 0;
  // Creates the source called `name` (as enumerated). *out must be null on
  // entry; receives a source with a count of 1 that the caller releases.
  virtual FxResult CreateSource(const FxChar* name, ISource** out) = 0;
  virtual FxResult RegisterEventCallbackFunc(ICallbackInterface* callback, eSourceEventType type) = 0;
  virtual FxResult UnRegisterEventCallbackFunc(ICallbackInterface* callback) = 0;
  virtual FxResult SetSupportedFileFormats(IFileFormat* formats) = 0;
  virtual FxResult SetApplicationName(const FxChar* name) = 0;

 protected:
  ~ISourceManager() = default;
};

class ISourceManagerCapabilities : public IFxBase {
 public:
  virtual FxResult GetPushPullStatus(eSourceManagerCap& cap) = 0;
  virtual FxResult GetSourceDetectionStatus(eSourceManagerDetectCap& cap) = 0;

 protected:
  ~ISourceManagerCapabilities() = default;
};

// A list of CPropFileFormat records with a read cursor.
class IFileFormat : public IFxBase {
 public:
  virtual FxResult Reset() = 0;
  virtual FxResult GetFormatCount(unsigned long& count) = 0;
  virtual FxResult ClearFormatList() = 0;
  // Appends a copy; kFxErrNoBuffer when an equal record is already held.
  virtual FxResult SetFormat(CPropFileFormat& record) = 0;
  // Copies the record at the cursor and advances; kFxEndOfEnum at the end.
  virtual FxResult GetFormat(CPropFileFormat& record) = 0;
  virtual FxResult SetMultipleFormat(CPropFileFormat*& records, unsigned long count, unsigned long& done) = 0;
  virtual FxResult GetMultipleFormat(CPropFileFormat*& records, unsigned long count, unsigned long& done) = 0;

 protected:
  ~IFileFormat() = default;
};
