// The plug-in's settings panel: the form the host builds it from, its
// caption and summary, and what each of its widgets does when used.
#include "CAppSource.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QWidget>

#include <cstring>

#include "AppFileUtils.h"
#include "AppLocale.h"
#include "DNGConversionDlg.h"
#include "PtMessageBox.h"
#include "PtZString.h"
#include "ptucs.h"

namespace {

const QString kFormFolder = QStringLiteral("../shared_assets/locales/");
const QString kFormName = QStringLiteral("/Tessel_custom_options.ui");

FxResult copyText(FxChar* buf, int size, const QString& text)
{
    if (!buf)
        return kFxErrNoBuffer;
    ptucsncpy(buf, text.utf16(), size);
    return kFxOk;
}

// The host's dialogs need a widget application; without one nothing can be asked.
bool canShowDialogs()
{
    return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

QString askForFolder(const QString& start)
{
    const QString caption =
        PtZString::getZString(QStringLiteral("$$$/AppSource/SelectDirToStoreImages=Select folder to store backup copies:"));
    return QFileDialog::getExistingDirectory(QApplication::activeWindow(), caption, start, QFileDialog::ShowDirsOnly);
}

} // namespace

FxResult CAppSource::GetUIFilename(FxChar* buf, int size)
{
    try {
        unsigned short locale[1024] = {};
        QString code = QStringLiteral("en_us");
        if (getApplicationLocale(locale))
            code = QString::fromUtf16(reinterpret_cast<const char16_t*>(locale));
        QString form = kFormFolder + code + kFormName;
        if (!QFileInfo::exists(form))
            form = kFormFolder + QStringLiteral("en_us") + kFormName;
        return copyText(buf, size, form);
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CAppSource::GetCustomUICaption(FxChar* buf, int size)
{
    try {
        return copyText(buf, size, PtZString::getZString(QStringLiteral("$$$/AppSource/AdvancedOptionsOpen=Advanced Options")));
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CAppSource::GetCustomUISummary(FxChar* buf, int size)
{
    try {
        return copyText(buf, size,
                        PtZString::getZString(
                            QStringLiteral("$$$/AppSource/AdvancedOptionsSummary=Open to view advanced options")));
    } catch (...) {
        return kFxErrFailure;
    }
}

FxResult CAppSource::SetClientUIHandler(IClientUIHandler* handler)
{
    try {
        m_panel.take(handler);
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

long CAppSource::handleUIEvent(const char* widgetName)
{
    try {
        if (!widgetName)
            return 0;
        const auto is = [widgetName](const char* name) { return std::strcmp(widgetName, name) == 0; };
        IFxWidget* settings = m_panel.settingsButton();
        IFxWidget* dng = m_panel.dngCheckbox();
        if (is(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX)) {
            if (IFxWidget* save = m_panel.saveCopiesCheckbox()) {
                const bool on = save->IsChecked();
                if (m_panel.secondaryBackupLabel())
                    m_panel.secondaryBackupLabel()->SetEnabled(on);
                if (m_panel.browseButton())
                    m_panel.browseButton()->SetEnabled(on);
            }
        }
        // The settings button follows the DNG box before its own dialog opens.
        if ((is(SKIFF_WIDGET_SETTINGS_BUTTON) || is(SKIFF_WIDGET_DNG_CHECKBOX)) && settings && dng)
            settings->SetEnabled(dng->IsChecked());
        if (is(SKIFF_WIDGET_SETTINGS_BUTTON))
            editDNGOptions();
        else if (is(SKIFF_WIDGET_BROWSE_BUTTON))
            chooseBackupFolder();
        return 0;
    } catch (...) {
        return 0;
    }
}

void CAppSource::editDNGOptions()
{
    if (!canShowDialogs())
        return;
    DNGConversionDlg dialog(QApplication::activeWindow(), m_dngOptions.embedRaw, m_dngOptions.linear,
                            !m_dngOptions.uncompressed, m_dngOptions.jpegPreviewSize);
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_dngOptions.embedRaw = dialog.getEmbedOriginalRawFileStatus();
    m_dngOptions.linear = dialog.getImageConversionMethod();
    m_dngOptions.jpegPreviewSize = dialog.getJpegPreviewSize();
    m_dngOptions.uncompressed = dialog.getCompressionState();
}

void CAppSource::chooseBackupFolder()
{
    if (!canShowDialogs())
        return;
    QString folder = askForFolder(m_backupFolder);
    // An unwritable folder is never kept: the user is told and asked again
    // until a writable one is chosen or the chooser is cancelled.
    while (!folder.isEmpty() && !isFolderWritable(folder)) {
        const QString caption =
            PtZString::getZString(QStringLiteral("$$$/PtQuickViewer/InvalidDirectoryCaption=Cannot Write to Directory"));
        const QString text = PtZString::getZString(QStringLiteral(
            "$$$/PtQuickViewer/InvalidDirectoryMessg=Cannot write to the specified directory. Please choose a "
            "different directory."));
        PtMessageBox::warning(QApplication::activeWindow(), caption, text, PtZString::getOKString(), QString(),
                              QString(), 0, 0);
        folder = askForFolder(m_backupFolder);
    }
    if (!folder.isEmpty())
        showBackupFolder(folder);
}

void CAppSource::showBackupFolder(const QString& folder)
{
    m_backupFolder = QDir::toNativeSeparators(folder);
    IFxWidget* label = m_panel.secondaryBackupLabel();
    if (!label)
        return;
    QString shown = m_backupFolder;
    if (auto* widget = static_cast<QWidget*>(label->NativeWidget())) {
        QFont font = widget->font();
        font.setWeight(font.bold() ? 75 : 50);
        fitPath(m_backupFolder, shown, QFontMetrics(font), widget->rect());
    }
    label->SetText(shown.utf16());
    label->SetSecondText(m_backupFolder.utf16());
}
