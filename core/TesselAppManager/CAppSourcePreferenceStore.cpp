// Opening the preference store from the separately loaded preference module.
#include "CAppSource.h"

#include <QFileInfo>

#include "AppFileUtils.h"
#include "IPtPreferences.h"
#include "PtLibrary.h"

namespace {

constexpr const char16_t* kModulePath = u"../Frameworks/preference_xml_parser.framework";
constexpr const char16_t* kDefaultsFolder = u"../Resources";

const unsigned short* units(const char16_t* text) { return reinterpret_cast<const unsigned short*>(text); }

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
        m_preferences->Open(folder.utf16(), units(kDefaultsFolder));
    } else {
        const QString absolute = QFileInfo(folder).absoluteFilePath();
        m_preferences->Open(absolute.utf16(), absolute.utf16());
    }
    return m_preferences;
}

IPtPreferences* CAppSource::initilizePreferences()
{
    return getIPtPreferences();
}
