// Writing the host's preference record and the panel's widget states back
// to the store. Every text field is read only within its fixed size: the
// host may hand over a field with no terminator.
#include "CAppSource.h"

#include <algorithm>
#include <iterator>

#include "IPtPreferences.h"
#include "StoredPreferences.h"

namespace {

QString fromField(const FxChar* field, std::size_t capacity)
{
    const FxChar* end = std::find(field, field + capacity, FxChar(0));
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(field), int(end - field));
}

} // namespace

FxResult CAppSource::SetPreferences(CProp& header)
{
    if (!header.is<CPropAppPreferences3>())
        return kFxErrInvalidArg;
    if (!m_preferences)
        return kFxOk;
    // One write of the file for the whole record.
    m_preferences->BeginUpdate();
    try {
        const auto& record = fxRecord<CPropAppPreferences3>(header);
        PreferenceWriter out(m_preferences);
        out.bytes("BatchRenamePreference", record.getBatchRenamePreference());
        out.integer("CreateSubfoldersComboIndex", record.createSubfoldersComboIndex);
        out.integer("RenameFilesComboIndex", record.renameFilesComboIndex);
        out.flag("ApplyMetadataGroupOpen", record.applyMetadataGroupOpen);
        out.bytes("ApplyMetadataTemplateName", record.getApplyMetadataTemplateName());
        out.bytes("ApplyMetadataAuthorName", record.getApplyMetadataAuthorName());
        out.bytes("ApplyMetadataCopyright", record.getApplyMetadataCopyright());
        out.bytes("MobileFolderSetting", record.GetMobileFolderSetting());
        out.flag("CustomGroupOpen", record.customGroupOpen);
        out.integer("RenameSequenceNumber", record.renameSequenceNumber);
        out.integer("PreserveOriginalFilename", record.preserveOriginalFilename);
        out.integer("QuickViewerMode", record.quickViewerMode);
        // Widget states only when the host handed the widget over: otherwise
        // the stored value stands.
        if (IFxWidget* launch = m_panel.launchTesselCheckbox())
            out.flag("OpenTessel", launch->IsChecked());
        if (IFxWidget* remove = m_panel.deleteFilesCheckbox())
            out.flag("DeleteOriginals", remove->IsChecked());
        if (IFxWidget* dng = m_panel.dngCheckbox()) {
            out.flag("ConvertToDNG", dng->IsChecked());
            out.flag("DNGOutputUncompressed", m_dngOptions.uncompressed);
            out.flag("DNGOutputLinear", m_dngOptions.linear);
            out.flag("DNGEmbeddRAW", m_dngOptions.embedRaw);
            out.integer("DNGJpegPreviewSize", m_dngOptions.jpegPreviewSize);
        }
        if (IFxWidget* save = m_panel.saveCopiesCheckbox())
            out.flag("SaveToSecondaryLocation", save->IsChecked());
        if (m_panel.secondaryBackupLabel())
            out.text("SecondaryLocation", m_backupFolder);
        // A path that fills the whole field is kept to what the field holds
        // with its terminator, so that it can be read back into it.
        out.text("Location", fromField(record.location, std::size(record.location) - 1));
        out.integer("DontShowAgainFlags", record.dontShowAgainFlags);
        out.flag("Option1Pref", record.option1Pref != 0);
        out.flag("Option2Pref", record.option2Pref != 0);
        out.flag("Option3Pref", record.option3Pref != 0);
        out.integer("GridFilterPref", record.gridFilter);
        const bool saved = m_preferences->EndUpdate();
        return out.ok() && saved ? kFxOk : kFxErrFailure;
    } catch (...) {
        m_preferences->EndUpdate();
        return kFxErrFailure;
    }
}
