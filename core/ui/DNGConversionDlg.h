// The modal dialog in which the user sets the four DNG conversion options:
// JPEG preview size, lossless compression, conversion method and whether the
// original raw file is embedded. The caller reads the getters only when the
// dialog was accepted. UI thread only.
#pragma once

#include <QDialog>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QRadioButton;

class DNGConversionDlg : public QDialog {
    Q_OBJECT

public:
    // `compressed` ticks the lossless box; callers pass the negation of their
    // stored "uncompressed" setting. jpegPreviewIndex: 0 none, 1 medium, 2 full.
    DNGConversionDlg(QWidget* parent, bool embedOriginal, bool linear, bool compressed, int jpegPreviewIndex);

    // True when the lossless box is NOT ticked: the answer to "is the output
    // uncompressed?", the sense in which the preference is stored.
    bool getCompressionState() const;
    bool getEmbedOriginalRawFileStatus() const;
    // 0 none, 1 medium size, 2 full size.
    int getJpegPreviewSize() const;
    // True when the linear-image method is selected.
    bool getImageConversionMethod() const;

public slots:
    // Hides the conversion-method help while the linear method is selected and
    // shows it otherwise. Runs on user clicks only.
    void slotConversionOptionClicked(int id);

private:
    QLabel* m_previewLabel = nullptr;
    QComboBox* m_previewCombo = nullptr;
    QCheckBox* m_compressionCheckBox = nullptr;
    QRadioButton* m_preserveRawButton = nullptr;
    QRadioButton* m_linearButton = nullptr;
    QButtonGroup* m_methodGroup = nullptr;
    QLabel* m_methodHelpIcon = nullptr;
    QLabel* m_methodHelpText = nullptr;
    QCheckBox* m_embedCheckBox = nullptr;
    QLabel* m_embedHelpIcon = nullptr;
    QLabel* m_embedHelpText = nullptr;
    QPushButton* m_okButton = nullptr;
    QPushButton* m_cancelButton = nullptr;
};
