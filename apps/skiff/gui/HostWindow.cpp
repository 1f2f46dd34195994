#include "HostWindow.h"

#include <QApplication>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "DownloadSession.h"
#include "HostMessages.h"
#include "QtPanel.h"
#include "WindowDialogs.h"

namespace {

template <typename T>
T* faceOf(ISource* source, long id)
{
    void* out = nullptr;
    return source && source->QueryInterface(id, &out) ? static_cast<T*>(out) : nullptr;
}

QString sinkText(ISinkUICapabilities* ui, FxResult (ISinkUICapabilities::*get)(FxChar*, int))
{
    FxChar buffer[1024] = {};
    if ((ui->*get)(buffer, int(sizeof buffer / sizeof buffer[0])) != kFxOk)
        return QString();
    buffer[1023] = 0;
    return fromFxText(buffer);
}

} // namespace

HostWindow::HostWindow(ISource* source, const CommandLine& options, QWidget* parent)
    : QMainWindow(parent), m_source(source), m_options(options)
{
    setWindowTitle(QStringLiteral("Skiff"));
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(buildPanel());
    layout->addWidget(buildChoosers());

    m_start = new QPushButton(QStringLiteral("Start download"), central);
    m_start->setObjectName(QStringLiteral("skiff_start"));
    m_start->setEnabled(m_panel != nullptr);
    connect(m_start, &QPushButton::clicked, this, [this] { startDownload(); });
    m_progress = new QProgressBar(central);
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    m_status = new QLabel(central);
    auto* row = new QHBoxLayout;
    row->addWidget(m_start);
    row->addWidget(m_progress, 1);
    layout->addLayout(row);
    layout->addWidget(m_status);

    m_log = new QPlainTextEdit(central);
    m_log->setReadOnly(true);
    m_log->setMinimumHeight(160);
    layout->addWidget(m_log, 1);
    if (!m_error.isEmpty())
        m_log->appendPlainText(QStringLiteral("error: %1").arg(m_error));
    setCentralWidget(central);
    resize(640, 560);
}

HostWindow::~HostWindow()
{
    if (m_panel) {
        m_panel->disconnect();
        m_ui->SetClientUIHandler(nullptr);
        m_panel->Release();
    }
    if (m_callback)
        m_callback->Release();
    if (m_util)
        m_util->Release();
    if (m_ui)
        m_ui->Release();
}

QWidget* HostWindow::buildPanel()
{
    auto* box = new QGroupBox(this);
    auto* layout = new QVBoxLayout(box);
    m_ui = faceOf<ISinkUICapabilities>(m_source, kIID_ISinkUICapabilities);
    m_callback = faceOf<IUICallback>(m_source, kIID_IUICallback);
    m_util = faceOf<ISinkUtilHandler2>(m_source, kIID_ISinkUtilHandler2);
    if (!m_ui || !m_callback || !m_util) {
        m_error = QStringLiteral("the plug-in has no settings panel");
        return box;
    }
    box->setTitle(sinkText(m_ui, &ISinkUICapabilities::GetCustomUICaption));
    box->setToolTip(sinkText(m_ui, &ISinkUICapabilities::GetCustomUISummary));
    const QString form = sinkText(m_ui, &ISinkUICapabilities::GetUIFilename);
    if (form.isEmpty()) {
        m_error = QStringLiteral("the plug-in names no panel form");
        return box;
    }
    m_panel = QtPanel::load(form, box, m_error);
    if (!m_panel)
        return box;
    layout->addWidget(m_panel->form());
    if (m_ui->SetClientUIHandler(m_panel) != kFxOk) {
        m_error = QStringLiteral("the plug-in refused its settings panel");
        m_panel->Release();
        m_panel = nullptr;
        return box;
    }
    // Reading the preferences is when the sink sets the widgets from them.
    fxInitRecord(m_preferences);
    if (m_util->GetPreferences(m_preferences.header) != kFxOk)
        m_error = QStringLiteral("the plug-in's preferences cannot be read");
    m_panel->connectTo(m_callback);
    return box;
}

QWidget* HostWindow::buildChoosers()
{
    auto* box = new QWidget(this);
    auto* form = new QFormLayout(box);
    const auto chooserRow = [&](QLineEdit*& edit, const QString& objectName, const QString& text,
                                const QString& label, const QString& caption) {
        edit = new QLineEdit(text, box);
        edit->setObjectName(objectName);
        auto* choose = new QPushButton(QStringLiteral("Choose..."), box);
        connect(choose, &QPushButton::clicked, this, [this, edit, caption] { chooseFolder(edit, caption); });
        auto* row = new QHBoxLayout;
        row->addWidget(edit, 1);
        row->addWidget(choose);
        form->addRow(label, row);
    };
    chooserRow(m_card, QStringLiteral("skiff_card"), m_options.card, QStringLiteral("Card:"),
               QStringLiteral("Choose the card folder"));
    chooserRow(m_destination, QStringLiteral("skiff_destination"), m_options.dest, QStringLiteral("Download to:"),
               QStringLiteral("Choose the download folder"));
    m_destination->setPlaceholderText(QStringLiteral("the plug-in's download location"));
    return box;
}

void HostWindow::chooseFolder(QLineEdit* edit, const QString& caption)
{
    const QString folder = QFileDialog::getExistingDirectory(this, caption, edit->text(), QFileDialog::ShowDirsOnly);
    if (!folder.isEmpty())
        edit->setText(folder);
}

int HostWindow::startDownload()
{
    if (!m_panel)
        return 1;
    if (m_card->text().trimmed().isEmpty()) {
        m_status->setText(QStringLiteral("Choose a card folder first."));
        return 1;
    }
    CommandLine options = m_options;
    options.card = m_card->text().trimmed();
    options.dest = m_destination->text().trimmed();
    // The session reads the preferences afresh, which sets the widgets from
    // them: what the user changed in the panel must be stored first.
    if (m_util->SetPreferences(m_preferences.header) != kFxOk) {
        m_status->setText(QStringLiteral("The plug-in's preferences cannot be stored."));
        return 1;
    }

    m_start->setEnabled(false);
    m_log->clear();
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    m_status->setText(QStringLiteral("Downloading..."));

    HostConsole console([this](const QString& text) { m_log->appendPlainText(text); });
    auto* messages = new WindowMessages(this);
    SessionFrontEnd frontEnd;
    frontEnd.panel = m_panel;
    frontEnd.messages = messages;
    frontEnd.makeProgress = [this] { return new WindowProgress(this); };
    frontEnd.itemDone = [this](int done, int total) {
        m_progress->setRange(0, total);
        m_progress->setValue(done);
        // The download runs on the UI thread: let the window draw each step.
        QApplication::processEvents();
        if (onItemDone)
            onItemDone(done, total);
    };
    const int status = runDownloadSession(m_source, options, console, frontEnd);
    messages->Release();

    m_status->setText(status == 0 ? QStringLiteral("Download complete.") : QStringLiteral("Download failed; see the log."));
    m_start->setEnabled(true);
    return status;
}
