// Filling the host's preference record, and the panel widgets that the
// settings drive, from the store or from the built-in defaults.
#include "CAppSource.h"

#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "IPtPreferences.h"
#include "PtZString.h"
#include "StoredPreferences.h"

namespace {

constexpr char kDefaultBatchRename[] = "0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6";
constexpr long kDefaultBatchRenameRoom = 1024;

void toField(FxChar* field, std::size_t capacity, const QString& text)
{
    const std::size_t n = std::min<std::size_t>(std::size_t(text.size()), capacity - 1);
    std::memcpy(field, text.utf16(), n * sizeof(FxChar));
    std::memset(field + n, 0, (capacity - n) * sizeof(FxChar));
}

void setDefaultBatchRename(CPropAppPreferences3& record)
{
    record.setBatchRenamePreference(kDefaultBatchRename, sizeof kDefaultBatchRename - 1);
}

} // namespace

FxResult CAppSource::GetPreferences(CProp& header)
{
    if (!header.is<CPropAppPreferences3>())
        return kFxErrInvalidArg;
    try {
        auto& record = fxRecord<CPropAppPreferences3>(header);
        CPropAppPreferences3 fresh;
        CPropAppPreferences3::initFresh(fresh);
        record = fresh;
        if (m_preferences && m_preferences->HasDomain(3)) {
            readStoredPreferences(record);
            applyBackdropColours(record);
        } else {
            applyDefaultPreferences(record);
        }

        IFxWidget* dng = m_panel.dngCheckbox();
        if (!m_convertToDNG && dng) {
            dng->SetChecked(false);
            dng->SetEnabled(false);
            const QString missing =
                PtZString::getZString(QStringLiteral("$$$/AppSource/DNGConverterNotFound=DNG Converter missing or corrupt"));
            dng->SetText(missing.utf16());
            if (m_panel.settingsButton())
                m_panel.settingsButton()->SetEnabled(false);
        }
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

void CAppSource::readStoredPreferences(CPropAppPreferences3& record)
{
    StoredPreferences stored(m_preferences);
    stored.text("XMLFileVersion");
    const long long batchSize = stored.integer("BatchRenamePreferenceSize");
    const bool batchSized = batchSize > 0 && batchSize <= StoredPreferences::kMaxTextSize;
    const QByteArray batch =
        stored.bytesOfSize("BatchRenamePreference", batchSized ? long(batchSize) : kDefaultBatchRenameRoom);
    if (batchSized)
        record.setBatchRenamePreference(batch.constData(), std::size_t(batch.size()));
    else
        setDefaultBatchRename(record);
    record.createSubfoldersComboIndex = std::int32_t(stored.integer("CreateSubfoldersComboIndex"));
    record.renameFilesComboIndex = std::int32_t(stored.integer("RenameFilesComboIndex"));
    record.applyMetadataGroupOpen = stored.flag("ApplyMetadataGroupOpen");
    const QByteArray author = stored.bytes("ApplyMetadataAuthorName");
    record.setApplyMetadataAuthorName(author.constData(), author.size());
    const QByteArray copyright = stored.bytes("ApplyMetadataCopyright");
    record.setApplyMetadataCopyright(copyright.constData(), copyright.size());
    const QByteArray templateName = stored.bytes("ApplyMetadataTemplateName");
    record.setApplyMetadataTemplateName(templateName.constData(), templateName.size());
    const QByteArray mobile = stored.bytes("MobileFolderSetting");
    record.SetMobileFolderSetting(mobile.constData(), mobile.size());
    record.customGroupOpen = stored.flag("CustomGroupOpen");
    record.renameSequenceNumber = std::int32_t(stored.integerOr("RenameSequenceNumber", 1));
    record.preserveOriginalFilename = std::uint8_t(stored.integerOr("PreserveOriginalFilename", 0));
    record.quickViewerMode = std::int32_t(stored.integer("QuickViewerMode"));

    if (IFxWidget* launch = m_panel.launchTesselCheckbox())
        launch->SetChecked(stored.flag("OpenTessel"));
    if (IFxWidget* remove = m_panel.deleteFilesCheckbox())
        remove->SetChecked(stored.flag("DeleteOriginals"));
    if (IFxWidget* dng = m_panel.dngCheckbox()) {
        const bool convert = stored.flag("ConvertToDNG");
        dng->SetChecked(convert);
        if (m_panel.settingsButton())
            m_panel.settingsButton()->SetEnabled(convert);
        m_dngOptions.uncompressed = stored.flag("DNGOutputUncompressed");
        m_dngOptions.linear = stored.flag("DNGOutputLinear");
        m_dngOptions.embedRaw = stored.flag("DNGEmbeddRAW");
        m_dngOptions.jpegPreviewSize = int(stored.integer("DNGJpegPreviewSize"));
    }
    if (IFxWidget* save = m_panel.saveCopiesCheckbox()) {
        const bool copies = stored.flag("SaveToSecondaryLocation");
        save->SetChecked(copies);
        if (m_panel.secondaryBackupLabel())
            m_panel.secondaryBackupLabel()->SetEnabled(copies);
        if (m_panel.browseButton())
            m_panel.browseButton()->SetEnabled(copies);
    }
    if (m_panel.secondaryBackupLabel()) {
        const QString folder = stored.text("SecondaryLocation");
        // A folder that has gone keeps the label as it was.
        if (!folder.isEmpty() && QFileInfo(folder).isDir())
            showBackupFolder(folder);
    }
    toField(record.location, std::size(record.location), stored.text("Location"));
    record.dontShowAgainFlags = std::int32_t(stored.integer("DontShowAgainFlags"));
    record.option1Pref = stored.flag("Option1Pref");
    record.option2Pref = stored.flag("Option2Pref");
    record.option3Pref = stored.flag("Option3Pref");
    record.gridFilter = stored.integer("GridFilterPref");
}

void CAppSource::applyDefaultPreferences(CPropAppPreferences3& record)
{
    record.location[0] = 0;
    setDefaultBatchRename(record);
    record.createSubfoldersComboIndex = 3;
    record.renameFilesComboIndex = 0;
    record.applyMetadataGroupOpen = 1;
    record.setApplyMetadataAuthorName("", 0);
    record.setApplyMetadataCopyright("", 0);
    record.customGroupOpen = 1;
    record.renameSequenceNumber = 1;
    record.preserveOriginalFilename = 0;
    record.quickViewerMode = 1;
    if (IFxWidget* launch = m_panel.launchTesselCheckbox())
        launch->SetChecked(true);
    if (IFxWidget* remove = m_panel.deleteFilesCheckbox())
        remove->SetChecked(false);
    if (IFxWidget* dng = m_panel.dngCheckbox())
        dng->SetChecked(false);
    if (IFxWidget* settings = m_panel.settingsButton())
        settings->SetEnabled(false);
    if (IFxWidget* save = m_panel.saveCopiesCheckbox())
        save->SetChecked(false);
    if (IFxWidget* label = m_panel.secondaryBackupLabel()) {
        static const FxChar kNoText[] = {0};
        label->SetText(kNoText);
        label->SetEnabled(false);
    }
    if (IFxWidget* browse = m_panel.browseButton())
        browse->SetEnabled(false);
    record.backgroundColor = 0xFFD2D2D2;
    record.textColor = 0xFF646464;
}
