// The settings panel: the form the host is pointed at, its texts, and what
// each widget event does, with the host's widgets as fakes and the plug-in's
// own dialogs real.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

#include <memory>

#include "AppFileUtils.h"
#include "CAppInfo.h"
#include "CAppSource.h"
#include "FakePanel.h"
#include "StageCopy.h"
#include "WhenShown.h"

namespace {

QString fromUnits(const FxChar* text, int size)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(text), size);
}

// Everything the plug-in can change on the panel, to compare before and after.
QString panelState(FakeUIHandler& panel)
{
    QString state;
    for (const auto& [name, w] : panel.widgets)
        state += QStringLiteral("%1:%2%3[%4|%5] ").arg(QString::fromStdString(name)).arg(w->checked).arg(w->enabled)
                     .arg(w->text, w->secondText);
    return state;
}

bool operator==(const CAppSource::DNGOptions& a, const CAppSource::DNGOptions& b)
{
    return a.uncompressed == b.uncompressed && a.linear == b.linear && a.embedRaw == b.embedRaw
        && a.jpegPreviewSize == b.jpegPreviewSize;
}

class CAppSourcePanel : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_stage->isValid());
        m_label.resize(160, 20);
        m_panel.widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL)->native = &m_label;
    }
    void TearDown() override
    {
        if (m_source) {
            EXPECT_EQ(m_source->Release(), 0);
        }
        EXPECT_EQ(m_panel.outstanding(), 0);
    }

    // The source, created after the test has chosen its language.
    CAppSource* source()
    {
        if (!m_source) {
            m_source = new CAppSource(CAppInfo{});
            m_source->AddRef();
            EXPECT_EQ(m_source->SetClientUIHandler(&m_panel), kFxOk);
        }
        return m_source;
    }
    void setLanguage(const QByteArray& language)
    {
        ASSERT_TRUE(m_stage->writeConfig(QStringLiteral("com.corvane.skiff"), "Language=" + language + "\n"));
    }
    FakeWidget* widget(const char* name) { return m_panel.widget(name); }

    std::unique_ptr<StageCopy> m_stage = std::make_unique<StageCopy>();
    FakeUIHandler m_panel{allPanelWidgets()};
    QLabel m_label;
    CAppSource* m_source = nullptr;
};

} // namespace

TEST_F(CAppSourcePanel, FormPathFollowsTheLocaleAndFallsBackToEnglish)
{
    const struct {
        const char* language;
        const char* form;
    } rows[] = {
        {nullptr, "../shared_assets/locales/en_us/Tessel_custom_options.ui"},
        {"de", "../shared_assets/locales/de_de/Tessel_custom_options.ui"},
        {"JA", "../shared_assets/locales/ja_jp/Tessel_custom_options.ui"},
        {"it", "../shared_assets/locales/en_us/Tessel_custom_options.ui"},
        {"de,fr", "../shared_assets/locales/en_us/Tessel_custom_options.ui"},
    };
    for (const auto& row : rows) {
        if (row.language)
            setLanguage(row.language);
        FxChar buf[300];
        std::fill(std::begin(buf), std::end(buf), FxChar(0xFFFF));
        ASSERT_EQ(source()->GetUIFilename(buf, 300), kFxOk);
        EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(buf)), QString::fromLatin1(row.form))
            << (row.language ? row.language : "(none)");
        EXPECT_TRUE(QFileInfo::exists(QString::fromUtf16(reinterpret_cast<const char16_t*>(buf))));
    }

    FxChar cut[12];
    std::fill(std::begin(cut), std::end(cut), FxChar(0xFFFF));
    ASSERT_EQ(source()->GetUIFilename(cut, 10), kFxOk);
    EXPECT_EQ(fromUnits(cut, 10), QStringLiteral("../shared_"));
    EXPECT_EQ(cut[10], 0xFFFF) << "at most size units are written";
    EXPECT_EQ(source()->GetUIFilename(nullptr, 10), kFxErrNoBuffer);
}

TEST_F(CAppSourcePanel, CaptionAndSummaryAreLocalised)
{
    const struct {
        const char* language;
        const char* caption;
        const char* summary;
    } rows[] = {
        {"en", "Advanced Options", "Open to view advanced options"},
        {"de", "Erweiterte Optionen", "\u00d6ffnen, um erweiterte Optionen anzuzeigen"},
    };
    for (const auto& row : rows) {
        setLanguage(row.language);
        CAppSource* fresh = new CAppSource(CAppInfo{});
        fresh->AddRef();
        FxChar buf[260] = {};
        ASSERT_EQ(fresh->GetCustomUICaption(buf, 260), kFxOk);
        EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(buf)), QString::fromUtf8(row.caption));
        std::fill(std::begin(buf), std::end(buf), FxChar(0));
        ASSERT_EQ(fresh->GetCustomUISummary(buf, 260), kFxOk);
        EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(buf)), QString::fromUtf8(row.summary));
        EXPECT_EQ(fresh->GetCustomUICaption(nullptr, 260), kFxErrNoBuffer);
        fresh->Release();
    }
}

TEST_F(CAppSourcePanel, CheckBoxesEnableTheWidgetsThatDependOnThem)
{
    const struct {
        const char* event;
        const char* box;
        bool checked;
        std::vector<const char*> followers;
    } rows[] = {
        {SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, true,
         {SKIFF_WIDGET_SECONDARY_BACKUP_LABEL, SKIFF_WIDGET_BROWSE_BUTTON}},
        {SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, false,
         {SKIFF_WIDGET_SECONDARY_BACKUP_LABEL, SKIFF_WIDGET_BROWSE_BUTTON}},
        {SKIFF_WIDGET_DNG_CHECKBOX, SKIFF_WIDGET_DNG_CHECKBOX, true, {SKIFF_WIDGET_SETTINGS_BUTTON}},
        {SKIFF_WIDGET_DNG_CHECKBOX, SKIFF_WIDGET_DNG_CHECKBOX, false, {SKIFF_WIDGET_SETTINGS_BUTTON}},
    };
    for (const auto& row : rows) {
        widget(row.box)->checked = row.checked;
        for (const char* follower : row.followers)
            widget(follower)->enabled = !row.checked;
        EXPECT_EQ(source()->handleUIEvent(row.event), 0);
        for (const char* follower : row.followers)
            EXPECT_EQ(widget(follower)->enabled, row.checked) << row.event << " -> " << follower;
        EXPECT_EQ(widget(row.box)->checked, row.checked) << "the box itself is only read";
    }
}

TEST_F(CAppSourcePanel, OtherNamesChangeNothing)
{
    widget(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX)->checked = true;
    widget(SKIFF_WIDGET_DNG_CHECKBOX)->checked = true;
    widget(SKIFF_WIDGET_BROWSE_BUTTON)->enabled = false;
    widget(SKIFF_WIDGET_SETTINGS_BUTTON)->enabled = false;
    const QString before = panelState(m_panel);
    const CAppSource::DNGOptions options = source()->dngOptions();
    for (const char* name : {SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX, SKIFF_WIDGET_DELETE_FILES_CHECKBOX,
                             SKIFF_WIDGET_SECONDARY_BACKUP_LABEL, "", "browse", "savecopies_checkbox ",
                             "SETTINGS_BUTTON", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(source()->handleUIEvent(name), 0) << (name ? name : "(null)");
        EXPECT_EQ(panelState(m_panel), before) << (name ? name : "(null)");
    }
    EXPECT_TRUE(source()->dngOptions() == options);
    EXPECT_TRUE(source()->backupFolder().isEmpty());
}

TEST_F(CAppSourcePanel, SettingsButtonKeepsTheDialogsOptionsOnlyOnOK)
{
    for (const bool accept : {false, true}) {
        widget(SKIFF_WIDGET_DNG_CHECKBOX)->checked = true;
        widget(SKIFF_WIDGET_SETTINGS_BUTTON)->enabled = false;
        const CAppSource::DNGOptions before = source()->dngOptions();
        bool shown = false;
        whenShown("DNGConversionDlg", [&](QDialog* dialog) {
            shown = true;
            auto* combo = dialog->findChild<QComboBox*>(QStringLiteral("preview_options_combo"));
            QCheckBox* compressed = nullptr;
            QCheckBox* embed = nullptr;
            for (QCheckBox* box : dialog->findChildren<QCheckBox*>(QStringLiteral("compression_checkbox")))
                (box->text().contains(QStringLiteral("lossless")) ? compressed : embed) = box;
            QRadioButton* linear = nullptr;
            for (QRadioButton* radio : dialog->findChildren<QRadioButton*>(QStringLiteral("img_conversion_radio_button")))
                if (radio->text().contains(QStringLiteral("Linear")))
                    linear = radio;
            if (!combo || !compressed || !embed || !linear) {
                ADD_FAILURE() << "the conversion dialog's widgets";
                dialog->reject();
                return;
            }
            // The dialog opens with the source's options.
            EXPECT_EQ(combo->currentIndex(), before.jpegPreviewSize);
            EXPECT_EQ(compressed->isChecked(), !before.uncompressed);
            EXPECT_EQ(embed->isChecked(), before.embedRaw);
            EXPECT_EQ(linear->isChecked(), before.linear);
            combo->setCurrentIndex(2);
            compressed->setChecked(false);
            embed->setChecked(true);
            linear->click();
            accept ? dialog->accept() : dialog->reject();
        });
        EXPECT_EQ(source()->handleUIEvent(SKIFF_WIDGET_SETTINGS_BUTTON), 0);
        EXPECT_TRUE(shown);
        EXPECT_TRUE(widget(SKIFF_WIDGET_SETTINGS_BUTTON)->enabled) << "follows the DNG box first";
        const CAppSource::DNGOptions after = source()->dngOptions();
        if (accept) {
            EXPECT_EQ(after.jpegPreviewSize, 2);
            EXPECT_TRUE(after.uncompressed);
            EXPECT_TRUE(after.embedRaw);
            EXPECT_TRUE(after.linear);
        } else {
            EXPECT_TRUE(after == before) << "cancel keeps the options";
        }
    }
}

namespace {

// Answers the next folder chooser with `folder` (empty: cancel), checking
// its caption and, unless empty, its start; `then` runs after the answer, before the chooser's
// result reaches the plug-in.
void answerChooser(const QString& folder, const QString& start, std::function<void()> then = {})
{
    whenShown("QFileDialog", [=](QDialog* dialog) {
        auto* chooser = qobject_cast<QFileDialog*>(dialog);
        if (!chooser) {
            ADD_FAILURE() << "expected the folder chooser, got " << dialog->metaObject()->className();
            dialog->reject();
            return;
        }
        EXPECT_EQ(chooser->windowTitle(), QStringLiteral("Select folder to store backup copies:"));
        if (!start.isEmpty()) {
            EXPECT_EQ(chooser->directory().absolutePath(), QDir(start).absolutePath());
        }
        EXPECT_TRUE(chooser->testOption(QFileDialog::ShowDirsOnly)) << "directories only";
        if (folder.isEmpty()) {
            chooser->reject();
        } else {
            chooser->setDirectory(folder);
            dialog->accept(); // the chooser's own accept checks the folder

        }
        if (then)
            then();
    });
}

// Expects the warning about an unwritable folder and presses OK; `then`
// runs after the box is closed.
void answerWarning(int* count, std::function<void()> then)
{
    whenShown("PtMessageBox", [=](QDialog* dialog) {
        ++*count;
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Cannot Write to Directory"));
        auto* text = dialog->findChild<QLabel*>(QStringLiteral("messageBox.label"));
        EXPECT_TRUE(text && text->text() == QStringLiteral(
                        "Cannot write to the specified directory. Please choose a different directory."));
        auto* ok = dialog->findChild<QPushButton*>(QStringLiteral("messageBox.button0"));
        if (then)
            then();
        ok ? ok->click() : dialog->reject();
    });
}

} // namespace

TEST_F(CAppSourcePanel, BrowseButtonKeepsOnlyAWritableFolder)
{
    QTemporaryDir folders;
    const QString start = folders.filePath(QStringLiteral("start"));
    const QString chosen = folders.filePath(QStringLiteral("a rather long folder name/for the backup copies"));
    const QString gone = folders.filePath(QStringLiteral("gone"));
    ASSERT_TRUE(QDir().mkpath(start) && QDir().mkpath(chosen));
    const auto vanish = [gone] { QDir(gone).removeRecursively(); };

    enum Answer { Cancel, Chosen, Gone };
    const struct {
        const char* name;
        std::vector<Answer> answers;
        bool kept;
    } rows[] = {
        {"cancelled", {Cancel}, false},
        {"writable", {Chosen}, true},
        {"gone, then writable", {Gone, Chosen}, true},
        {"gone, then cancelled", {Gone, Cancel}, false},
        {"gone twice, then writable", {Gone, Gone, Chosen}, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(QDir().mkpath(gone));
        // The source starts from a backup folder it already has.
        ASSERT_TRUE(m_source == nullptr || m_source->Release() == 0);
        m_source = nullptr;
        FakeWidget* save = widget(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX);
        save->checked = true;
        source()->handleUIEvent(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX);
        answerChooser(start, QString());
        source()->handleUIEvent(SKIFF_WIDGET_BROWSE_BUTTON);
        ASSERT_EQ(source()->backupFolder(), start);
        const QString before = panelState(m_panel);

        // Each answer schedules the next dialog before it closes its own.
        int warnings = 0;
        std::function<void(std::size_t)> schedule = [&](std::size_t i) {
            if (i == row.answers.size())
                return;
            switch (row.answers[i]) {
            case Cancel:
                answerChooser(QString(), start);
                break;
            case Chosen:
                answerChooser(chosen, start);
                break;
            case Gone:
                answerChooser(gone, start, [&, i] {
                    vanish();
                    answerWarning(&warnings, [&, i] {
                        ASSERT_TRUE(QDir().mkpath(gone));
                        schedule(i + 1);
                    });
                });
                break;
            }
        };
        schedule(0);
        EXPECT_EQ(source()->handleUIEvent(SKIFF_WIDGET_BROWSE_BUTTON), 0);
        EXPECT_EQ(warnings, std::count(row.answers.begin(), row.answers.end(), Gone));

        FakeWidget* label = widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL);
        if (row.kept) {
            EXPECT_EQ(source()->backupFolder(), chosen);
            EXPECT_EQ(label->secondText, chosen);
            QString fitted;
            QFont font = m_label.font();
            font.setWeight(font.bold() ? 75 : 50);
            fitPath(chosen, fitted, QFontMetrics(font), m_label.rect());
            EXPECT_EQ(label->text, fitted);
            EXPECT_NE(label->text, chosen) << "the label is too narrow for the whole path";
        } else {
            EXPECT_EQ(source()->backupFolder(), start);
            EXPECT_EQ(panelState(m_panel), before) << "the label is left as it was";
        }
    }
}
