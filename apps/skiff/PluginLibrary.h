// The plug-in module as the host holds it: opened with dlopen, its entry
// resolved, closed when the object goes.
#pragma once

#include <string>

#include <skiff/FxBase.h>

class PluginLibrary {
public:
    PluginLibrary() = default;
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // Opens the module and finds FxPluginMain. On failure returns false and
    // error() names the file and the reason.
    bool open(const std::string& path);
    FxPluginMainFunc entry() const { return m_entry; }
    const std::string& error() const { return m_error; }

private:
    void* m_handle = nullptr;
    FxPluginMainFunc m_entry = nullptr;
    std::string m_error;
};
