#include "PtLibrary.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <string>

#include "PtUTF.h"

struct PtBundle {
    std::string directory;
    void* code = nullptr;
    // A module handle found already loaded holds a reference of its own to
    // the code (dlopen counts every open), which its release gives back.
    bool borrowedCode = false;
};

namespace {

std::string codePath(const std::string& directory)
{
    std::string dir = directory;
    while (dir.size() > 1 && dir.back() == '/')
        dir.pop_back();
    const std::size_t slash = dir.rfind('/');
    std::string name = slash == std::string::npos ? dir : dir.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0)
        name.erase(dot);
    return dir + "/" + name;
}

void* openCode(const PtBundle& bundle, int extraFlags)
{
    return ::dlopen(codePath(bundle.directory).c_str(), RTLD_NOW | RTLD_LOCAL | extraFlags);
}

} // namespace

PtLibraryHandle PtCreateBundle(const unsigned short* path)
{
    std::string directory = ptucsToUtf8(path);
    struct stat st;
    if (directory.empty() || ::stat(directory.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return nullptr;
    return new PtBundle{std::move(directory)};
}

PtLibraryHandle PtLoadLibrary(const unsigned short* path)
{
    PtLibraryHandle bundle = PtCreateBundle(path);
    if (bundle)
        bundle->code = openCode(*bundle, 0);
    return bundle;
}

void* PtGetProcAddress(PtLibraryHandle bundle, const unsigned short* name)
{
    if (!bundle || !bundle->code || !name)
        return nullptr;
    return ::dlsym(bundle->code, ptucsToUtf8(name).c_str());
}

PtLibraryHandle PtGetModuleHandle(const unsigned short* path)
{
    PtLibraryHandle bundle = PtCreateBundle(path);
    if (!bundle)
        return nullptr;
    bundle->code = openCode(*bundle, RTLD_NOLOAD);
    if (!bundle->code) {
        delete bundle;
        return nullptr;
    }
    bundle->borrowedCode = true;
    return bundle;
}

bool PtUnloadLibrary(PtLibraryHandle bundle)
{
    if (bundle && bundle->code)
        ::dlclose(bundle->code);
    delete bundle;
    return true;
}

void PtReleaseModuleRef(PtLibraryHandle bundle)
{
    // Code that this handle loaded stays loaded; a reference that it only
    // borrowed goes back, so that the loader's own unload is the last one.
    if (bundle && bundle->code && bundle->borrowedCode)
        ::dlclose(bundle->code);
    delete bundle;
}
