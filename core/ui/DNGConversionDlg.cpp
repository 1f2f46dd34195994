#include "DNGConversionDlg.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDebug>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "PtZString.h"

namespace {

// Relative to the host's current directory, like every shared asset.
const char kHelpIconPath[] = "../shared_assets/bitmaps/workflow_icons/C_iBubble_Md_N.png";

enum MethodId { kPreserveRaw = 0, kLinear = 1 };

QString z(const char* zstring)
{
    return PtZString::getZString(QString::fromUtf8(zstring));
}

QLabel* makeHelpIcon(QWidget* parent, const QPixmap& icon, const QString& name)
{
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setPixmap(icon);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    return label;
}

QLabel* makeHelpText(QWidget* parent, const QString& text, const QString& name)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setMinimumWidth(350);
    return label;
}

QHBoxLayout* helpRow(QLabel* icon, QLabel* text)
{
    auto* row = new QHBoxLayout;
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(text, 1);
    return row;
}

} // namespace

DNGConversionDlg::DNGConversionDlg(QWidget* parent, bool embedOriginal, bool linear, bool compressed,
                                   int jpegPreviewIndex)
    : QDialog(parent, Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::MSWindowsFixedSizeDialogHint)
{
    setObjectName(QStringLiteral("skiff selection dialog"));
    setModal(true);
    setWindowTitle(z("$$$/DngConversion/SettingsCaption=DNG Conversion Settings"));

    // Without the icon the help still reads; say once why it is missing.
    QPixmap helpIcon;
    if (!helpIcon.load(QString::fromUtf8(kHelpIconPath), "PNG"))
        qWarning("DNGConversionDlg: cannot load the help icon %s", kHelpIconPath);

    auto* previewGroup = new QGroupBox(z("$$$/DngConversion/Preview=Preview"), this);
    m_previewLabel = new QLabel(z("$$$/DngConversion/JPEGPreview=&JPEG Preview: "), previewGroup);
    m_previewLabel->setObjectName(QStringLiteral("preview_label"));
    m_previewCombo = new QComboBox(previewGroup);
    m_previewCombo->setObjectName(QStringLiteral("preview_options_combo"));
    m_previewCombo->setFocusPolicy(Qt::TabFocus);
    m_previewCombo->addItem(z("$$$/DngConversion/None=None"));
    m_previewCombo->addItem(z("$$$/DngConversion/MediumSize=Medium Size"));
    m_previewCombo->addItem(z("$$$/DngConversion/FullSize=Full Size"));
    m_previewCombo->setCurrentIndex(jpegPreviewIndex);
    m_previewLabel->setBuddy(m_previewCombo);
    auto* previewRow = new QHBoxLayout(previewGroup);
    previewRow->setSpacing(3);
    previewRow->addWidget(m_previewLabel);
    previewRow->addWidget(m_previewCombo);
    previewRow->addStretch(1);

    auto* compressionGroup = new QGroupBox(z("$$$/DngConversion/Compression=Compression"), this);
    m_compressionCheckBox =
        new QCheckBox(z("$$$/DngConversion/LossLess=&Compressed (lossless)"), compressionGroup);
    m_compressionCheckBox->setObjectName(QStringLiteral("compression_checkbox"));
    m_compressionCheckBox->setChecked(compressed);
    auto* compressionColumn = new QVBoxLayout(compressionGroup);
    compressionColumn->addWidget(m_compressionCheckBox);

    auto* methodGroup =
        new QGroupBox(z("$$$/DngConversion/ImageConversionMethod=Image Conversion Method"), this);
    m_preserveRawButton =
        new QRadioButton(z("$$$/DngConversion/PreserveRawImage=&Preserve Raw Image"), methodGroup);
    m_preserveRawButton->setObjectName(QStringLiteral("img_conversion_radio_button"));
    m_linearButton =
        new QRadioButton(z("$$$/DngConversion/ConverttoLinearImage=C&onvert to Linear Image"), methodGroup);
    m_linearButton->setObjectName(QStringLiteral("img_conversion_radio_button"));
    m_methodGroup = new QButtonGroup(this);
    m_methodGroup->setExclusive(true);
    m_methodGroup->addButton(m_preserveRawButton, kPreserveRaw);
    m_methodGroup->addButton(m_linearButton, kLinear);
    // idClicked(int) is Qt 5.15's name for buttonClicked(int).
    connect(m_methodGroup, &QButtonGroup::idClicked, this, &DNGConversionDlg::slotConversionOptionClicked);
    (linear ? m_linearButton : m_preserveRawButton)->setChecked(true);
    m_methodHelpIcon = makeHelpIcon(methodGroup, helpIcon, QStringLiteral("conversion_help_icon"));
    m_methodHelpText = makeHelpText(
        methodGroup,
        z("$$$/DngConversion/HelpOne=The image data is stored in the original \"mosaic\" format, if possible, "
          "which maximizes the amount of data preserved. Mosaic image data can be converted to linear data, "
          "but the reverse is not possible."),
        QStringLiteral("conversion_help_text"));
    auto* methodColumn = new QVBoxLayout(methodGroup);
    methodColumn->addWidget(m_preserveRawButton);
    methodColumn->addWidget(m_linearButton);
    methodColumn->addLayout(helpRow(m_methodHelpIcon, m_methodHelpText));

    auto* rawGroup = new QGroupBox(z("$$$/DngConversion/OriginalRawFile=Original Raw File"), this);
    m_embedCheckBox = new QCheckBox(z("$$$/DngConversion/EmbedOriginalRawFile=&Embed Original Raw File"), rawGroup);
    // Shares its name with the lossless box; scripts written against the
    // dialog know both under that name.
    m_embedCheckBox->setObjectName(QStringLiteral("compression_checkbox"));
    m_embedCheckBox->setChecked(embedOriginal);
    m_embedHelpIcon = makeHelpIcon(rawGroup, helpIcon, QStringLiteral("embed_help_icon"));
    m_embedHelpText = makeHelpText(
        rawGroup,
        z("$$$/DngConversion/HelpTwo=Embeds the entire non-DNG raw file inside the DNG file. This creates a "
          "larger DNG file, but it allows the original raw file to be extracted later if needed."),
        QStringLiteral("embed_help_text"));
    auto* rawColumn = new QVBoxLayout(rawGroup);
    rawColumn->addWidget(m_embedCheckBox);
    rawColumn->addLayout(helpRow(m_embedHelpIcon, m_embedHelpText));

    m_okButton = new QPushButton(PtZString::getOKString(), this);
    m_okButton->setObjectName(QStringLiteral("ok_button"));
    m_okButton->setDefault(true);
    connect(m_okButton, &QPushButton::clicked, this, &QDialog::accept);
    m_cancelButton = new QPushButton(PtZString::getCancelString(), this);
    m_cancelButton->setObjectName(QStringLiteral("cancel_button"));
    connect(m_cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttonRow = new QHBoxLayout;
    buttonRow->setSpacing(10);
    buttonRow->setContentsMargins(10, 10, 10, 10);
    buttonRow->addStretch(1);
    buttonRow->addWidget(m_okButton);
    buttonRow->addWidget(m_cancelButton);

    auto* mainLayout = new QVBoxLayout(this);
    mainLayout->setContentsMargins(15, 15, 15, 15);
    mainLayout->setSpacing(10);
    mainLayout->addWidget(previewGroup);
    mainLayout->addWidget(compressionGroup);
    mainLayout->addWidget(methodGroup);
    mainLayout->addWidget(rawGroup);
    mainLayout->addLayout(buttonRow);
}

bool DNGConversionDlg::getCompressionState() const
{
    return !m_compressionCheckBox->isChecked();
}

bool DNGConversionDlg::getEmbedOriginalRawFileStatus() const
{
    return m_embedCheckBox->isChecked();
}

int DNGConversionDlg::getJpegPreviewSize() const
{
    return m_previewCombo->currentIndex();
}

bool DNGConversionDlg::getImageConversionMethod() const
{
    return m_linearButton->isChecked();
}

void DNGConversionDlg::slotConversionOptionClicked(int)
{
    const bool showHelp = !m_linearButton->isChecked();
    m_methodHelpIcon->setVisible(showHelp);
    m_methodHelpText->setVisible(showHelp);
}
