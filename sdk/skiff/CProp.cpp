// Skiff plug-in SDK: the record helpers that every party links.
#include "CProp.h"

namespace {

void setText(char (&field)[CPropAppPreferences3::kTextSize], const char* text, long long length)
{
    constexpr std::size_t kRoom = CPropAppPreferences3::kTextSize - 1;
    const std::size_t n = text && length > 0 ? std::min<std::size_t>(std::size_t(length), kRoom) : 0;
    if (n)
        std::memcpy(field, text, n);
    std::memset(field + n, 0, CPropAppPreferences3::kTextSize - n);
}

} // namespace

void CPropAppPreferences3::setBatchRenamePreference(const char* text, unsigned long length)
{
    setText(batchRenamePreference, text, static_cast<long long>(std::min<unsigned long>(length, kTextSize)));
}

void CPropAppPreferences3::setApplyMetadataAuthorName(const char* text, int length)
{
    setText(applyMetadataAuthorName, text, length);
}

void CPropAppPreferences3::setApplyMetadataCopyright(const char* text, int length)
{
    setText(applyMetadataCopyright, text, length);
}

void CPropAppPreferences3::setApplyMetadataTemplateName(const char* text, int length)
{
    setText(applyMetadataTemplateName, text, length);
}

void CPropAppPreferences3::SetMobileFolderSetting(const char* text, int length)
{
    setText(mobileFolderSetting, text, length);
}

void CPropAppPreferences3::initFresh(CPropAppPreferences3& record)
{
    fxInitRecord(record);
    record.option1Pref = 2;
    record.backgroundColor = 0xFFD2D2D2;
    record.textColor = 0xFF646464;
    record.fixedWord1 = 1;
    record.fixedWord7 = 7;
}
