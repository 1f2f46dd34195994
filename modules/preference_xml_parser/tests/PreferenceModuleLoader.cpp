#include "PreferenceModuleLoader.h"

std::u16string units(const QString& s) { return s.toStdU16String(); }
const unsigned short* up(const std::u16string& s) { return reinterpret_cast<const unsigned short*>(s.c_str()); }

QString stagedResources() { return QStringLiteral(TESSEL_STAGE_DIR "/Resources"); }

PreferenceModuleLoader::PreferenceModuleLoader()
{
    const auto path = units(QStringLiteral(TESSEL_STAGE_DIR "/Frameworks/preference_xml_parser.framework"));
    m_library = PtLoadLibrary(up(path));
    auto entry = reinterpret_cast<PtModuleMainFunc>(PtGetProcAddress(m_library, up(u"" PT_MODULE_ENTRY)));
    if (entry && !entry(&m_module))
        m_module = nullptr;
}

PreferenceModuleLoader::~PreferenceModuleLoader()
{
    if (m_module)
        m_module->Release();
    PtUnloadLibrary(m_library);
}

IPtPreferences* PreferenceModuleLoader::newStore() const
{
    void* store = nullptr;
    if (!m_module || !m_module->QueryInterface(kIID_IPtPreferences, &store))
        return nullptr;
    return static_cast<IPtPreferences*>(store);
}

IPtPreferences* PreferenceModuleLoader::openStore(const QString& userFolder, const QString& initialFolder) const
{
    IPtPreferences* store = newStore();
    if (store && !store->Open(up(units(userFolder)), up(units(initialFolder)))) {
        store->Release();
        return nullptr;
    }
    return store;
}
