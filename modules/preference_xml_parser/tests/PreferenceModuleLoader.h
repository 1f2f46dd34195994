// Loads the staged preference module the way the plug-in does and hands out
// fresh stores from it.
#pragma once

#include <QString>

#include <string>

#include "IPtPreferences.h"
#include "PtLibrary.h"

std::u16string units(const QString& s);
const unsigned short* up(const std::u16string& s);

class PreferenceModuleLoader {
 public:
    PreferenceModuleLoader();
    ~PreferenceModuleLoader();
    PreferenceModuleLoader(const PreferenceModuleLoader&) = delete;
    PreferenceModuleLoader& operator=(const PreferenceModuleLoader&) = delete;

    IPtUnknown* module() const { return m_module; }
    // A new store (count 1, caller releases), or null.
    IPtPreferences* newStore() const;
    // A new store opened on (userFolder, initialFolder); null when Open fails.
    IPtPreferences* openStore(const QString& userFolder, const QString& initialFolder) const;

 private:
    PtLibraryHandle m_library = nullptr;
    IPtUnknown* m_module = nullptr;
};

// The shipped defaults folder of the stage tree.
QString stagedResources();
