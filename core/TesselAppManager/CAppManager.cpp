#include "CAppManager.h"

#include "CAppSource.h"
#include "CEnumSource.h"
#include "FxText.h"
#include "ptucs.h"

namespace {

const std::u16string kPluginName = u"Tessel Application Manager";
const std::u16string kSourceName = u"Corvane Tessel";
// Placeholders that nothing reads back.
const std::u16string kDummyPath = u"C:\\DummyApp.exe";

constexpr std::int32_t kSourceKindTessel = 8;

} // namespace

const unsigned char CAppManager::m_appManagerUID[16] = {0x77, 0x3D, 0xD1, 0xCD, 0x37, 0x4C, 0x48, 0xC9,
                                                        0x8C, 0x70, 0xAF, 0x39, 0x84, 0x9D, 0x9B, 0x87};

bool CAppManager::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    switch (id) {
    case kIID_IFxBase:
    case kIID_ISourceManager:
        *out = static_cast<ISourceManager*>(this);
        break;
    case kIID_IFxPlugin:
        *out = static_cast<IFxPlugin*>(this);
        break;
    case kIID_ISourceManagerCapabilities:
        *out = static_cast<ISourceManagerCapabilities*>(this);
        break;
    default:
        *out = nullptr;
        return false;
    }
    AddRef();
    return true;
}

long CAppManager::AddRef()
{
    return long(++m_refCount);
}

long CAppManager::Release()
{
    const long count = long(--m_refCount);
    if (count == 0)
        delete this;
    return count;
}

void CAppManager::GetPluginName(FxChar* buf, unsigned int size)
{
    if (buf)
        fxCopyBounded(buf, size, kPluginName);
}

int CAppManager::GetPluginType()
{
    return 0;
}

void CAppManager::GetPluginUID(unsigned char (&uid)[16])
{
    std::copy(std::begin(m_appManagerUID), std::end(m_appManagerUID), uid);
}

void CAppManager::OnLoad()
{
}

void CAppManager::OnUnload()
{
}

FxResult CAppManager::Init()
{
    try {
        m_appInfo.appName = kSourceName;
        m_appInfo.sourceName = kSourceName;
        m_appInfo.appName2.clear();
        m_appInfo.appPath = kDummyPath;
        m_appInfo.appPath2 = kDummyPath;
        m_initialised = 1;
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CAppManager::EnumSources(IEnumSource** out)
{
    if (!m_initialised)
        return kFxErrNotInitialised;
    if (!out || *out)
        return kFxErrInvalidArg;
    CEnumSource* sources = nullptr;
    try {
        sources = new CEnumSource;
        sources->AddRef();
        CPropSource source;
        fxInitRecord(source);
        fxCopyToField(source.displayName, std::size(source.displayName), m_appInfo.sourceName);
        fxCopyToField(source.appName, std::size(source.appName), m_appInfo.appName);
        fxCopyToField(source.appPath, std::size(source.appPath), m_appInfo.appName);
        fxCopyToField(source.appName2, std::size(source.appName2), m_appInfo.appName);
        source.sourceKind = kSourceKindTessel;
        std::copy(std::begin(m_appManagerUID), std::end(m_appManagerUID), source.pluginUID);
        sources->append(source);
        *out = sources;
        return kFxOk;
    } catch (...) {
        if (sources)
            sources->Release();
        return kFxErrFailure;
    }
}

FxResult CAppManager::CreateSource(const FxChar* name, ISource** out)
{
    if (!name || !out || *out || ptucscmp(name, fxText(m_appInfo.sourceName)) != 0)
        return kFxErrInvalidArg;
    try {
        auto* source = new CAppSource(m_appInfo);
        source->AddRef();
        *out = source;
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CAppManager::RegisterEventCallbackFunc(ICallbackInterface*, eSourceEventType)
{
    return kFxErrNotSupported;
}

FxResult CAppManager::UnRegisterEventCallbackFunc(ICallbackInterface*)
{
    return kFxErrNotSupported;
}

FxResult CAppManager::SetSupportedFileFormats(IFileFormat*)
{
    return kFxErrNotSupported;
}

FxResult CAppManager::SetApplicationName(const FxChar*)
{
    return kFxErrNotSupported;
}

FxResult CAppManager::GetPushPullStatus(eSourceManagerCap& cap)
{
    cap = kSourceManagerPush;
    return kFxOk;
}

FxResult CAppManager::GetSourceDetectionStatus(eSourceManagerDetectCap& cap)
{
    cap = kSourceDetectNone;
    return kFxOk;
}
