// The plug-in's manager: what FxPluginMain hands the host. It describes the
// plug-in, enumerates its one source and creates the CAppSource for it.
#pragma once

#include <skiff/SourceInterfaces.h>

#include "CAppInfo.h"

class CAppManager final : public IFxPlugin, public ISourceManager, public ISourceManagerCapabilities {
public:
    // The plug-in's identifier, stamped into every enumerated source.
    static const unsigned char m_appManagerUID[16];

    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    long Release() override;

    void GetPluginName(FxChar* buf, unsigned int size) override;
    int GetPluginType() override;
    void GetPluginUID(unsigned char (&uid)[16]) override;
    void OnLoad() override;
    void OnUnload() override;

    FxResult Init() override;
    FxResult EnumSources(IEnumSource** out) override;
    FxResult CreateSource(const FxChar* name, ISource** out) override;
    FxResult RegisterEventCallbackFunc(ICallbackInterface* callback, eSourceEventType type) override;
    FxResult UnRegisterEventCallbackFunc(ICallbackInterface* callback) override;
    FxResult SetSupportedFileFormats(IFileFormat* formats) override;
    FxResult SetApplicationName(const FxChar* name) override;

    FxResult GetPushPullStatus(eSourceManagerCap& cap) override;
    FxResult GetSourceDetectionStatus(eSourceManagerDetectCap& cap) override;

private:
    long long m_refCount = 0;
    long long m_initialised = 0;
    CAppInfo m_appInfo;
};
