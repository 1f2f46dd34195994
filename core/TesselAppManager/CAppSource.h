// The plug-in's worker object: the destination through which the host
// drives a download. One object answers for eleven interfaces; the host
// reaches them all through QueryInterface and holds the object by its count.
#pragma once

#include <memory>
#include <string>

#include <QString>

#include <skiff/SinkInterfaces.h>

#include "CAppInfo.h"
#include "CAppPanelWidgets.h"
#include "CAppSourceChain.h"
#include "LumenPlugin.h"
#include "PtTesselTalk.h"
#include "TesselHandOff.h"

class CMOXFileFormat;
class IPtPreferences;

class CAppSource final : public ISource,
                         public ISink3,
                         public ISinkCapabilities2,
                         public ISinkUICapabilities,
                         public IUICallback,
                         public ISinkAdvancedCapabilities,
                         public ISkiffLogCallbacks,
                         public ISinkUtilHandler2,
                         public ISkiffPostProcessing2,
                         public ISinkManager,
                         public ISinkProgressDialog {
public:
    explicit CAppSource(const CAppInfo& info);

    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    // The last Release gives back the progress handler and destroys the object.
    long Release() override;

    FxResult EnumMediaItems(eMediaItemType type, IEnumMediaItem** out, bool refresh) override;
    FxResult AcquireAllMediaItems(eMediaItemType type, const FxChar* target, unsigned long& count, bool deleteAfter,
                                  FxCancelCallback cancel) override;
    FxResult DeleteAllMediaItems(eMediaItemType type, unsigned long& count, FxCancelCallback cancel) override;
    FxResult ShowUI(void* parentWindow, IEnumMediaItem** out) override;
    FxResult PushAllMediaItems(ISinkEnumMediaItem& items, unsigned long& count, void* context,
                               FxCancelCallback cancel) override;
    FxResult PushAllMediaItems(ISinkEnumMediaItem& items, IDisplayMsgHandler& messages, unsigned long& count,
                               void* context, FxCancelCallback cancel) override;
    FxResult ShowSinkUI(void* parentWindow, ISinkEnumMediaItem& items) override;
    FxResult PushOneMediaItem(const FxChar* source, const FxChar* target, FxCancelCallback cancel,
                              eUploadAction action) override;
    FxResult GetSupportedFileFormatList(IFileFormat*& formats) override;
    FxResult GetSinkStateInformation(ISinkStateInfo*& info) override;
    FxResult GetSinkMediaHandler(ISinkMediaHandler*& handler) override;
    FxResult GetSinkSupportInfo(long& info) override;
    FxResult GetSinkUtilHandler(ISinkUtilHandler*& handler) override;
    FxResult SetKilnSupportedExtensions(FxChar* extensions) override;
    FxResult SetLumenPluginSupportedExtensions(FxChar* extensions) override;
    FxResult GetForceFourDigitSequenceNumber(bool& force) override;
    FxResult GetDateSeperatorChar(char& separator) override;
    FxResult GetSeperatorChar(char& separator) override;
    FxResult GetCopyProgressLongestLabelString(FxChar* buf, int size) override;
    FxResult GetUIFilename(FxChar* buf, int size) override;
    FxResult GetCustomUICaption(FxChar* buf, int size) override;
    FxResult GetUIControlOrder(IUIOrderingOptionsEnum& order) override;
    FxResult SetClientUIHandler(IClientUIHandler* handler) override;
    FxResult GetCustomUISummary(FxChar* buf, int size) override;
    FxResult HandleUIModeChange(void* parentWindow, eSkiffUIMode mode, int& result) override;
    long handleUIEvent(const char* widgetName) override;
    FxResult GetSinkAdvancedCapability(long& capability) override;
    FxResult GetLogParams(FxChar* buf, unsigned int size, long& flags) override;
    FxResult GetDeviceEntryParams(CPropSource* source, IEnumArbitraryData** out) override;
    FxResult GetMediaEntryParams(CPropSinkMediaItem* item, IEnumArbitraryData** out) override;
    FxResult GetSessionEndParams(IEnumArbitraryData** out) override;
    FxResult DisplayHelp(void* parentWindow) override;
    FxResult GetPreferences(CProp& record) override;
    FxResult SetPreferences(CProp& record) override;
    FxResult GetDisplayString(eDisplayStringType type, FxChar* buf, unsigned int size) override;
    FxResult DoPreProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                             FxMessageCallback error, FxCancelCallback cancel, IDisplayMsgHandler* messages) override;
    FxResult DoPostProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                              FxMessageCallback error, FxCancelCallback cancel, IDisplayMsgHandler* messages) override;
    void deleteXMPData(bool remove) override;
    FxResult GetHostAppName(FxChar* buf, unsigned int size) override;
    FxResult GetHostAppPath(FxChar* buf, unsigned int size) override;
    FxResult SetSkiffHandle(void* handle) override;
    FxResult GetIsHostAppRunning(unsigned int& running, void*& handle) override;
    FxResult InvokeHostApp(void* parentWindow, unsigned int flags, FxChar* arguments) override;
    FxResult SetProgressHandler(IProgressHandler* handler) override;

    // The conversion entry of the raw-conversion library, or null.
    LumenPluginConvertToDNG conversionEntry() const { return m_convertToDNG; }

    // The preference store, opened on the first call from the user's
    // application-data folder; null when the preference module, its entry or
    // its store is missing. The object owns the store: the pointer is borrowed.
    IPtPreferences* getIPtPreferences();
    // Opens the store if it is not open yet and returns it (borrowed).
    IPtPreferences* initilizePreferences();
    // The grey level (0.0 to 1.0) of the browser's image backdrop.
    static double getBackgroundColor();

    // The conversion settings, from the preferences.
    struct DNGOptions {
        bool uncompressed = false;
        bool linear = false;
        bool embedRaw = false;
        int jpegPreviewSize = 1; // 0 none, 1 medium, 2 full size
    };
    const DNGOptions& dngOptions() const { return m_dngOptions; }
    // The backup folder for second copies, native separators; empty when none.
    const QString& backupFolder() const { return m_backupFolder; }

    // Raw-to-DNG conversion of a downloaded file (DNGConversion.cpp).
    // True when the conversion library and its entry were found.
    bool isDNGConverterPresent() const;
    // True when the file's extension is listed by SetKilnSupportedExtensions.
    bool isCameraRAWFile(const QString& path) const;
    // Calls the conversion entry with the four DNG options, in a child
    // process so that a crashing converter cannot take the host down; false
    // when there is no entry, it fails or the child dies.
    bool convertToDNGThruKiln(const QString& source, const QString& target) const;
    // Replaces the raw file at `path` (and its ".xmp" sidecar, unless
    // deleteXMPData(true) was called) by a DNG under a free name. True when
    // there is nothing to convert or it worked; on failure the raw file and
    // its sidecar are back under their names. Callbacks may be null.
    bool convertToDNG(const QString& path, FxMessageCallback status, FxMessageCallback error);
    // Conversions that failed since construction; never reset.
    unsigned long long dngFailureCount() const { return m_dngFailureCount; }

    // The end-of-download summary (CAppSourceSummary.cpp). Shows the plain
    // copied-to message for `folder`, unless a DNG conversion has failed
    // since construction: that failure has had its own message.
    void displayFilesCopied(IDisplayMsgHandler& messages, const QString& folder);
    // Replaces the hand-off to Tessel; null puts back the messaging
    // hand-off through this source's own link.
    void setTesselHandOff(std::unique_ptr<TesselHandOff> handOff);

    // The sink-chain extension: the sink that runs first, AddRef'd; null
    // removes it.
    FxResult setNextSink(ISkiffPostProcessing* next);

private:
    ~CAppSource();

    void loadConversionLibrary();
    void readStoredPreferences(CPropAppPreferences3& record);
    void applyDefaultPreferences(CPropAppPreferences3& record);
    // Colours of the panel from the browser's backdrop grey.
    static void applyBackdropColours(CPropAppPreferences3& record);
    // Keeps `folder` as the backup folder and shows it, shortened, in the label.
    void showBackupFolder(const QString& folder);
    // The settings button's dialog: the four conversion options, kept on OK only.
    void editDNGOptions();
    // The browse button's folder chooser; only a writable folder is kept.
    void chooseBackupFolder();
    // Asks whether to delete the originals of `folder` and, on yes, deletes
    // them item by item through each item's own delete function, with the
    // progress handler showing the steps and the outcome. Without a progress
    // handler the answer still holds: the originals go, with nothing shown.
    void deleteOriginals(ISinkEnumMediaItem& items, IDisplayMsgHandler& messages, const QString& folder);
    bool makeBackupCopy(const CPropSinkMediaItem& item, FxMessageCallback status, FxMessageCallback error);

    IPtPreferences* m_preferences = nullptr;
    long long m_refCount = 0;
    CAppInfo m_appInfo;
    IProgressHandler* m_progressHandler = nullptr;
    ISinkUtilHandler2* m_sinkUtilHandler = nullptr;
    void* m_skiffHandle = nullptr;
    std::u16string m_kilnExtensions;
    std::u16string m_lumenPluginExtensions;
    LumenPluginConvertToDNG m_convertToDNG = nullptr;
    bool m_deleteXMPData = false;
    CAppPanelWidgets m_panel;
    DNGOptions m_dngOptions;
    QString m_backupFolder;
    CMOXFileFormat* m_fileFormats = nullptr;
    CAppSourceChain m_chain{*this};
    ISkiffPostProcessing* m_nextSink = nullptr;
    unsigned long long m_dngFailureCount = 0;
    QString m_lastBackupName;
    // Declared before the hand-off, which borrows it.
    PtTesselTalk m_tesselTalk;
    std::unique_ptr<TesselHandOff> m_handOff = std::make_unique<TesselTalkHandOff>(m_tesselTalk);
};
