#include "DownloadSession.h"

#include <QDir>
#include <QFileInfo>

#include <vector>

#include "CardScan.h"
#include "CopyVerify.h"
#include "HeadlessPanel.h"
#include "HostMessages.h"
#include "HostReport.h"
#include "HostSink.h"
#include "MediaEnumerator.h"

namespace {

// The raw formats this host's raw engine reads. The sink widens its image
// formats with them and, when conversion is asked for, converts them.
const char kHostRawExtensions[] = "3fr,arw,cr2,cr3,crw,dcr,erf,kdc,mef,mos,mrw,nef,nrw,orf,pef,raf,raw,rw2,sr2,srf,srw,x3f";

// A processing stage succeeded when it answered a truth value; zero is
// failure and the high codes are errors.
bool succeeded(FxResult result)
{
    return result != 0 && result < 0x40000000u;
}

template <typename T>
T* faceOf(ISource* source, long id)
{
    void* out = nullptr;
    return source && source->QueryInterface(id, &out) ? static_cast<T*>(out) : nullptr;
}

// The source's faces that a download uses, released together.
struct SinkFaces {
    explicit SinkFaces(ISource* source)
        : caps(faceOf<ISinkCapabilities2>(source, kIID_ISinkCapabilities2))
        , util(faceOf<ISinkUtilHandler2>(source, kIID_ISinkUtilHandler2))
        , ui(faceOf<ISinkUICapabilities>(source, kIID_ISinkUICapabilities))
        , processing(faceOf<ISkiffPostProcessing>(source, kIID_ISkiffPostProcessing))
        , progress(faceOf<ISinkProgressDialog>(source, kIID_ISinkProgressDialog))
        , sink3(faceOf<ISink3>(source, kIID_ISink3))
        , chain(faceOf<ISkiffSinkChain>(source, kIID_ISkiffSinkChain))
    {
    }
    ~SinkFaces()
    {
        for (IFxBase* face : {static_cast<IFxBase*>(caps), static_cast<IFxBase*>(util), static_cast<IFxBase*>(ui),
                              static_cast<IFxBase*>(processing), static_cast<IFxBase*>(progress),
                              static_cast<IFxBase*>(sink3), static_cast<IFxBase*>(chain)})
            if (face)
                face->Release();
    }
    SinkFaces(const SinkFaces&) = delete;
    SinkFaces& operator=(const SinkFaces&) = delete;
    bool complete() const { return caps && util && ui && processing && progress && sink3 && chain; }

    ISinkCapabilities2* caps;
    ISinkUtilHandler2* util;
    ISinkUICapabilities* ui;
    ISkiffPostProcessing* processing;
    ISinkProgressDialog* progress;
    ISink3* sink3;
    ISkiffSinkChain* chain;
};

bool widgetChecked(IClientUIHandler* panel, const char* name)
{
    IFxWidget* widget = nullptr;
    if (panel->GetWidget(name, &widget) != kFxOk || !widget)
        return false;
    const bool checked = widget->IsChecked();
    widget->Release();
    return checked;
}

class Session {
public:
    Session(SinkFaces& faces, const CommandLine& options, HostConsole& console, const SessionFrontEnd& frontEnd)
        : m_faces(faces), m_options(options), m_console(console), m_frontEnd(frontEnd)
        , m_ownMessages(frontEnd.messages ? nullptr
                                          : new DisplayMessages(console, options.answer == CommandLine::Answer::Yes))
        , m_messages(frontEnd.messages ? frontEnd.messages : m_ownMessages)
    {
    }
    ~Session();
    int run();

private:
    bool prepare();
    bool attachPanel();
    void applyCommandLine();
    void downloadItem(const CardItem& item, int index, int total);
    void processItem(DownloadedItem& item, const QString& label);
    void endOfDownload();
    void summary(int total);
    QString shortName(const QString& path) const { return QDir(m_cardRoot).relativeFilePath(path); }

    SinkFaces& m_faces;
    const CommandLine& m_options;
    HostConsole& m_console;
    const SessionFrontEnd& m_frontEnd;
    HeadlessPanel* m_panel = nullptr; // only when the front end has no panel
    HostSink* m_hostSink = new HostSink;
    DisplayMessages* m_ownMessages;
    IDisplayMsgHandler* m_messages;
    QString m_cardRoot;
    QString m_destination;
    CardScan m_scan;
    std::vector<DownloadedItem> m_items;
    bool m_stopped = false;
    int m_copyFailures = 0;
    int m_processingFailures = 0;
};

Session::~Session()
{
    m_faces.chain->SetNextSink(nullptr);
    if (m_panel) {
        m_faces.ui->SetClientUIHandler(nullptr);
        m_panel->Release();
    }
    if (m_ownMessages)
        m_ownMessages->Release();
    m_hostSink->Release();
}

// The panel the sink reads during the session. Returns whether raw files
// are to be converted: the command line says so in headless mode, the DNG
// box as the user left it in the window.
bool Session::attachPanel()
{
    if (m_frontEnd.panel)
        return widgetChecked(m_frontEnd.panel, SKIFF_WIDGET_DNG_CHECKBOX);
    m_panel = new HeadlessPanel;
    m_faces.ui->SetClientUIHandler(m_panel);
    return m_options.dng;
}

// In headless mode the command line, not the stored panel, decides what
// happens after the copy; a window's panel is left as the user set it.
void Session::applyCommandLine()
{
    if (!m_panel)
        return;
    m_panel->widget(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX)->SetChecked(m_options.openBrowser);
    m_panel->widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->SetChecked(m_options.deleteOriginals);
    HeadlessWidget* dng = m_panel->widget(SKIFF_WIDGET_DNG_CHECKBOX);
    if (m_options.dng && !dng->IsEnabled())
        m_console.line(QStringLiteral("warning: %1").arg(dng->text()));
    dng->SetChecked(m_options.dng && dng->IsEnabled());
    const HeadlessWidget* backup = m_panel->widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL);
    if (m_panel->widget(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX)->IsChecked() && !backup->secondText().isEmpty())
        m_console.line(QStringLiteral("backup copies: %1").arg(backup->secondText()));
}

bool Session::prepare()
{
    const bool dng = attachPanel();
    std::u16string raw = QString::fromLatin1(kHostRawExtensions).toStdU16String();
    std::u16string none;
    m_faces.caps->SetLumenPluginSupportedExtensions(reinterpret_cast<FxChar*>(raw.data()));
    m_faces.caps->SetKilnSupportedExtensions(reinterpret_cast<FxChar*>(dng ? raw.data() : none.data()));

    CPropAppPreferences3 preferences;
    fxInitRecord(preferences);
    if (m_faces.util->GetPreferences(preferences.header) != kFxOk) {
        m_console.line(QStringLiteral("error: the plug-in's preferences cannot be read"));
        return false;
    }
    m_destination = m_options.dest.isEmpty() ? HostReport::fromFx(preferences.location, 260) : m_options.dest;
    if (m_destination.isEmpty()) {
        m_console.line(QStringLiteral("error: no download folder: give --dest DIR or set the download location"));
        return false;
    }
    m_destination = QFileInfo(m_destination).absoluteFilePath();
    if (!QDir().mkpath(m_destination) || !QFileInfo(m_destination).isWritable()) {
        m_console.line(QStringLiteral("error: the download folder %1 cannot be created or written").arg(m_destination));
        return false;
    }
    applyCommandLine();

    IFileFormat* formats = nullptr;
    if (m_faces.caps->GetSupportedFileFormatList(formats) != kFxOk || !formats) {
        m_console.line(QStringLiteral("error: the plug-in lists no supported formats"));
        return false;
    }
    const FormatFilter filter = FormatFilter::fromList(*formats);
    formats->Release();

    m_scan = scanCard(m_options.card, filter);
    if (!m_scan.ok) {
        m_console.line(QStringLiteral("error: %1").arg(m_scan.error));
        return false;
    }
    m_cardRoot = QFileInfo(m_options.card).absoluteFilePath();
    m_console.line(QStringLiteral("card: %1: %2 item(s), %3 other file(s) left alone")
                       .arg(m_cardRoot)
                       .arg(m_scan.items.size())
                       .arg(m_scan.skipped));
    m_console.line(QStringLiteral("destination: %1").arg(m_destination));

    m_faces.chain->SetNextSink(m_hostSink);
    m_faces.progress->SetProgressHandler(m_frontEnd.makeProgress ? m_frontEnd.makeProgress()
                                                                 : new ProgressMessages(m_console));
    return true;
}

int Session::run()
{
    if (!prepare())
        return 1;
    CallbackScope callbacks(m_console);
    const int total = int(m_scan.items.size());
    // Item records point into the list: it must not reallocate.
    m_items.reserve(m_scan.items.size());
    for (int i = 0; i < total && !m_stopped; ++i) {
        downloadItem(m_scan.items[std::size_t(i)], i + 1, total);
        if (m_frontEnd.itemDone)
            m_frontEnd.itemDone(i + 1, total);
    }
    if (m_stopped)
        m_console.line(QStringLiteral("end of download: skipped, the download did not complete; no original was deleted"));
    else if (m_items.empty())
        m_console.line(QStringLiteral("end of download: skipped, nothing was copied"));
    else
        endOfDownload();
    summary(total);
    return m_stopped || m_copyFailures || m_processingFailures ? 1 : 0;
}

void Session::downloadItem(const CardItem& card, int index, int total)
{
    const QString label = QStringLiteral("[%1/%2] %3").arg(index).arg(total).arg(shortName(card.sourcePath));
    if (!QFileInfo(m_cardRoot).isDir()) {
        m_console.line(QStringLiteral("error: the card %1 was removed during the download").arg(m_cardRoot));
        m_stopped = true;
        return;
    }
    const CopyOutcome outcome = copyAndVerify(card.sourcePath, m_destination, card.fileName);
    switch (outcome.status) {
    case CopyOutcome::Status::Copied:
        break;
    case CopyOutcome::Status::SourceGone:
        // One file gone from a card that is still there is that file's
        // failure; a card that has gone ends the session.
        if (QFileInfo(m_cardRoot).isDir()) {
            ++m_copyFailures;
            m_console.line(QStringLiteral("%1: not copied: %2").arg(label, outcome.message));
            return;
        }
        m_console.line(QStringLiteral("%1: not copied").arg(label));
        m_console.line(QStringLiteral("error: the card %1 was removed during the download").arg(m_cardRoot));
        m_stopped = true;
        return;
    case CopyOutcome::Status::DestinationFull:
        m_console.line(QStringLiteral("%1: not copied").arg(label));
        m_console.line(QStringLiteral("error: %1").arg(outcome.message));
        m_stopped = true;
        return;
    case CopyOutcome::Status::Failed:
        ++m_copyFailures;
        m_console.line(QStringLiteral("%1: not copied: %2").arg(label, outcome.message));
        return;
    }
    m_items.push_back({card.sourcePath, m_cardRoot, outcome.finalPath, outcome.digest, false, QString()});
    m_hostSink->markCopied(outcome.finalPath);
    m_console.line(QStringLiteral("%1 -> %2: copied and verified, %3 bytes")
                       .arg(label, QFileInfo(outcome.finalPath).fileName())
                       .arg(outcome.digest.size));
    processItem(m_items.back(), label);
}

void Session::processItem(DownloadedItem& item, const QString& label)
{
    CPropSinkMediaItem record;
    fillItemRecord(record, item);
    const FxResult pre = m_faces.processing->DoPreProcessing(&record, statusCallback, warningCallback, errorCallback,
                                                             neverCancel, m_messages);
    fillItemRecord(record, item);
    const FxResult post = m_faces.processing->DoPostProcessing(&record, statusCallback, warningCallback,
                                                               errorCallback, neverCancel, m_messages);
    if (!succeeded(pre) || !succeeded(post))
        ++m_processingFailures;
    const QString converted = QFileInfo::exists(item.destinationPath) ? QString() : QStringLiteral(", replaced by its conversion");
    m_console.line(QStringLiteral("%1: pre-processing %2, post-processing %3%4")
                       .arg(label, succeeded(pre) ? QStringLiteral("ok") : QStringLiteral("failed (%1)").arg(HostReport::resultName(pre)),
                            succeeded(post) ? QStringLiteral("ok") : QStringLiteral("failed (%1)").arg(HostReport::resultName(post)),
                            converted));
}

void Session::endOfDownload()
{
    auto* items = new MediaEnumerator(m_destination, m_items);
    unsigned long count = static_cast<unsigned long>(m_items.size());
    const FxResult result = m_faces.sink3->PushAllMediaItems(*items, *m_messages, count, nullptr, neverCancel);
    items->Release();
    if (result == kFxOk)
        m_console.line(QStringLiteral("end of download: done"));
    else if (result == kFxErrNotImplemented)
        m_console.line(QStringLiteral("end of download: not implemented by the plug-in yet; nothing was deleted or handed on"));
    else
        m_console.line(QStringLiteral("end of download: the plug-in answered %1").arg(HostReport::resultName(result)));
    for (const DownloadedItem& item : m_items) {
        if (item.deleted)
            m_console.line(QStringLiteral("deleted original: %1").arg(shortName(item.sourcePath)));
        else if (!item.keptBecause.isEmpty())
            m_console.line(QStringLiteral("kept original: %1: %2").arg(shortName(item.sourcePath), item.keptBecause));
    }
}

void Session::summary(int total)
{
    int deleted = 0;
    for (const DownloadedItem& item : m_items)
        deleted += item.deleted ? 1 : 0;
    m_console.line(QStringLiteral("summary: %1 item(s) on the card, %2 copied and verified, %3 not copied, "
                                  "%4 processing failure(s), %5 original(s) deleted")
                       .arg(total)
                       .arg(m_items.size())
                       .arg(total - int(m_items.size()))
                       .arg(m_processingFailures)
                       .arg(deleted));
}

} // namespace

int runDownloadSession(ISource* source, const CommandLine& options, HostConsole& console,
                       const SessionFrontEnd& frontEnd)
{
    SinkFaces faces(source);
    if (!faces.complete()) {
        console.line(QStringLiteral("error: the plug-in lacks a face that a download needs"));
        return 1;
    }
    Session session(faces, options, console, frontEnd);
    return session.run();
}
