#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include "DNGConversionDlg.h"
#include "ModalRunner.h"
#include "PtZString.h"

namespace {

QString z(const char* literal) { return PtZString::getZString(QString::fromUtf8(literal)); }

struct Widgets {
    QComboBox* combo;
    QCheckBox* compression;
    QCheckBox* embed;
    QRadioButton* preserve;
    QRadioButton* linear;
    QLabel* methodHelpIcon;
    QLabel* methodHelpText;
    QLabel* embedHelpIcon;
    QLabel* embedHelpText;
    QPushButton* ok;
    QPushButton* cancel;
};

// Two check boxes share one name, and so do the two radio buttons; their
// texts tell them apart.
template <class T>
T* namedWithText(QWidget* dialog, const char* name, const QString& text)
{
    for (T* widget : dialog->findChildren<T*>(QString::fromUtf8(name))) {
        if (widget->text() == text)
            return widget;
    }
    return nullptr;
}

Widgets find(QWidget* d)
{
    return {
        d->findChild<QComboBox*>("preview_options_combo"),
        namedWithText<QCheckBox>(d, "compression_checkbox", z("$$$/DngConversion/LossLess=&Compressed (lossless)")),
        namedWithText<QCheckBox>(d, "compression_checkbox",
                                 z("$$$/DngConversion/EmbedOriginalRawFile=&Embed Original Raw File")),
        namedWithText<QRadioButton>(d, "img_conversion_radio_button",
                                    z("$$$/DngConversion/PreserveRawImage=&Preserve Raw Image")),
        namedWithText<QRadioButton>(d, "img_conversion_radio_button",
                                    z("$$$/DngConversion/ConverttoLinearImage=C&onvert to Linear Image")),
        d->findChild<QLabel*>("conversion_help_icon"),
        d->findChild<QLabel*>("conversion_help_text"),
        d->findChild<QLabel*>("embed_help_icon"),
        d->findChild<QLabel*>("embed_help_text"),
        d->findChild<QPushButton*>("ok_button"),
        d->findChild<QPushButton*>("cancel_button"),
    };
}

void expectAllFound(const Widgets& w)
{
    ASSERT_NE(w.combo, nullptr);
    ASSERT_NE(w.compression, nullptr);
    ASSERT_NE(w.embed, nullptr);
    ASSERT_NE(w.preserve, nullptr);
    ASSERT_NE(w.linear, nullptr);
    ASSERT_NE(w.methodHelpIcon, nullptr);
    ASSERT_NE(w.methodHelpText, nullptr);
    ASSERT_NE(w.embedHelpIcon, nullptr);
    ASSERT_NE(w.embedHelpText, nullptr);
    ASSERT_NE(w.ok, nullptr);
    ASSERT_NE(w.cancel, nullptr);
}

} // namespace

TEST(DNGConversionDlg, NamesEveryWidgetAndShowsTheTexts)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 1);
    EXPECT_EQ(dialog.objectName(), "skiff selection dialog");
    EXPECT_TRUE(dialog.isModal());
    EXPECT_EQ(dialog.windowTitle(), "DNG Conversion Settings");
    const Qt::WindowFlags flags = dialog.windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::CustomizeWindowHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowTitleHint));
    EXPECT_TRUE(flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    EXPECT_EQ(dialog.layout()->contentsMargins(), QMargins(15, 15, 15, 15));
    EXPECT_EQ(dialog.layout()->spacing(), 10);

    EXPECT_EQ(dialog.findChildren<QCheckBox*>("compression_checkbox").size(), 2);
    EXPECT_EQ(dialog.findChildren<QRadioButton*>("img_conversion_radio_button").size(), 2);
    const Widgets w = find(&dialog);
    expectAllFound(w);

    ASSERT_EQ(w.combo->count(), 3);
    EXPECT_EQ(w.combo->itemText(0), "None");
    EXPECT_EQ(w.combo->itemText(1), "Medium Size");
    EXPECT_EQ(w.combo->itemText(2), "Full Size");
    EXPECT_EQ(w.combo->focusPolicy(), Qt::TabFocus);
    auto* previewLabel = dialog.findChild<QLabel*>("preview_label");
    ASSERT_NE(previewLabel, nullptr);
    EXPECT_EQ(previewLabel->text(), "&JPEG Preview: ");
    EXPECT_EQ(previewLabel->buddy(), w.combo);

    QStringList groups;
    for (QGroupBox* group : dialog.findChildren<QGroupBox*>())
        groups << group->title();
    EXPECT_EQ(groups, QStringList({"Preview", "Compression", "Image Conversion Method", "Original Raw File"}));

    for (QLabel* help : {w.methodHelpText, w.embedHelpText}) {
        EXPECT_TRUE(help->wordWrap());
        EXPECT_EQ(help->minimumWidth(), 350);
    }
    EXPECT_TRUE(w.methodHelpText->text().startsWith("The image data is stored in the original \"mosaic\" format"));
    EXPECT_TRUE(w.embedHelpText->text().endsWith("to be extracted later if needed."));

    EXPECT_EQ(w.ok->text(), PtZString::getOKString());
    EXPECT_EQ(w.cancel->text(), PtZString::getCancelString());
    EXPECT_TRUE(w.ok->isDefault());
    EXPECT_FALSE(w.cancel->isDefault());
}

TEST(DNGConversionDlg, LoadsTheStagedHelpIconRelativeToTheCurrentDirectory)
{
    // The host runs from bin/ and finds shared assets beside it.
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    const QString iconDir = root.path() + "/shared_assets/bitmaps/workflow_icons";
    ASSERT_TRUE(QDir().mkpath(iconDir));
    ASSERT_TRUE(QDir().mkpath(root.path() + "/bin"));
    ASSERT_TRUE(QFile::copy(TESSEL_STAGE_DIR "/shared_assets/bitmaps/workflow_icons/C_iBubble_Md_N.png",
                            iconDir + "/C_iBubble_Md_N.png"));
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(root.path() + "/bin"));
    auto dialog = std::make_unique<DNGConversionDlg>(nullptr, true, false, true, 0);
    QDir::setCurrent(previous);

    const Widgets w = find(dialog.get());
    expectAllFound(w);
    for (QLabel* icon : {w.methodHelpIcon, w.embedHelpIcon}) {
        const QPixmap pixmap = icon->pixmap(Qt::ReturnByValue);
        ASSERT_FALSE(pixmap.isNull());
        EXPECT_EQ(pixmap.size(), QSize(18, 18));
        EXPECT_TRUE(pixmap.hasAlphaChannel());
    }
}

TEST(DNGConversionDlg, StartsFromTheArgumentsAndReadsThemBack)
{
    const struct {
        bool embed, linear, compressed;
        int preview;
    } rows[] = {
        {false, false, false, 0}, {true, true, true, 2}, {true, false, true, 1}, {false, true, false, 2},
    };
    for (const auto& row : rows) {
        DNGConversionDlg dialog(nullptr, row.embed, row.linear, row.compressed, row.preview);
        const Widgets w = find(&dialog);
        expectAllFound(w);
        EXPECT_EQ(w.compression->isChecked(), row.compressed);
        EXPECT_EQ(dialog.getCompressionState(), !row.compressed) << "true means the output is uncompressed";
        EXPECT_EQ(w.embed->isChecked(), row.embed);
        EXPECT_EQ(dialog.getEmbedOriginalRawFileStatus(), row.embed);
        EXPECT_EQ(w.linear->isChecked(), row.linear);
        EXPECT_EQ(w.preserve->isChecked(), !row.linear);
        EXPECT_EQ(dialog.getImageConversionMethod(), row.linear);
        EXPECT_EQ(w.combo->currentIndex(), row.preview);
        EXPECT_EQ(dialog.getJpegPreviewSize(), row.preview);
    }
}

TEST(DNGConversionDlg, HelpHidesAndShowsWithTheMethodClicks)
{
    DNGConversionDlg dialog(nullptr, false, true, true, 0);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    const Widgets w = find(&dialog);
    expectAllFound(w);
    EXPECT_TRUE(w.methodHelpText->isVisible()) << "opened with linear selected, the help shows until a click";
    EXPECT_TRUE(w.methodHelpIcon->isVisible());

    const struct {
        QRadioButton* click;
        bool helpVisible;
    } clicks[] = {{w.linear, false}, {w.preserve, true}, {w.preserve, true}, {w.linear, false}, {w.linear, false}};
    for (const auto& step : clicks) {
        QTest::mouseClick(step.click, Qt::LeftButton);
        EXPECT_EQ(w.methodHelpText->isVisible(), step.helpVisible);
        EXPECT_EQ(w.methodHelpIcon->isVisible(), step.helpVisible);
        EXPECT_TRUE(w.embedHelpText->isVisible()) << "the other help never hides";
        EXPECT_EQ(dialog.getImageConversionMethod(), step.click == w.linear);
    }
}

TEST(DNGConversionDlg, OkAcceptsTheEditsAndCancelOrEscapeRejects)
{
    enum Close { ClickOk, PressReturn, ClickCancel, PressEscape };
    const struct {
        Close close;
        int result;
    } rows[] = {
        {ClickOk, QDialog::Accepted},
        {PressReturn, QDialog::Accepted},
        {ClickCancel, QDialog::Rejected},
        {PressEscape, QDialog::Rejected},
    };
    for (const auto& row : rows) {
        DNGConversionDlg dialog(nullptr, false, false, false, 2);
        onNextModal([row](QDialog* shown) {
            const Widgets w = find(shown);
            QTest::mouseClick(w.compression, Qt::LeftButton);
            QTest::mouseClick(w.embed, Qt::LeftButton);
            QTest::mouseClick(w.linear, Qt::LeftButton);
            switch (row.close) {
            case ClickOk: QTest::mouseClick(w.ok, Qt::LeftButton); break;
            case PressReturn: QTest::keyClick(shown, Qt::Key_Return); break;
            case ClickCancel: QTest::mouseClick(w.cancel, Qt::LeftButton); break;
            case PressEscape: QTest::keyClick(shown, Qt::Key_Escape); break;
            }
        });
        EXPECT_EQ(dialog.exec(), row.result);
        EXPECT_EQ(dialog.getJpegPreviewSize(), 2);
        if (row.result == QDialog::Accepted) {
            EXPECT_FALSE(dialog.getCompressionState()) << "ticking the lossless box means compressed output";
            EXPECT_TRUE(dialog.getEmbedOriginalRawFileStatus());
            EXPECT_TRUE(dialog.getImageConversionMethod());
        }
    }
}
