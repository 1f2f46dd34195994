#include "Handshake.h"

#include <QString>

#include "HostReport.h"

namespace {

struct FaceInfo {
    long id;
    const char* name;
};

const FaceInfo kSourceFaces[] = {
    {kIID_IFxBase, "IFxBase"},
    {kIID_ISource, "ISource"},
    {kIID_ISink, "ISink"},
    {kIID_ISink3, "ISink3"},
    {kIID_ISinkCapabilities, "ISinkCapabilities"},
    {kIID_ISinkCapabilities2, "ISinkCapabilities2"},
    {kIID_ISinkUtilHandler, "ISinkUtilHandler"},
    {kIID_ISinkUtilHandler2, "ISinkUtilHandler2"},
    {kIID_ISinkUICapabilities, "ISinkUICapabilities"},
    {kIID_IUICallback, "IUICallback"},
    {kIID_ISinkAdvancedCapabilities, "ISinkAdvancedCapabilities"},
    {kIID_ISkiffLogCallbacks, "ISkiffLogCallbacks"},
    {kIID_ISinkManager, "ISinkManager"},
    {kIID_ISkiffPostProcessing, "ISkiffPostProcessing"},
    {kIID_ISkiffPostProcessing2, "ISkiffPostProcessing2"},
    {kIID_ISinkProgressDialog, "ISinkProgressDialog"},
};

QString hex(const unsigned char* bytes, int n)
{
    QString out;
    for (int i = 0; i < n; ++i)
        out += QStringLiteral("%1 ").arg(bytes[i], 2, 16, QLatin1Char('0')).toUpper();
    return out.trimmed();
}

} // namespace

Handshake::Handshake(FxPluginMainFunc entry, HostReport& report)
    : m_entry(entry)
    , m_report(report)
{
}

Handshake::~Handshake()
{
    if (m_source)
        m_source->Release();
    if (m_sourceManager)
        m_sourceManager->Release();
    if (m_manager)
        m_manager->Release();
}

template <typename T>
T* Handshake::face(long id)
{
    void* out = nullptr;
    if (!m_source || !m_source->QueryInterface(id, &out))
        return nullptr;
    return static_cast<T*>(out);
}

bool Handshake::start()
{
    return startManager() && createSource();
}

bool Handshake::startManager()
{
    m_report.section(QStringLiteral("Plug-in manager"));
    const bool entered = m_entry(&m_manager) && m_manager;
    m_report.check(entered, QStringLiteral("FxPluginMain"), entered ? QStringLiteral("manager created") : QStringLiteral("failed"),
                   QStringLiteral("a manager"));
    if (!entered)
        return false;

    void* out = nullptr;
    if (m_manager->QueryInterface(kIID_IFxPlugin, &out)) {
        auto* plugin = static_cast<IFxPlugin*>(out);
        FxChar name[260] = {};
        plugin->GetPluginName(name, 259);
        m_report.line(QStringLiteral("name"), HostReport::fromFx(name));
        m_report.check(plugin->GetPluginType() == 0, QStringLiteral("type"), QString::number(plugin->GetPluginType()),
                       QStringLiteral("0"));
        unsigned char uid[16] = {};
        plugin->GetPluginUID(uid);
        m_report.line(QStringLiteral("identifier"), hex(uid, 16));
        plugin->Release();
    } else {
        m_report.check(false, QStringLiteral("IFxPlugin"), QStringLiteral("refused"), QStringLiteral("answered"));
    }
    if (m_manager->QueryInterface(kIID_ISourceManagerCapabilities, &out)) {
        auto* caps = static_cast<ISourceManagerCapabilities*>(out);
        eSourceManagerCap push = kSourceManagerPull;
        eSourceManagerDetectCap detect = kSourceDetectAuto;
        caps->GetPushPullStatus(push);
        caps->GetSourceDetectionStatus(detect);
        m_report.line(QStringLiteral("push/pull status"), QString::number(push));
        m_report.line(QStringLiteral("source detection"), QString::number(detect));
        caps->Release();
    }

    if (!m_manager->QueryInterface(kIID_ISourceManager, &out)) {
        m_report.check(false, QStringLiteral("ISourceManager"), QStringLiteral("refused"), QStringLiteral("answered"));
        return false;
    }
    m_sourceManager = static_cast<ISourceManager*>(out);
    const FxResult init = m_sourceManager->Init();
    m_report.checkResult(init, kFxOk, QStringLiteral("Init"));
    return init == kFxOk;
}

bool Handshake::createSource()
{
    m_report.section(QStringLiteral("Sources"));
    IEnumSource* sources = nullptr;
    const FxResult listed = m_sourceManager->EnumSources(&sources);
    m_report.checkResult(listed, kFxOk, QStringLiteral("EnumSources"));
    if (listed != kFxOk || !sources)
        return false;
    long count = 0;
    sources->GetCount(&count);
    m_report.check(count == 1, QStringLiteral("source count"), QString::number(count), QStringLiteral("1"));
    fxInitRecord(m_sourceRecord);
    const FxResult next = sources->Next(&m_sourceRecord.header);
    m_report.checkResult(next, kFxOk, QStringLiteral("first source"));
    CPropSource extra;
    fxInitRecord(extra);
    m_report.checkResult(sources->Next(&extra.header), kFxEndOfEnum, QStringLiteral("after the last source"));
    sources->Release();
    if (next != kFxOk)
        return false;
    m_report.line(QStringLiteral("display name"), HostReport::fromFx(m_sourceRecord.displayName, 260));
    m_report.line(QStringLiteral("source kind"), QString::number(m_sourceRecord.sourceKind));
    m_report.line(QStringLiteral("plug-in identifier"), hex(m_sourceRecord.pluginUID, 16));

    const FxResult created = m_sourceManager->CreateSource(m_sourceRecord.displayName, &m_source);
    m_report.checkResult(created, kFxOk, QStringLiteral("CreateSource"));
    return created == kFxOk && m_source;
}

void Handshake::checkSource()
{
    checkFaces();
    checkConstantAnswers();
}

void Handshake::checkFaces()
{
    m_report.section(QStringLiteral("Faces of the source"));
    for (const FaceInfo& info : kSourceFaces) {
        auto* base = face<IFxBase>(info.id);
        m_report.check(base != nullptr, QStringLiteral("%1 (%2)").arg(QLatin1String(info.name)).arg(info.id),
                       base ? QStringLiteral("answered") : QStringLiteral("refused"), QStringLiteral("answered"));
        if (base)
            base->Release();
    }
    auto* refused = face<IFxBase>(15);
    m_report.check(refused == nullptr, QStringLiteral("identifier 15"),
                   refused ? QStringLiteral("answered") : QStringLiteral("refused"), QStringLiteral("refused"));
    if (refused)
        refused->Release();
}

void Handshake::checkConstantAnswers()
{
    m_report.section(QStringLiteral("Capabilities"));
    if (auto* caps = face<ISinkCapabilities2>(kIID_ISinkCapabilities2)) {
        long info = -1;
        caps->GetSinkSupportInfo(info);
        m_report.check(info == 0, QStringLiteral("sink support info"), QString::number(info), QStringLiteral("0"));
        bool four = false;
        caps->GetForceFourDigitSequenceNumber(four);
        m_report.check(four, QStringLiteral("four-digit sequence numbers"), four ? QStringLiteral("yes") : QStringLiteral("no"),
                       QStringLiteral("yes"));
        char date = 'x';
        caps->GetDateSeperatorChar(date);
        m_report.check(date == 0, QStringLiteral("date separator"), date ? QString(QLatin1Char(date)) : QStringLiteral("none"),
                       QStringLiteral("none"));
        char separator = 0;
        caps->GetSeperatorChar(separator);
        m_report.check(separator == '_', QStringLiteral("name separator"), QString(QLatin1Char(separator)), QStringLiteral("_"));
        caps->Release();
    }
    if (auto* advanced = face<ISinkAdvancedCapabilities>(kIID_ISinkAdvancedCapabilities)) {
        long capability = 0;
        advanced->GetSinkAdvancedCapability(capability);
        m_report.check(capability == 14, QStringLiteral("advanced capability"), QString::number(capability), QStringLiteral("14"));
        advanced->Release();
    }
    if (auto* host = face<ISinkManager>(kIID_ISinkManager)) {
        FxChar name[260] = {};
        host->GetHostAppName(name, 259);
        m_report.check(HostReport::fromFx(name) == QLatin1String("Tessel"), QStringLiteral("host application"),
                       HostReport::fromFx(name), QStringLiteral("Tessel"));
        unsigned int running = 1;
        void* handle = nullptr;
        host->GetIsHostAppRunning(running, handle);
        m_report.line(QStringLiteral("host application running (plug-in's view)"), QString::number(running));
        host->Release();
    }
}

void Handshake::finish()
{
    m_report.section(QStringLiteral("Release"));
    if (m_source) {
        const long left = m_source->Release();
        m_source = nullptr;
        m_report.check(left == 0, QStringLiteral("source count after Release"), QString::number(left), QStringLiteral("0"));
    }
    if (m_sourceManager) {
        m_sourceManager->Release();
        m_sourceManager = nullptr;
    }
    if (m_manager) {
        const long left = m_manager->Release();
        m_manager = nullptr;
        m_report.check(left == 0, QStringLiteral("manager count after Release"), QString::number(left), QStringLiteral("0"));
    }
}
