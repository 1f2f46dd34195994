#include "GalleryScenes.h"

#include <QFile>
#include <QLabel>
#include <QRadioButton>
#include <QUiLoader>

#include "DNGConversionDlg.h"
#include "PtMessageBox.h"
#include "PtProgressDialog.h"
#include "PtZString.h"

namespace {

QString z(const char* literal)
{
    return PtZString::getZString(QString::fromUtf8(literal));
}

const QString kFolder = QStringLiteral("/home/user/Pictures/2024-06-01");

// The same box the static functions build, shown without running it modally.
std::unique_ptr<QWidget> box(QMessageBox::Icon icon, const QString& title, const QString& text,
                             const QString& b0, const QString& b1, int escape, int defaultIndex,
                             const QString& checkBoxText = QString(), bool checked = false)
{
    return std::make_unique<PtMessageBox>(nullptr, icon, title, text, b0, b1, QString(), QString(), QString(),
                                          escape, checkBoxText, checked, defaultIndex);
}

void clickLinearMethod(QWidget* dialog)
{
    const QString linearText = z("$$$/DngConversion/ConverttoLinearImage=C&onvert to Linear Image");
    for (auto* radio : dialog->findChildren<QRadioButton*>(QStringLiteral("img_conversion_radio_button"))) {
        if (radio->text() == linearText)
            radio->click();
    }
}

// The settings panel as the host loads it: the locale's form, the backup
// folder shown in its label. A form that does not load leaves a null widget,
// which the gallery reports as a failed picture.
std::unique_ptr<QWidget> settingsPanel(const QString& locale)
{
    QFile form(QStringLiteral("../shared_assets/locales/%1/Tessel_custom_options.ui").arg(locale));
    if (!form.open(QIODevice::ReadOnly))
        return nullptr;
    QUiLoader loader;
    std::unique_ptr<QWidget> panel(loader.load(&form));
    if (!panel)
        return nullptr;
    if (auto* label = panel->findChild<QLabel*>(QStringLiteral("secondarybackup_label")))
        label->setText(QStringLiteral("/home/user/Pictures/Backups"));
    panel->resize(panel->sizeHint().expandedTo(QSize(420, 0)));
    return panel;
}

} // namespace

std::vector<GalleryScene> galleryScenes(const QString& locale)
{
    std::vector<GalleryScene> scenes;
    scenes.push_back({QStringLiteral("message_warning"), [] {
        return box(QMessageBox::Warning,
                   z("$$$/PtQuickViewer/InvalidDirectoryCaption=Cannot Write to Directory"),
                   z("$$$/PtQuickViewer/InvalidDirectoryMessg=Cannot write to the specified directory. "
                     "Please choose a different directory."),
                   PtZString::getOKString(), QString(), 0, 0);
    }, nullptr});
    scenes.push_back({QStringLiteral("message_question"), [] {
        return box(QMessageBox::Question, z("$$$/AppSource/VerifyDelete/Caption=Corvane Tessel"),
                   z("$$$/AppSource/VerifyDelete/Text=Files have been successfully copied to ") + kFolder +
                       z("$$$/AppSource/VerifyDelete/Text2=. Do you want to delete these files from your "
                         "camera, or card reader?"),
                   PtZString::getYesString(), PtZString::getNoString(), 1, 0);
    }, nullptr});
    scenes.push_back({QStringLiteral("message_information"), [] {
        return box(QMessageBox::Information, z("$$$/AppSource/FilesCopiedCaption=Files Successfully Copied"),
                   z("$$$/AppSource/DumpAndRun=Files have been successfully copied to ") + kFolder,
                   PtZString::getOKString(), QString(), 0, 0);
    }, nullptr});
    scenes.push_back({QStringLiteral("message_critical"), [] {
        return box(QMessageBox::Critical, z("$$$/AppSource/Deleteprogress/FilesNotDeleted=Corvane Tessel"),
                   z("$$$/AppSource/FilesNotDeletedText=One or more files cannot be deleted. This may be "
                     "because the files have been locked."),
                   PtZString::getOKString(), QString(), 0, 0);
    }, nullptr});
    // dialogWithCB's layout: OK and Cancel, escape index 1, no default button.
    scenes.push_back({QStringLiteral("message_checkbox"), [] {
        return box(QMessageBox::Question, z("$$$/AppSource/VerifyDelete/Caption=Corvane Tessel"),
                   z("$$$/AppSource/VerifyDelete/Text=Files have been successfully copied to ") + kFolder +
                       z("$$$/AppSource/VerifyDelete/Text2=. Do you want to delete these files from your "
                         "camera, or card reader?"),
                   PtZString::getOKString(), PtZString::getCancelString(), 1, -1,
                   z("$$$/PtMessageBox/DoNotAskAgain=&Do not ask again"), true);
    }, nullptr});
    scenes.push_back({QStringLiteral("progress"), [] {
        auto dialog = std::make_unique<PtProgressDialog>(
            nullptr, z("$$$/AppSource/DeleteProgress/DeleteCaption=Deleting Photos..."),
            z("$$$/AppSource/DeleteProgress/Cancel=Cancel"), 4);
        // Two of four files done, half-way through the third: 312 of 500.
        dialog->setProgress(2);
        dialog->createProgressLevel(10);
        dialog->setProgress(5);
        return std::unique_ptr<QWidget>(std::move(dialog));
    }, nullptr});
    // The end of the scale: the bar stays full until the work closes the dialog.
    scenes.push_back({QStringLiteral("progress_complete"), [] {
        auto dialog = std::make_unique<PtProgressDialog>(
            nullptr, z("$$$/AppSource/DeleteProgress/DeleteCaption=Deleting Photos..."),
            z("$$$/AppSource/DeleteProgress/Cancel=Cancel"), 4);
        dialog->setProgress(4);
        return std::unique_ptr<QWidget>(std::move(dialog));
    }, nullptr});
    scenes.push_back({QStringLiteral("dng_settings"), [] {
        return std::unique_ptr<QWidget>(std::make_unique<DNGConversionDlg>(nullptr, false, false, true, 1));
    }, nullptr});
    // After a click on the linear method the conversion-method help goes away.
    scenes.push_back({QStringLiteral("dng_settings_linear"), [] {
        return std::unique_ptr<QWidget>(std::make_unique<DNGConversionDlg>(nullptr, true, false, false, 2));
    }, clickLinearMethod});
    scenes.push_back({QStringLiteral("settings_panel"), [locale] { return settingsPanel(locale); }, nullptr});
    return scenes;
}
