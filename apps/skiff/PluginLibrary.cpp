#include "PluginLibrary.h"

#include <dlfcn.h>

PluginLibrary::~PluginLibrary()
{
    if (m_handle)
        ::dlclose(m_handle);
}

bool PluginLibrary::open(const std::string& path)
{
    m_handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) {
        const char* reason = ::dlerror();
        m_error = "cannot load the plug-in " + path + ": " + (reason ? reason : "unknown reason");
        return false;
    }
    m_entry = reinterpret_cast<FxPluginMainFunc>(::dlsym(m_handle, SKIFF_PLUGIN_ENTRY));
    if (!m_entry) {
        m_error = "the plug-in " + path + " has no entry " SKIFF_PLUGIN_ENTRY;
        return false;
    }
    return true;
}
