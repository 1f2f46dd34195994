// Skiff plug-in SDK: the destination (sink) interfaces.
//
// Operations are listed in slot order; the order is part of the binary
// interface and must not change.
#pragma once

#include "CProp.h"
#include "FxBase.h"
#include "HostInterfaces.h"
#include "SourceInterfaces.h"

class ISinkStateInfo;

class ISink : public IFxBase {
 public:
  virtual FxResult PushAllMediaItems(ISinkEnumMediaItem& items, unsigned long& count, void* context,
                                     FxCancelCallback cancel) = 0;
  virtual FxResult ShowSinkUI(void* parentWindow, ISinkEnumMediaItem& items) = 0;
  virtual FxResult PushOneMediaItem(const FxChar* source, const FxChar* target, FxCancelCallback cancel,
                                    eUploadAction action) = 0;

 protected:
  ~ISink() = default;
};

class ISink3 : public ISink {
 public:
  using ISink::PushAllMediaItems;
  // Called once when the whole download is over: the sink reports the
  // result through `messages` and does its end-of-download work.
  virtual FxResult PushAllMediaItems(ISinkEnumMediaItem& items, IDisplayMsgHandler& messages,
                                     unsigned long& count, void* context, FxCancelCallback cancel) = 0;

 protected:
  ~ISink3() = default;
};

class ISinkMediaHandler : public IFxBase {
 public:
  virtual FxResult GetThumbnailSize(unsigned long& size) = 0;
  virtual FxResult GetThumbnailData(const FxChar* path, unsigned char*& data, unsigned long size) = 0;

 protected:
  ~ISinkMediaHandler() = default;
};

class ISinkUtilHandler : public IFxBase {
 public:
  virtual FxResult DisplayHelp(void* parentWindow) = 0;
  // Fills a CPropAppPreferences3 from the sink's store.
  virtual FxResult GetPreferences(CProp& record) = 0;
  // Writes a CPropAppPreferences3 to the sink's store.
  virtual FxResult SetPreferences(CProp& record) = 0;

 protected:
  ~ISinkUtilHandler() = default;
};

class ISinkUtilHandler2 : public ISinkUtilHandler {
 public:
  enum eDisplayStringType : int { kDisplayStringName = 0, kDisplayStringDescription = 1 };
  virtual FxResult GetDisplayString(eDisplayStringType type, FxChar* buf, unsigned int size) = 0;

 protected:
  ~ISinkUtilHandler2() = default;
};

class ISinkCapabilities : public IFxBase {
 public:
  // *formats (null on entry) receives a list the caller releases.
  virtual FxResult GetSupportedFileFormatList(IFileFormat*& formats) = 0;
  virtual FxResult GetSinkStateInformation(ISinkStateInfo*& info) = 0;
  virtual FxResult GetSinkMediaHandler(ISinkMediaHandler*& handler) = 0;
  virtual FxResult GetSinkSupportInfo(long& info) = 0;
  // Receives the sink's utility face, AddRef'd.
  virtual FxResult GetSinkUtilHandler(ISinkUtilHandler*& handler) = 0;

 protected:
  ~ISinkCapabilities() = default;
};

class ISinkCapabilities2 : public ISinkCapabilities {
 public:
  // Comma-separated lower-case raw extensions that the host's raw engine reads.
  virtual FxResult SetKilnSupportedExtensions(FxChar* extensions) = 0;
  // Comma-separated extensions that the raw-conversion library reads.
  virtual FxResult SetLumenPluginSupportedExtensions(FxChar* extensions) = 0;
  virtual FxResult GetForceFourDigitSequenceNumber(bool& force) = 0;
  // 0 means no separator.
  virtual FxResult GetDateSeperatorChar(char& separator) = 0;
  virtual FxResult GetSeperatorChar(char& separator) = 0;
  virtual FxResult GetCopyProgressLongestLabelString(FxChar* buf, int size) = 0;

 protected:
  ~ISinkCapabilities2() = default;
};

enum IUIOrderingOptionsEnum : int { kUIOrderDefault = 0, kUIOrderCustomFirst = 1, kUIOrderCustomLast = 2 };

class ISinkUICapabilities : public IFxBase {
 public:
  enum eSkiffUIMode : int { kSkiffUIModeStandard = 0, kSkiffUIModeAdvanced = 1 };
  // Path of the Qt Designer form of the sink's panel.
  virtual FxResult GetUIFilename(FxChar* buf, int size) = 0;
  virtual FxResult GetCustomUICaption(FxChar* buf, int size) = 0;
  virtual FxResult GetUIControlOrder(IUIOrderingOptionsEnum& order) = 0;
  // Hands the sink the host's panel handler (AddRef'd by the sink when kept).
  virtual FxResult SetClientUIHandler(IClientUIHandler* handler) = 0;
  virtual FxResult GetCustomUISummary(FxChar* buf, int size) = 0;
  virtual FxResult HandleUIModeChange(void* parentWindow, eSkiffUIMode mode, int& result) = 0;

 protected:
  ~ISinkUICapabilities() = default;
};

class IUICallback : public IFxBase {
 public:
  // A widget of the sink's panel was used; `widgetName` is its object name.
  virtual long handleUIEvent(const char* widgetName) = 0;

 protected:
  ~IUICallback() = default;
};

class ISinkAdvancedCapabilities : public IFxBase {
 public:
  virtual FxResult GetSinkAdvancedCapability(long& capability) = 0;

 protected:
  ~ISinkAdvancedCapabilities() = default;
};

class ISkiffLogCallbacks : public IFxBase {
 public:
  virtual FxResult GetLogParams(FxChar* buf, unsigned int size, long& flags) = 0;
  virtual FxResult GetDeviceEntryParams(CPropSource* source, IEnumArbitraryData** out) = 0;
  virtual FxResult GetMediaEntryParams(CPropSinkMediaItem* item, IEnumArbitraryData** out) = 0;
  virtual FxResult GetSessionEndParams(IEnumArbitraryData** out) = 0;

 protected:
  ~ISkiffLogCallbacks() = default;
};

class ISkiffPostProcessing : public IFxBase {
 public:
  // Runs before the host's own processing of a copied item.
  virtual FxResult DoPreProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                                   FxMessageCallback error, FxCancelCallback cancel,
                                   IDisplayMsgHandler* messages) = 0;
  // Runs after the host's own processing of a copied item.
  virtual FxResult DoPostProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                                    FxMessageCallback error, FxCancelCallback cancel,
                                    IDisplayMsgHandler* messages) = 0;

 protected:
  ~ISkiffPostProcessing() = default;
};

class ISkiffPostProcessing2 : public ISkiffPostProcessing {
 public:
  virtual void deleteXMPData(bool remove) = 0;

 protected:
  ~ISkiffPostProcessing2() = default;
};

class ISinkManager : public IFxBase {
 public:
  virtual FxResult GetHostAppName(FxChar* buf, unsigned int size) = 0;
  virtual FxResult GetHostAppPath(FxChar* buf, unsigned int size) = 0;
  virtual FxResult SetSkiffHandle(void* handle) = 0;
  virtual FxResult GetIsHostAppRunning(unsigned int& running, void*& handle) = 0;
  virtual FxResult InvokeHostApp(void* parentWindow, unsigned int flags, FxChar* arguments) = 0;

 protected:
  ~ISinkManager() = default;
};

class ISinkProgressDialog : public IFxBase {
 public:
  // The sink keeps the handler without AddRef and releases it when it dies.
  virtual FxResult SetProgressHandler(IProgressHandler* handler) = 0;

 protected:
  ~ISinkProgressDialog() = default;
};
