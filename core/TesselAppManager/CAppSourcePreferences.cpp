// The source's download settings: where they are stored, how they fill the
// host's preference record and the settings panel, and how they go back.
#include "CAppSource.h"

#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QWidget>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "AppFileUtils.h"
#include "IPtPreferences.h"
#include "PtLibrary.h"
#include "PtPlatformServices.h"
#include "PtZString.h"

namespace {

constexpr int kDomain = 3;
constexpr unsigned kBufferUnits = 260;
constexpr const char16_t* kModulePath = u"../Frameworks/preference_xml_parser.framework";
constexpr const char16_t* kDefaultsFolder = u"../Resources";
constexpr const char kDefaultBatchRename[] = "0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6";
// A stored size beyond any text the record can hold is not believed.
constexpr long kMaxTextSize = 1 << 20;

const unsigned short* units(const char16_t* text) { return reinterpret_cast<const unsigned short*>(text); }
const unsigned short* units(const QString& text) { return text.utf16(); }

// Reads domain 3 the way the settings have always been read: every text
// value passes through one shared buffer, so a key that cannot be read
// leaves the previous key's text to be parsed.
class StoredPreferences {
public:
    explicit StoredPreferences(IPtPreferences* store) : m_store(store) {}

    bool read(const char* key) { return m_store->GetString(kDomain, key, m_buffer, kBufferUnits); }
    QString text(const char* key)
    {
        read(key);
        return current();
    }
    long long integer(const char* key) { return parse(text(key)); }
    bool flag(const char* key) { return integer(key) != 0; }
    // The integer, or `fallback` when the key cannot be read.
    long long integerOr(const char* key, long long fallback) { return read(key) ? parse(current()) : fallback; }
    // A byte text of the length its "<key>Size" companion gives (below 1: 260).
    QByteArray bytes(const char* key)
    {
        long size = long(integer((std::string(key) + "Size").c_str()));
        if (size < 1 || size > kMaxTextSize)
            size = kBufferUnits;
        return bytesOfSize(key, size);
    }
    QByteArray bytesOfSize(const char* key, long size)
    {
        std::vector<char> buffer(std::size_t(size) + 1, '\0');
        m_store->GetBytes(kDomain, key, buffer.data(), unsigned(buffer.size()));
        return QByteArray(buffer.data());
    }

private:
    QString current() const
    {
        return QString::fromUtf16(reinterpret_cast<const char16_t*>(m_buffer));
    }
    // Decimal, as strtoll reads it: leading digits count, the rest is ignored.
    static long long parse(const QString& text) { return std::strtoll(text.toUtf8().constData(), nullptr, 10); }

    IPtPreferences* m_store;
    unsigned short m_buffer[kBufferUnits + 1] = {};
};

class PreferenceWriter {
public:
    explicit PreferenceWriter(IPtPreferences* store) : m_store(store) {}

    void text(const char* key, const QString& value) { m_ok = m_store->SetString(kDomain, key, units(value)) && m_ok; }
    void integer(const char* key, long long value) { text(key, QString::number(value)); }
    void flag(const char* key, bool value) { integer(key, value ? 1 : 0); }
    void bytes(const char* key, const char* value)
    {
        const unsigned length = unsigned(std::strlen(value));
        integer((std::string(key) + "Size").c_str(), length);
        m_ok = m_store->SetBytes(kDomain, key, value, length) && m_ok;
    }
    bool ok() const { return m_ok; }

private:
    IPtPreferences* m_store;
    bool m_ok = true;
};

QString fromField(const FxChar* field, std::size_t capacity)
{
    std::size_t n = 0;
    while (n < capacity && field[n])
        ++n;
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(field), int(n));
}

void toField(FxChar* field, std::size_t capacity, const QString& text)
{
    const std::size_t n = std::min<std::size_t>(std::size_t(text.size()), capacity - 1);
    std::memcpy(field, text.utf16(), n * sizeof(FxChar));
    std::memset(field + n, 0, (capacity - n) * sizeof(FxChar));
}

} // namespace

IPtPreferences* CAppSource::getIPtPreferences()
{
    if (m_preferences)
        return m_preferences;
    PtLibraryHandle library = PtLoadLibrary(units(kModulePath));
    if (!library)
        return nullptr;
    auto entry = reinterpret_cast<PtModuleMainFunc>(PtGetProcAddress(library, units(u"" PT_MODULE_ENTRY)));
    // The stores live in the module's code, so the code stays loaded.
    PtReleaseModuleRef(library);
    IPtUnknown* module = nullptr;
    if (!entry || !entry(&module) || !module)
        return nullptr;
    void* store = nullptr;
    module->QueryInterface(kIID_IPtPreferences, &store);
    module->Release();
    m_preferences = static_cast<IPtPreferences*>(store);
    if (!m_preferences)
        return nullptr;

    const QString folder = getApplicationDataFolderPath() + QStringLiteral("/Corvane/Tessel 2024");
    if (!QFileInfo(folder).isDir()) {
        m_preferences->Open(units(folder), units(kDefaultsFolder));
    } else {
        const QString absolute = QFileInfo(folder).absoluteFilePath();
        m_preferences->Open(units(absolute), units(absolute));
    }
    return m_preferences;
}

IPtPreferences* CAppSource::initilizePreferences()
{
    return getIPtPreferences();
}

double CAppSource::getBackgroundColor()
{
    const QVariant value = PtCopyAppValue(QStringLiteral("ImageBackdrop"), QStringLiteral("com.corvane.tessel9"));
    bool ok = false;
    const int level = value.type() == QVariant::String ? value.toString().trimmed().toInt(&ok, 10) : 0;
    // Without a readable backdrop the panel keeps the light grey of a fresh record.
    if (!ok || level < 0 || level > 255)
        return 0xD2 / 255.0;
    return level / 255.0;
}

FxResult CAppSource::GetPreferences(CProp& header)
{
    if (!header.is<CPropAppPreferences3>())
        return kFxErrInvalidArg;
    try {
        auto& record = fxRecord<CPropAppPreferences3>(header);
        CPropAppPreferences3 fresh;
        CPropAppPreferences3::initFresh(fresh);
        record = fresh;
        if (m_preferences && m_preferences->HasDomain(kDomain))
            readStoredPreferences(record);
        else
            applyDefaultPreferences(record);

        IFxWidget* dng = m_panel.dngCheckbox();
        if (!m_convertToDNG && dng) {
            dng->SetChecked(false);
            dng->SetEnabled(false);
            const QString missing =
                PtZString::getZString(QStringLiteral("$$$/AppSource/DNGConverterNotFound=DNG Converter missing or corrupt"));
            dng->SetText(units(missing));
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
    const bool batchSizeOk = batchSize >= 0 && batchSize <= kMaxTextSize;
    const QByteArray batch = stored.bytesOfSize("BatchRenamePreference", batchSize > 0 && batchSizeOk ? long(batchSize) : 1024);
    if (batchSize > 0 && batchSizeOk)
        record.setBatchRenamePreference(batch.constData(), std::size_t(batch.size()));
    else
        record.setBatchRenamePreference(kDefaultBatchRename, sizeof kDefaultBatchRename - 1);
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
    toField(record.location, 260, stored.text("Location"));
    record.dontShowAgainFlags = std::int32_t(stored.integer("DontShowAgainFlags"));
    // Stored as integers so that a fresh record's 2 survives the round trip.
    record.option1Pref = std::uint8_t(stored.integer("Option1Pref"));
    record.option2Pref = std::uint8_t(stored.integer("Option2Pref"));
    record.option3Pref = std::uint8_t(stored.integer("Option3Pref"));
    record.gridFilter = stored.integer("GridFilterPref");

    const double grey = getBackgroundColor();
    const std::uint32_t c = std::uint32_t(int(255 * grey)) & 0xFF;
    record.backgroundColor = 0xFF000000u + c * 0x010101u;
    record.textColor = grey < 0.47 ? 0xFFFFFFFFu : 0xFF000000u;
}

void CAppSource::applyDefaultPreferences(CPropAppPreferences3& record)
{
    record.location[0] = 0;
    record.setBatchRenamePreference(kDefaultBatchRename, sizeof kDefaultBatchRename - 1);
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
        label->SetText(units(u""));
        label->SetEnabled(false);
    }
    if (IFxWidget* browse = m_panel.browseButton())
        browse->SetEnabled(false);
    record.backgroundColor = 0xFFD2D2D2;
    record.textColor = 0xFF646464;
}

void CAppSource::showBackupFolder(const QString& folder)
{
    m_backupFolder = QDir::toNativeSeparators(folder);
    IFxWidget* label = m_panel.secondaryBackupLabel();
    QString shown = m_backupFolder;
    if (auto* widget = static_cast<QWidget*>(label->NativeWidget())) {
        QFont font = widget->font();
        font.setWeight(font.bold() ? 75 : 50);
        fitPath(m_backupFolder, shown, QFontMetrics(font), widget->rect());
    }
    label->SetText(units(shown));
    label->SetSecondText(units(m_backupFolder));
}

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
        out.text("Location", fromField(record.location, 260));
        out.integer("DontShowAgainFlags", record.dontShowAgainFlags);
        out.integer("Option1Pref", record.option1Pref);
        out.integer("Option2Pref", record.option2Pref);
        out.integer("Option3Pref", record.option3Pref);
        out.integer("GridFilterPref", record.gridFilter);
        const bool saved = m_preferences->EndUpdate();
        return out.ok() && saved ? kFxOk : kFxErrFailure;
    } catch (...) {
        m_preferences->EndUpdate();
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
